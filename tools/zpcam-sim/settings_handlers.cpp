// Settings commands: each stores its values in the camera model; the queries answer from there.
#include <string_view>

#include "handlers.h"

namespace zpsim {

namespace {

HandlerResult NetPerf(CameraModel& m, const Command& c) {
    auto v = HexFields(c.args, {4, 4, 4});
    if (!v || (*v)[2] != 0x0100) return Bad();
    m.settings.netPerf = static_cast<std::uint16_t>((*v)[0]);
    return Ok();
}

HandlerResult NetSpeed(CameraModel& m, const Command& c) {
    if (c.args.empty()) return Ok(Hex2(m.settings.netSpeed));
    auto v = HexFields(c.args, {2});
    if (!v) return Bad();
    m.settings.netSpeed = static_cast<std::uint8_t>((*v)[0]);
    return Ok();
}

HandlerResult WhiteBalance(CameraModel& m, const Command& c) {
    auto& wb = m.settings.wb;
    if (c.args.empty()) return Ok(Hex8(wb[0]) + Hex8(wb[1]) + Hex8(wb[2]));
    auto v = HexFields(c.args, {8, 8, 8});
    if (!v) return Bad();
    for (std::size_t i = 0; i < 3; ++i) wb[i] = (*v)[i];
    return Ok();
}

HandlerResult ActiveArea(CameraModel& m, const Command& c) {
    auto& s = m.settings;
    if (c.args.empty()) {
        return Ok(Hex4(s.areaWidth.value_or(m.Identity().width)) +
                  Hex4(s.areaHeight.value_or(m.Identity().height)));
    }
    auto v = HexFields(c.args, {4, 4});
    if (!v) return Bad();
    s.areaWidth = static_cast<std::uint16_t>((*v)[0]);
    s.areaHeight = static_cast<std::uint16_t>((*v)[1]);
    return Ok();
}

HandlerResult LiveSize(CameraModel& m, const Command& c) {
    auto v = HexFields(c.args, {8, 4, 4, 2});
    if (!v || (*v)[0] != 0 || (*v)[3] > 1) return Bad();
    m.settings.liveWidth = static_cast<std::uint16_t>((*v)[1]);
    m.settings.liveHeight = static_cast<std::uint16_t>((*v)[2]);
    m.settings.liveFlag = static_cast<std::uint8_t>((*v)[3]);
    return Ok();
}

// Query: session length and frame capacity; set: the session length.
HandlerResult SessionLength(CameraModel& m, const Command& c) {
    const auto& id = m.Identity();
    if (c.args.empty()) {
        return Ok(Hex8(m.settings.sessionLength.value_or(id.lastFrame - id.firstFrame)) +
                  Hex8(id.frameCapacity));
    }
    auto v = HexFields(c.args, {8});
    if (!v || *v->data() == 0) return Bad();
    m.settings.sessionLength = (*v)[0];
    return Ok();
}

HandlerResult TriggerPosition(CameraModel& m, const Command& c) {
    if (c.args.empty()) return Ok(Hex8(m.settings.triggerPosition));
    auto v = HexFields(c.args, {8});
    if (!v) return Bad();
    m.settings.triggerPosition = (*v)[0];
    return Ok();
}

HandlerResult FrameRate(CameraModel& m, const Command& c) {
    auto& s = m.settings;
    if (c.args.empty()) return Ok(Hex2(s.rateCode) + Hex8(s.rate));
    auto rates = HexFields(c.args, {2, 8, 8, 8, 8});
    auto codes = rates ? rates : HexFields(c.args, {2, 2, 2, 8});
    if (!codes) codes = HexFields(c.args, {2, 2, 2, 4});
    if (!codes) return Bad();
    const auto& v = *codes;
    if (rates ? (v[0] != 0 || v[1] != v[2] || v[1] != v[3])
              : (v[0] < 1 || v[0] > 14 || v[0] != v[1] || v[0] != v[2]))
        return Bad();
    s.rateCode = static_cast<std::uint8_t>(v[0]);
    s.rate = rates ? v[1] : 0;
    s.postFrames = v.back();
    return Ok();
}

HandlerResult Exposure(CameraModel& m, const Command& c) {
    auto which = HexFields(c.args.substr(0, 2), {2});
    if (!which || (*which)[0] < 1 || (*which)[0] > 2) return Bad();
    auto& slot = m.settings.exposureUs[(*which)[0] - 1];
    if (c.args.size() == 2) return Ok(Hex2(static_cast<std::uint8_t>((*which)[0])) + Hex4(slot));
    auto v = HexFields(c.args, {2, 4});
    if (!v) return Bad();
    slot = static_cast<std::uint16_t>((*v)[1]);
    return Ok();
}

HandlerResult SyncIn(CameraModel& m, const Command& c) {
    auto& s = m.settings;
    if (c.args.empty()) return Ok(Hex2(s.syncFunction) + Hex2(s.syncOption));
    auto v = HexFields(c.args, {2, 2});
    if (!v || (*v)[1] > 2) return Bad();
    s.syncFunction = static_cast<std::uint8_t>((*v)[0]);
    s.syncOption = static_cast<std::uint8_t>((*v)[1]);
    return Ok();
}

HandlerResult Burst(CameraModel& m, const Command& c) {
    if (c.args.empty()) return Ok(Hex4(m.settings.burst));
    auto v = HexFields(c.args, {4});
    if (!v) return Bad();
    m.settings.burst = static_cast<std::uint16_t>((*v)[0]);
    return Ok();
}

HandlerResult TrigIn(CameraModel& m, const Command& c) {
    auto& s = m.settings;
    if (c.args.empty()) return Ok(Hex2(s.trigFunction) + Hex8(s.trigTimeUs));
    auto v = HexFields(c.args, {2, 8});
    if (!v || (*v)[0] > 2 || (*v)[1] > 500000) return Bad();
    s.trigFunction = static_cast<std::uint8_t>((*v)[0]);
    s.trigTimeUs = (*v)[1];
    return Ok();
}

HandlerResult TrigDelay(CameraModel& m, const Command& c) {
    if (c.args.empty()) return Ok(Hex4(m.settings.trigDelayMs));
    auto v = HexFields(c.args, {4});
    if (!v) return Bad();
    m.settings.trigDelayMs = static_cast<std::uint16_t>((*v)[0]);
    return Ok();
}

HandlerResult SensorSize(CameraModel& m, const Command& c) {
    if (!c.args.empty()) return Bad();
    return Ok("00" + Hex4(m.settings.sensorWidth) + Hex4(m.settings.sensorHeight));
}

// Ready: arms the recording; the record command (0x74) then triggers it.
HandlerResult Ready(CameraModel& m, const Command& c) {
    if (!c.args.empty()) return Bad();
    return m.Arm() ? Ok() : HandlerResult{kResultWrongState, {}, std::nullopt};
}

}  // namespace

void RegisterSettingsHandlers(HandlerTable& table) {
    table.Register(0x89, NetPerf);
    table.Register(0x9E, NetSpeed);
    table.Register(0x12, WhiteBalance);
    table.Register(0x90, ActiveArea);
    table.Register(0x8D, LiveSize);
    table.Register(0x0E, SessionLength);
    table.Register(0x04, TriggerPosition);
    table.Register(0x06, FrameRate);
    table.Register(0x07, Exposure);
    table.Register(0x82, SyncIn);
    table.Register(0x9B, Burst);
    table.Register(0x84, TrigIn);
    table.Register(0x5D, TrigDelay);
    table.Register(0x9F, SensorSize);
    table.Register(0x1B, Ready);
}

}  // namespace zpsim
