// Camera parameters by number over the binary command frame, with the library's parameter
// identifiers translated to the camera's numbers; the host-side register-constraint table; the
// sensor model and Bayer layout of a camera type.
#include <zpport/CamPort.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "port/frame.h"

namespace {

using zp::frame::Command;
using zp::frame::Exchange;
using zp::frame::Response;

constexpr unsigned char kGetParameter = 6;
constexpr unsigned char kSetParameter = 7;
constexpr unsigned char kGetBrocParameter = 34;
constexpr std::size_t kBrocBlockSize = 1024;

// Identifiers answered other than through the translation table.
constexpr unsigned int kRecordedSegmentCount = 1007;
constexpr unsigned int kTemperatureSecond = 1052;
constexpr unsigned int kTemperatureFirst = 1053;

// Library parameter identifier -> camera parameter number, ascending by identifier. 88, 89, 1052
// and 1053 are special identifiers with fixed numbers (1052/1053 unless the temperature command
// answers them). 37 -> 56 breaks the run of its neighbours on purpose.
constexpr std::pair<unsigned int, unsigned int> kTranslation[] = {
    {0, 0},     {1, 1},      {2, 2},     {3, 3},     {4, 4},     {5, 7},     {6, 5},      {7, 6},
    {8, 43},    {10, 10},    {11, 17},   {12, 18},   {13, 19},   {14, 20},   {15, 21},    {16, 22},
    {17, 23},   {19, 25},    {20, 13},   {22, 12},   {23, 14},   {24, 15},   {25, 8},     {27, 16},
    {28, 31},   {33, 100},   {34, 41},   {35, 26},   {36, 27},   {37, 56},   {38, 28},    {39, 29},
    {40, 30},   {42, 42},    {43, 44},   {44, 45},   {46, 49},   {47, 50},   {52, 54},    {54, 57},
    {55, 58},   {56, 59},    {57, 60},   {58, 61},   {59, 62},   {60, 32},   {61, 33},    {62, 34},
    {63, 35},   {64, 36},    {65, 37},   {66, 38},   {67, 39},   {68, 40},   {69, 55},    {70, 64},
    {71, 65},   {72, 66},    {73, 67},   {74, 68},   {75, 69},   {76, 70},   {77, 72},    {78, 73},
    {79, 74},   {80, 75},    {81, 76},   {82, 77},   {83, 81},   {85, 71},   {86, 78},    {88, 82},
    {89, 83},   {91, 109},   {93, 86},   {94, 97},   {97, 112},  {99, 87},   {101, 90},   {102, 91},
    {103, 92},  {104, 98},   {106, 102}, {107, 103}, {112, 46},  {113, 105}, {114, 108},  {116, 500},
    {117, 114}, {119, 124},  {120, 126}, {123, 113}, {1046, 93}, {1047, 88}, {1048, 89},  {1052, 52},
    {1053, 53}, {1055, 106}, {1060, 63}, {1061, 84}, {1062, 85}, {1064, 80}, {2000, 125},
};

// The camera number of an identifier; false for an identifier the table does not know.
bool Translate(unsigned int identifier, unsigned int* number) {
    const auto* end = std::end(kTranslation);
    const auto* it = std::lower_bound(std::begin(kTranslation), end, identifier,
                                      [](const auto& entry, unsigned int key) { return entry.first < key; });
    if (it == end || it->first != identifier) return false;
    *number = it->second;
    return true;
}

// Camera types whose board temperature comes from the temperature command.
bool ReportsTemperatureDirectly(unsigned int cameraType) {
    return cameraType >= 27 && cameraType <= 36;
}

}  // namespace

unsigned int CCamPort::GetParameter(int parameter, int& value) {
    Command command(kGetParameter, {static_cast<std::uint32_t>(parameter)});
    Response response(12);
    if (!Exchange(*this, command, response)) return 0;
    value = static_cast<int>(response.WordAt(8));
    return 1;
}

unsigned int CCamPort::SetParameter(int parameter, int value) {
    return zp::frame::Send(*this, kSetParameter,
                           {static_cast<std::uint32_t>(parameter), static_cast<std::uint32_t>(value)});
}

unsigned int CCamPort::SendParameter(unsigned int parameter, unsigned int value) {
    // Two parameters carry register contents: they obey the register constraints on their way out.
    if (!m_RegisterConstraints.empty()) {
        if (parameter == 63) value = ApplyRegisterConstraint(732, value);
        if (parameter == 93) value = ApplyRegisterConstraint(728, value);
    }
    return zp::frame::Send(*this, kSetParameter, {parameter, value});
}

