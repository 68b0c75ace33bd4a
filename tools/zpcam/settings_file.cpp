#include "settings_file.h"

#include <cstdio>
#include <limits>

namespace zpcam {

namespace {

constexpr std::uint32_t kAny = std::numeric_limits<std::uint32_t>::max();
using S = _CAMERA_SETTINGS;

std::string Trim(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// Decimal, or hexadecimal after "0x"; no sign, no octal, nothing after the digits.
bool ParseNumber(const std::string& text, std::uint64_t& value) {
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string digits = hex ? text.substr(2) : text;
    if (digits.empty() || digits.size() > 10) return false;
    value = 0;
    for (char c : digits) {
        int digit = -1;
        if (c >= '0' && c <= '9') digit = c - '0';
        if (hex && c >= 'a' && c <= 'f') digit = c - 'a' + 10;
        if (hex && c >= 'A' && c <= 'F') digit = c - 'A' + 10;
        if (digit < 0) return false;
        value = value * (hex ? 16 : 10) + static_cast<std::uint64_t>(digit);
    }
    return true;
}

const SettingsField* FindField(const std::string& name) {
    for (const auto& field : SettingsFields()) {
        if (name == field.name) return &field;
    }
    return nullptr;
}

}  // namespace

const std::vector<SettingsField>& SettingsFields() {
    // clang-format off
    static const std::vector<SettingsField> fields = {
        {"exposure",     &S::exposure,     "ns",                                              kAny,   false, false},
        {"syncInFlags",  &S::syncInFlags,  "configurable input: 0x01 enabled, 0x04 option 2", kAny,   true,  false},
        {"trigInFlags",  &S::trigInFlags,  "trigger input: 0x01 enabled, 0x04 function 2",    kAny,   true,  false},
        {"roiWidth",     &S::roiWidth,     "binned pixels",                                   0xFFFF, false, false},
        {"roiHeight",    &S::roiHeight,    "binned pixels",                                   0xFFFF, false, false},
        {"colorFormat",  &S::colorFormat,  "2 colour, 0 monochrome",                          kAny,   false, true},
        {"binning",      &S::binning,      "binning factor minus one",                        15,     false, false},
        {"pixelCount",   &S::pixelCount,   "roiWidth x roiHeight",                            kAny,   false, true},
        {"bitsPerPixel", &S::bitsPerPixel, "24 colour, 8 monochrome",                         kAny,   false, true},
        {"sensorWidth",  &S::sensorWidth,  "sensor pixels",                                   kAny,   false, true},
        {"sensorHeight", &S::sensorHeight, "sensor pixels",                                   kAny,   false, true},
        {"period",       &S::period,       "frame period, ns",                                kAny,   false, false},
        {"cameraState",  &S::cameraState,  "camera state",                                    kAny,   false, true},
        {"netPerform",   &S::netPerform,   "download rate limit, 100..65535; 0 leaves it",    0xFFFF, false, false},
        {"syncInMode",   &S::syncInMode,   "configurable input mode",                         kAny,   false, false},
        {"burstLength",  &S::burstLength,  "frames",                                          0xFFFF, false, false},
        {"wbRed",        &S::wbRed,        "white balance",                                   ZP_WB_MAX, false, false},
        {"wbGreen",      &S::wbGreen,      "white balance",                                   ZP_WB_MAX, false, false},
        {"wbBlue",       &S::wbBlue,       "white balance",                                   ZP_WB_MAX, false, false},
        {"frames",       &S::frames,       "frames of a recording; 0 means 1",                kAny,   false, false},
        {"preTrigger",   &S::preTrigger,   "frames before the trigger",                       kAny,   false, false},
        {"trigInTime",   &S::trigInTime,   "trigger input time, ns",                          kAny,   false, false},
        {"trigDelay",    &S::trigDelay,    "trigger delay, ns",                               kAny,   false, false},
        {"netSpeed",     &S::netSpeed,     "fast network port speed code",                    0xFF,   false, false},
    };
    // clang-format on
    return fields;
}

std::string FormatValue(const SettingsField& field, std::uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, field.hex ? "0x%08X" : "%u", value);
    return text;
}

std::string SettingsToText(const _CAMERA_SETTINGS& settings, const std::vector<std::string>& heading) {
    std::string text;
    for (const auto& line : heading) text += "# " + line + "\n";
    text +=
        "# One field per line: name = value, in the units of the settings record.\n"
        "# Fields left out keep the camera's values; '#' starts a comment.\n\n";
    for (const auto& field : SettingsFields()) {
        char line[160];
        std::snprintf(line, sizeof line, "%s%-12s = %-10s  # %s%s\n", field.readOnly ? "# " : "", field.name,
                      FormatValue(field, settings.*field.member).c_str(), field.unit,
                      field.readOnly ? " (read-only)" : "");
        text += line;
    }
    return text;
}

bool ParseSettingsText(const std::string& text, const std::string& fileName,
                       std::vector<SettingsAssignment>& assignments, std::string& error) {
    assignments.clear();
    int number = 0;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(start, end - start);
        start = end + 1;
        ++number;
        const auto fail = [&](const std::string& what) {
            error = fileName + ":" + std::to_string(number) + ": " + what;
            return false;
        };
        line = Trim(line.substr(0, line.find('#')));
        if (line.empty()) continue;
        const auto equals = line.find('=');
        if (equals == std::string::npos) return fail("expected 'name = value', found '" + line + "'");
        const std::string name = Trim(line.substr(0, equals));
        const std::string value = Trim(line.substr(equals + 1));
        const SettingsField* field = FindField(name);
        if (field == nullptr) return fail("unknown field '" + name + "'");
        if (field->readOnly) return fail(name + " is read-only (reported by the camera)");
        std::uint64_t parsed = 0;
        if (!ParseNumber(value, parsed) || parsed > field->max) {
            return fail("bad value '" + value + "' for " + name + " (a number from 0 to " +
                        std::to_string(field->max) + ", decimal or 0x hexadecimal)");
        }
        for (const auto& earlier : assignments) {
            if (earlier.field == field)
                return fail(name + " is set twice (first on line " + std::to_string(earlier.line) + ")");
        }
        assignments.push_back({field, static_cast<std::uint32_t>(parsed), number});
    }
    return true;
}

void ApplySettings(const std::vector<SettingsAssignment>& assignments, _CAMERA_SETTINGS& settings) {
    for (const auto& assignment : assignments) settings.*assignment.field->member = assignment.value;
}

std::vector<SettingsChange> DiffSettings(const _CAMERA_SETTINGS& from, const _CAMERA_SETTINGS& to) {
    std::vector<SettingsChange> changes;
    for (const auto& field : SettingsFields()) {
        if (!field.readOnly && from.*field.member != to.*field.member)
            changes.push_back({&field, from.*field.member, to.*field.member});
    }
    return changes;
}

}  // namespace zpcam
