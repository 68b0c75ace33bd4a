#include "camera_border.h"

#include <algorithm>

#include "segment_train.h"

namespace zpsim {

namespace {

void Put16(std::string& block, std::size_t at, std::uint16_t value) {
    block[at] = static_cast<char>(value >> 8);
    block[at + 1] = static_cast<char>(value);
}

void Put32(std::string& block, std::size_t at, std::uint32_t value) {
    Put16(block, at, static_cast<std::uint16_t>(value >> 16));
    Put16(block, at + 2, static_cast<std::uint16_t>(value));
}

void PutText(std::string& block, std::size_t at, const std::string& text, std::size_t room) {
    block.replace(at, std::min(text.size(), room - 1), text.substr(0, room - 1));
}

char Bcd(int value) {
    return static_cast<char>((value / 10 % 10) << 4 | value % 10);
}

void PutClock(std::string& block, const CameraClock& clock) {
    const int fields[] = {clock.second, clock.minute, clock.hour, clock.day, clock.month, clock.year};
    for (std::size_t i = 0; i < 6; ++i) {
        block[kBorderClock + i] = Bcd(fields[i]);
    }
}

}  // namespace

std::uint16_t ToneTableEntry(unsigned value) {
    return static_cast<std::uint16_t>((255 - (value & 0xFF)) << 2);
}

std::string CameraBorder(const CameraModel& model, const FrameDescription& frame) {
    const CameraIdentity& identity = model.Identity();
    std::string block(kBorderSize, '\0');
    PutText(block, kBorderModelText, "TW-SIM", 8);
    block[kBorderSensorType] = frame.colour ? 1 : 2;
    Put16(block, kBorderFrameNumber, static_cast<std::uint16_t>(frame.frameIndex));
    PutClock(block, model.Clock());
    Put32(block, kBorderTemperature,
          static_cast<std::uint32_t>(static_cast<std::int32_t>(identity.temperature)));
    PutText(block, kBorderCameraName, identity.name, 51);
    Put32(block, kBorderSerial, identity.serial);
    Put16(block, kBorderWidth, frame.width);
    Put16(block, kBorderHeight, frame.height);
    block[kBorderFormat] = frame.jpeg ? 2 : 0;
    Put16(block, kBorderWidth2, frame.width);
    Put16(block, kBorderHeight2, frame.height);
    block[kBorderToneApplied] = frame.toneApplied ? 1 : 0;
    Put16(block, kBorderSubsampling, frame.chromaSubsampling);
    Put16(block, kBorderJpegQuality, frame.jpegQuality);
    for (unsigned k = 0; k < 256; ++k) {
        Put16(block, kBorderToneTable + 2 * k, ToneTableEntry(k));
    }
    Put32(block, kBorderFrameRate, identity.periodNs == 0 ? 0 : 1000000000u / identity.periodNs);
    block.replace(kBorderEndMarker, 4, "EoBD");
    return block;
}

}  // namespace zpsim
