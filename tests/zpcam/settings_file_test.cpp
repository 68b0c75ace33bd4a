// The settings text format: round trip of every writable field, the accepted line forms and each
// kind of bad line, named by file and line.
#include "settings_file.h"

#include <gtest/gtest.h>

#include <cstring>

namespace zpcam {
namespace {

// Parses text that must be accepted into a zeroed record.
_CAMERA_SETTINGS Parsed(const std::string& text) {
    std::vector<SettingsAssignment> assignments;
    std::string error;
    EXPECT_TRUE(ParseSettingsText(text, "s.txt", assignments, error)) << error;
    _CAMERA_SETTINGS settings{};
    ApplySettings(assignments, settings);
    return settings;
}

TEST(SettingsFile, EveryWritableFieldRoundTripsAndReadOnlyOnesStayComments) {
    _CAMERA_SETTINGS original;
    std::memset(&original, 0, sizeof original);
    std::uint32_t value = 7;
    for (const auto& field : SettingsFields()) original.*field.member = value++;
    original.syncInFlags = 0xFFFFFFFFu;  // the largest value, in the hexadecimal form
    const _CAMERA_SETTINGS back = Parsed(SettingsToText(original, {"heading"}));
    for (const auto& field : SettingsFields()) {
        SCOPED_TRACE(field.name);
        EXPECT_EQ(back.*field.member, field.readOnly ? 0u : original.*field.member);
    }
    EXPECT_TRUE(DiffSettings(original, back).empty());
}

TEST(SettingsFile, AcceptedLineForms) {
    const struct {
        const char* text;
        unsigned int _CAMERA_SETTINGS::*member;
        std::uint32_t value;
    } cases[] = {
        {"exposure=5", &_CAMERA_SETTINGS::exposure, 5},
        {"  exposure \t=  500000   # ns\r\n", &_CAMERA_SETTINGS::exposure, 500000},
        {"# a comment\n\n   \nframes = 010\n", &_CAMERA_SETTINGS::frames, 10},  // decimal, not octal
        {"trigInFlags = 0x5", &_CAMERA_SETTINGS::trigInFlags, 5},
        {"period = 4294967295", &_CAMERA_SETTINGS::period, 4294967295u},
        {"wbRed = 262080", &_CAMERA_SETTINGS::wbRed, 262080},
        {"roiWidth = 0XFFFF", &_CAMERA_SETTINGS::roiWidth, 0xFFFF},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(Parsed(c.text).*c.member, c.value);
    }
}

TEST(SettingsFile, EachBadLineIsNamedByFileAndLine) {
    const struct {
        const char* text;
        const char* error;
    } cases[] = {
        {"exposure = 1\nexposur = 2", "s.txt:2: unknown field 'exposur'"},
        {"# c\nframes 20", "s.txt:2: expected 'name = value', found 'frames 20'"},
        {"frames = twenty", "s.txt:1: bad value 'twenty' for frames (a number from 0 to 4294967295"},
        {"frames = -1", "s.txt:1: bad value '-1'"},
        {"frames =", "s.txt:1: bad value ''"},
        {"frames = 4294967296", "s.txt:1: bad value '4294967296'"},
        {"frames = 0x", "s.txt:1: bad value '0x'"},
        {"frames = 1 2", "s.txt:1: bad value '1 2'"},
        {"roiWidth = 65536", "s.txt:1: bad value '65536' for roiWidth (a number from 0 to 65535"},
        {"wbBlue = 262081", "s.txt:1: bad value '262081' for wbBlue"},
        {"\n\nsensorWidth = 1504", "s.txt:3: sensorWidth is read-only"},
        {"frames = 1\n\nframes = 2", "s.txt:3: frames is set twice (first on line 1)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::vector<SettingsAssignment> assignments;
        std::string error;
        EXPECT_FALSE(ParseSettingsText(c.text, "s.txt", assignments, error));
        EXPECT_EQ(error.rfind(c.error, 0), 0u) << error;
    }
}

TEST(SettingsFile, DiffListsOnlyChangedWritableFieldsInRecordOrder) {
    _CAMERA_SETTINGS a{}, b{};
    b.frames = 9;
    b.exposure = 3;
    b.sensorWidth = 1504;  // read-only: never uploaded
    const auto changes = DiffSettings(a, b);
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_STREQ(changes[0].field->name, "exposure");
    EXPECT_EQ(changes[1].to, 9u);
}

}  // namespace
}  // namespace zpcam
