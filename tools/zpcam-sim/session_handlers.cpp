// Handlers of the session commands: what the port sends at open and close and for its state queries.
#include <array>
#include <string_view>
#include <vector>

#include "handlers.h"

namespace zpsim {

std::optional<HandlerResult> HandlerTable::Dispatch(CameraModel& model, const Command& command) const {
    auto it = m_handlers.find(command.code);
    if (it == m_handlers.end()) {
        return std::nullopt;
    }
    return it->second(model, command);
}

HandlerTable MakeDefaultHandlers() {
    HandlerTable table;
    RegisterSessionHandlers(table);
    RegisterSettingsHandlers(table);
    RegisterImageHandlers(table);
    return table;
}

HandlerResult Ok(std::string data) {
    return HandlerResult{kResultOk, std::move(data), std::nullopt};
}
HandlerResult Bad() {
    return HandlerResult{kResultBadArgument, {}, std::nullopt};
}

std::optional<std::vector<std::uint32_t>> HexFields(const std::string& args,
                                                    std::initializer_list<std::size_t> widths) {
    std::vector<std::uint32_t> values;
    std::size_t at = 0;
    for (std::size_t width : widths) {
        if (at + width > args.size()) return std::nullopt;
        auto value = ParseHex(std::string_view(args).substr(at, width));
        if (!value) return std::nullopt;
        values.push_back(*value);
        at += width;
    }
    if (at != args.size()) return std::nullopt;
    return values;
}

namespace {

HandlerResult Fail(std::uint8_t result) {
    return HandlerResult{result, {}, std::nullopt};
}

// A command whose arguments must be one of the given exact texts.
Handler AcceptArgs(std::initializer_list<std::string_view> allowed) {
    std::vector<std::string> texts(allowed.begin(), allowed.end());
    return [texts](CameraModel&, const Command& command) {
        for (const auto& text : texts) {
            if (command.args == text) {
                return Ok();
            }
        }
        return Fail(kResultBadArgument);
    };
}

// Three two-digit decimal fields, as the clock and date commands carry them.
std::optional<std::array<int, 3>> ParseThreeDecimals(const std::string& args) {
    if (args.size() != 6) {
        return std::nullopt;
    }
    std::array<int, 3> values{};
    for (int i = 0; i < 3; ++i) {
        auto value = ParseDecimal(std::string_view(args).substr(static_cast<std::size_t>(i) * 2, 2));
        if (!value) {
            return std::nullopt;
        }
        values[static_cast<std::size_t>(i)] = static_cast<int>(*value);
    }
    return values;
}

HandlerResult AddressQuery(CameraModel& model, const Command&) {
    return Ok(Hex2(model.Address()));
}

HandlerResult StateQuery(CameraModel& model, const Command& command) {
    if (!command.args.empty()) {
        return Fail(kResultBadArgument);
    }
    return Ok(Hex2(model.State()));
}

HandlerResult Attach(CameraModel& model, const Command& command) {
    if (command.args != "02") {
        return Fail(kResultBadArgument);
    }
    model.Attach();
    return Ok();
}

HandlerResult SetClock(CameraModel& model, const Command& command) {
    auto v = ParseThreeDecimals(command.args);
    if (!v || (*v)[0] > 23 || (*v)[1] > 59 || (*v)[2] > 59) {
        return Fail(kResultBadArgument);
    }
    model.SetClock((*v)[0], (*v)[1], (*v)[2]);
    return Ok();
}

HandlerResult SetDate(CameraModel& model, const Command& command) {
    auto v = ParseThreeDecimals(command.args);
    if (!v || (*v)[0] < 1 || (*v)[0] > 12 || (*v)[1] < 1 || (*v)[1] > 31) {
        return Fail(kResultBadArgument);
    }
    model.SetDate((*v)[0], (*v)[1], (*v)[2]);
    return Ok();
}

HandlerResult ResetOrApply(CameraModel& model, const Command& command) {
    if (command.args == "FF") {
        model.Reset();
        return Ok();
    }
    return command.args.empty() ? Ok() : Fail(kResultBadArgument);  // bare 0x5F applies the address words
}

HandlerResult Stop(CameraModel& model, const Command&) {
    model.StopRecording();
    return Ok();
}

HandlerResult EndPlayback(CameraModel& model, const Command&) {
    model.EndPlayback();
    return Ok();
}

// Accepted in every state; only an armed camera starts recording.
HandlerResult Trigger(CameraModel& model, const Command&) {
    model.Trigger();
    return Ok();
}

HandlerResult Erase(CameraModel& model, const Command&) {
    if (model.IsIn(CameraState::kArmed) || model.IsIn(CameraState::kRecording)) {
        return Fail(kResultWrongState);
    }
    return model.EraseMemory() ? Ok() : Fail(kResultEraseDone);
}

// "#AA52AA\"name\"": the address byte is repeated before the quoted name.
HandlerResult WriteName(CameraModel& model, const Command& command) {
    const std::string& args = command.args;
    if (args.size() < 4 || args.substr(0, 2) != Hex2(model.Address()) || args[2] != '"' ||
        args.back() != '"') {
        return Fail(kResultBadArgument);
    }
    model.MutableIdentity().name = args.substr(3, args.size() - 4);
    return Ok();
}

// Read with no argument, write with eight hex digits.
Handler AddressWord(std::uint32_t CameraIdentity::*word) {
    return [word](CameraModel& model, const Command& command) {
        if (command.args.empty()) {
            return Ok(Hex8(model.Identity().*word));
        }
        auto value = ParseHex(command.args);
        if (command.args.size() != 8 || !value) {
            return Fail(kResultBadArgument);
        }
        model.MutableIdentity().*word = *value;
        return Ok();
    };
}

HandlerResult FrameCapacity(CameraModel& model, const Command&) {
    const auto& id = model.Identity();
    return Ok(Hex8(id.lastFrame - id.firstFrame) + Hex8(id.frameCapacity));
}

HandlerResult Temperature(CameraModel& model, const Command&) {
    return Ok(Hex2(static_cast<std::uint8_t>(model.Identity().temperature)));
}

HandlerResult Period(CameraModel& model, const Command&) {
    return Ok("00" + Hex8(model.Identity().periodNs));
}

HandlerResult Geometry(CameraModel& model, const Command&) {
    return Ok(Hex4(model.Identity().width) + Hex4(model.Identity().height));
}

HandlerResult ModelVersion(CameraModel& model, const Command&) {
    const auto& id = model.Identity();
    return Ok(Hex2(id.modelCode) + Hex8(id.firmware) + Hex8(id.firmware2));
}

HandlerResult Serial(CameraModel& model, const Command&) {
    return Ok(Hex8(model.Identity().serial));
}

HandlerResult Option(CameraModel& model, const Command&) {
    return Ok(Hex2(model.Identity().optionValue));
}

HandlerResult FrameCounters(CameraModel& model, const Command&) {
    return Ok(Hex8(model.Identity().firstFrame) + Hex8(model.Identity().lastFrame));
}

HandlerResult NoArgs(CameraModel&, const Command& command) {
    return command.args.empty() ? Ok() : Fail(kResultBadArgument);
}

}  // namespace

void RegisterSessionHandlers(HandlerTable& table) {
    table.Register(0x54, AddressQuery);
    table.Register(0x48, Option);
    table.Register(0x01, Attach);
    table.Register(0x40, StateQuery);
    table.Register(0x98, AcceptArgs({"02"}));
    table.Register(0x83, AcceptArgs({"010000"}));
    table.Register(0x53, AcceptArgs({"8000", "8000SLOW"}));
    table.Register(0x8F, AcceptArgs({"1E"}));
    table.Register(0x87, AcceptArgs({"00"}));
    table.Register(0x08, SetClock);
    table.Register(0x09, SetDate);
    table.Register(0x0D, AcceptArgs({"0200000000"}));
    table.Register(0x0F, AcceptArgs({"302E302C312E302C312E302C312E302C30000000000000000000000000000000"}));
    table.Register(0x0C, AcceptArgs({"00\"0\""}));
    table.Register(0x71, AcceptArgs({"03"}));
    table.Register(0x47, AcceptArgs({"00000000000000"}));
    table.Register(0x0A, AcceptArgs({"0000"}));
    table.Register(0x86, EndPlayback);
    table.Register(0x5F, ResetOrApply);
    table.Register(0x99, Stop);
    table.Register(0x19, NoArgs);
    table.Register(0x96, Erase);
    table.Register(0x74, Trigger);
    table.Register(0x52, WriteName);
    table.Register(0x0E, FrameCapacity);
    table.Register(0x50, Temperature);
    table.Register(0x05, Period);
    table.Register(0x90, Geometry);
    table.Register(0x97, ModelVersion);
    table.Register(0x91, Serial);
    table.Register(0x45, FrameCounters);
    table.Register(0x4D, AddressWord(&CameraIdentity::ipWord));
    table.Register(0x4E, AddressWord(&CameraIdentity::maskWord));
}

}  // namespace zpsim