unsigned int CCamPort::GetBrocParameter(int block, unsigned int* buffer) {
    Command command(kGetBrocParameter, {static_cast<std::uint32_t>(block)});
    Response response(zp::frame::kHeaderSize + kBrocBlockSize);
    if (!Exchange(*this, command, response)) return 0;
    if (buffer != nullptr) std::memcpy(buffer, response.Bytes(zp::frame::kHeaderSize), kBrocBlockSize);
    return 1;
}

unsigned int CCamPort::GetPortParameter(ZP_PARAM parameter, unsigned int* value) {
    const auto identifier = static_cast<unsigned int>(parameter);
    if (identifier == kRecordedSegmentCount) return ReadRecordedSegmentCount(value);
    if ((identifier == kTemperatureSecond || identifier == kTemperatureFirst ||
         identifier == ZPP_BOARD_TEMP) &&
        ReportsTemperatureDirectly(m_dwCameraType)) {
        unsigned int first = 0;
        unsigned int second = 0;
        const unsigned int result = ReadTemperature(&first, &second);
        if (value != nullptr) *value = identifier == kTemperatureSecond ? second : first;
        return result;
    }
    unsigned int number = 0;
    if (!Translate(identifier, &number)) return 0;
    // The value read is stored also on failure, where it is still the initial 0.
    int read = 0;
    const unsigned int result = GetParameter(static_cast<int>(number), read);
    if (value != nullptr) *value = static_cast<unsigned int>(read);
    return result;
}

// The configuration block is addressed by the library's identifier itself and holds 1024 bytes.
unsigned int CCamPort::GetPortBrocParameter(ZP_PARAM parameter, unsigned int* value) {
    return GetBrocParameter(static_cast<int>(parameter), value);
}

// Host-side table: kept by the port itself, no exchange with the camera.

unsigned int CCamPort::SetRegisterConstraints(_ZP_REGISTER_CONSTRAINT* list, unsigned int count) {
    m_RegisterConstraints.clear();
    if (list == nullptr) return 1;
    // A later record for the same register overwrites the masks of an earlier one.
    for (unsigned int i = 0; i < count; ++i) {
        m_RegisterConstraints[list[i].reg] = std::make_pair(list[i].clearMask, list[i].setMask);
    }
    return 1;
}

unsigned int CCamPort::GetRegisterConstraints(_ZP_REGISTER_CONSTRAINT* list, unsigned int* count) {
    if (count == nullptr) return 1;
    if (list == nullptr) {
        *count = static_cast<unsigned int>(m_RegisterConstraints.size());
        return 1;
    }
    unsigned int copied = 0;
    for (const auto& entry : m_RegisterConstraints) {
        if (copied >= *count) break;
        list[copied].reg = entry.first;
        list[copied].clearMask = entry.second.first;
        list[copied].setMask = entry.second.second;
        ++copied;
    }
    *count = copied;
    return 1;
}

unsigned int CCamPort::ApplyRegisterConstraint(unsigned int reg, unsigned int value) const {
    const auto entry = m_RegisterConstraints.find(reg);
    if (entry == m_RegisterConstraints.end()) return value;
    // Set first, then clear: a bit in both masks ends up 0.
    return (value | entry->second.second) & ~entry->second.first;
}

// The variant tests of the two lookups differ on purpose (1-2 and 3-4 here, 0-2 for the Bayer layout).
// clang-format off
unsigned int CCamPort::DetectSensorModel(unsigned int cameraType, int variant, unsigned int colour) {
    switch (cameraType) {
        case 1: return 1;
        case 2: return 2;
        case 3: case 5: case 6: return 5;
        case 4: case 8: case 11: case 20: case 29: return colour != 0 ? 7 : 6;
        case 9: return variant == 1 || variant == 2 ? 9 : 5;
        case 10: case 19: case 22: case 23: case 24: case 25: case 28: case 32: case 33:
            return colour != 0 ? 9 : 8;
        case 12: case 13: case 14: return 4;
        case 15: case 16: case 17: return 3;
        case 18: case 27: return variant == 3 || variant == 4 ? 9 : 5;
        case 21: return 10;
        case 26: case 30: case 36: return 11;
        case 31: case 34: case 35: return 12;
        default: return 0;
    }
}

unsigned int CCamPort::DetectBayerPattern(unsigned int cameraType, int variant) {
    switch (cameraType) {
        case 1: case 3: case 5: case 6: return 1;
        case 7: case 10: case 12: case 13: case 14: case 19: case 21: case 22: case 23: case 24: case 25:
        case 28: case 31: case 32: case 33: case 34: case 35:
            return 3;
        case 9: return variant == 1 || variant == 2 ? 3 : 1;
        case 18: case 27: return variant >= 0 && variant <= 2 ? 1 : 3;
        case 26: case 30: case 36: return 2;
        default: return 0;
    }
}
// clang-format on
