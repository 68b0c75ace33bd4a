// Reads one frame's border record from a border data XML file, line by line and tag by tag.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include <strings.h>

#include "border/border_tables.h"
#include "zpport/BorderXml.h"

namespace {

using zp::border::BorderFrameRateIndex;
using zp::border::kDefaultBorder;

// A line, or a piece of a longer line, as read: 511 characters and the terminator.
constexpr int kLineSize = 512;
constexpr std::size_t kNameLength = 50;

// Values parsed from the current line. The integer is cleared before every line; the float is not,
// so an unreadable gain repeats the one read before it.
struct Scratch {
    int integer = 0;
    float real = 0.0f;
};

int Decimal(const char* value, Scratch& scratch) {
    (void)std::sscanf(value, "%d", &scratch.integer);
    return scratch.integer;
}

float Real(const char* value, Scratch& scratch) {
    (void)std::sscanf(value, "%f", &scratch.real);
    return scratch.real;
}

bool IsTrue(const char* value) { return strcasecmp(value, "True") == 0; }

bool Holds(const char* value, const char* word) { return std::strstr(value, word) != nullptr; }

// Character `index` of the value; characters past its end count as '0'.
char CharAt(const char* value, std::size_t index) {
    return index < std::strlen(value) ? value[index] : '0';
}

// Two characters as one BCD byte: the first is the high nibble.
uint8_t BcdPair(const char* value, std::size_t index) {
    const unsigned int high = static_cast<unsigned char>(CharAt(value, index) - '0');
    const unsigned int low = static_cast<unsigned char>(CharAt(value, index + 1) - '0');
    return static_cast<uint8_t>((high << 4) + low);
}

// The value's characters as one digit per byte, right-aligned in `count` bytes; a longer value
// gives its first `count` characters.
void IrigDigits(const char* value, uint8_t* digits, std::size_t count) {
    const std::size_t length = std::min(std::strlen(value), count);
    const std::size_t lead = count - length;
    for (std::size_t i = 0; i < count; ++i) {
        digits[i] = i < lead ? 0 : static_cast<uint8_t>(value[i - lead] - '0');
    }
}

template <std::size_t N>
void CopyName(char (&field)[N], const char* value) {
    static_assert(N > kNameLength, "name field too small");
    const std::size_t length = std::min(std::strlen(value), kNameLength);
    std::memcpy(field, value, length);
    field[length] = '\0';
}

uint8_t FormatOf(const char* value) {
    if (Holds(value, "AVI")) return 4;
    if (Holds(value, "TIF")) return 3;
    if (Holds(value, "JPEG")) return 2;
    if (Holds(value, "Type2")) return 1;
    return 0;
}

uint8_t RecordModeOf(const char* value) {
    if (Holds(value, "Trigger2")) return 3;
    if (Holds(value, "Trigger")) return 2;
    if (Holds(value, "Stop")) return 1;
    return 3;
}

uint8_t WhiteBalanceOf(const char* value) {
    if (Holds(value, "Daylight")) return 0;
    if (Holds(value, "Tungsten")) return 1;
    if (Holds(value, "HMI")) return 2;
    if (Holds(value, "Unity")) return 4;
    return 3;
}

void SetRate(BORDER_DATA& b, int value) {
    b.FrameRate = static_cast<uint32_t>(value);
    b.FrameRateIndex = BorderFrameRateIndex(b.FrameRate);
}

void SetHub(BORDER_DATA& b, bool present) {
    const uint32_t flags = b.Flags;
    b.Flags = present ? (flags | BORDER_FLAG_HUB_PRESENT) : (flags & ~BORDER_FLAG_HUB_PRESENT);
}

using Apply = void (*)(BORDER_DATA& b, const char* v, Scratch& s);

struct TagRule {
    const char* tag;
    Apply apply;
};

// Looked for in this order; the first tag found in a line decides what the line fills.
constexpr TagRule kTagRules[] = {
    {"<CameraID>", [](BORDER_DATA& b, const char* v, Scratch& s) { b.CameraID = uint8_t(Decimal(v, s)); }},
    {"<CameraName>", [](BORDER_DATA& b, const char* v, Scratch&) { CopyName(b.CameraName, v); }},
    {"<Date>",
     [](BORDER_DATA& b, const char* v, Scratch&) {
         b.ClockMonth = BcdPair(v, 0);
         b.ClockDay = BcdPair(v, 3);
         b.Year = BcdPair(v, 6);
     }},
    {"<Time>",
     [](BORDER_DATA& b, const char* v, Scratch&) {
         b.ClockHours = BcdPair(v, 0);
         b.ClockMinutes = BcdPair(v, 3);
         b.ClockSeconds = BcdPair(v, 6);
     }},
    {"<ElapsedMicroseconds>",
     [](BORDER_DATA& b, const char* v, Scratch& s) { b.ElapsedMicroseconds = uint32_t(Decimal(v, s)); }},
    {"<ElapsedMinutes>",
     [](BORDER_DATA& b, const char* v, Scratch& s) { b.ElapsedMinutes = uint16_t(Decimal(v, s)); }},
    {"<Exposure>", [](BORDER_DATA& b, const char* v, Scratch& s) { b.Exposure = uint32_t(Decimal(v, s)); }},
    {"<Format>", [](BORDER_DATA& b, const char* v, Scratch&) { b.Format = FormatOf(v); }},
    {"<FrameNumber>",
     [](BORDER_DATA& b, const char* v, Scratch& s) { b.FrameNumber = uint16_t(Decimal(v, s)); }},
    {"<FrameRate>", [](BORDER_DATA& b, const char* v, Scratch& s) { SetRate(b, Decimal(v, s)); }},
    {"<Height>",
     [](BORDER_DATA& b, const char* v, Scratch& s) {
         b.Height = uint16_t(Decimal(v, s));
         b.Height2 = b.Height;
     }},
    {"<Width>",
     [](BORDER_DATA& b, const char* v, Scratch& s) {
         b.Width = uint16_t(Decimal(v, s));
         b.Width2 = b.Width;
     }},
    {"<HubPresent>", [](BORDER_DATA& b, const char* v, Scratch&) { SetHub(b, IsTrue(v)); }},
    {"<IrigPresent>", [](BORDER_DATA& b, const char* v, Scratch&) { b.IrigPresent = IsTrue(v) ? 1 : 0; }},
    {"<IrigDays>", [](BORDER_DATA& b, const char* v, Scratch&) { IrigDigits(v, b.IrigDayOfYear, 3); }},
    {"<IrigHours>", [](BORDER_DATA& b, const char* v, Scratch&) { IrigDigits(v, b.IrigHours, 2); }},
    {"<IrigMinutes>", [](BORDER_DATA& b, const char* v, Scratch&) { IrigDigits(v, b.IrigMinutes, 2); }},
    {"<IrigSeconds>", [](BORDER_DATA& b, const char* v, Scratch&) { IrigDigits(v, b.IrigSeconds, 2); }},
    {"<IrigMicroseconds>",
     [](BORDER_DATA& b, const char* v, Scratch& s) { b.IrigMicroseconds = uint32_t(Decimal(v, s)); }},
    {"<Legacy>", [](BORDER_DATA&, const char*, Scratch&) {}},
    {"<RecordMode>", [](BORDER_DATA& b, const char* v, Scratch&) { b.RecordMode = RecordModeOf(v); }},
    {"<SensorType>",
     [](BORDER_DATA& b, const char* v, Scratch&) { b.SensorType = Holds(v, "Color") ? 1 : 2; }},
    {"<SerialNumber>",
     [](BORDER_DATA& b, const char* v, Scratch& s) { b.SerialNumber = uint32_t(Decimal(v, s)); }},
    {"<SessionID>", [](BORDER_DATA& b, const char* v, Scratch& s) { b.SessionID = uint8_t(Decimal(v, s)); }},
    {"<SessionName>", [](BORDER_DATA& b, const char* v, Scratch&) { CopyName(b.SessionName, v); }},
    {"<Temperature>", [](BORDER_DATA& b, const char* v, Scratch& s) { b.Temperature = Decimal(v, s); }},
    {"<TriggerFrame>", [](BORDER_DATA& b, const char* v, Scratch&) { b.TriggerFrame = IsTrue(v) ? 1 : 0; }},
    {"<WhiteBalance>", [](BORDER_DATA& b, const char* v, Scratch&) { b.WhiteBalance = WhiteBalanceOf(v); }},
    {"<WhiteBalanceRed>", [](BORDER_DATA& b, const char* v, Scratch& s) { b.WhiteBalanceRed = Real(v, s); }},
    {"<WhiteBalanceGreen>",
     [](BORDER_DATA& b, const char* v, Scratch& s) { b.WhiteBalanceGreen = Real(v, s); }},
    {"<WhiteBalanceBlue>",
     [](BORDER_DATA& b, const char* v, Scratch& s) { b.WhiteBalanceBlue = Real(v, s); }},
};

// Fills the field of the first tag the line holds; lines without a known tag change nothing.
void ApplyLine(const char* line, BORDER_DATA& border, Scratch& scratch) {
    scratch.integer = 0;
    for (const TagRule& rule : kTagRules) {
        if (std::strstr(line, rule.tag) == nullptr) continue;
        char value[kLineSize];
        ExtractDataFromXMLString(line, value, kLineSize);
        rule.apply(border, value, scratch);
        return;
    }
}

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

char* ExtractDataFromXMLString(const char* line, char* value, int size) {
    if (size <= 0) return nullptr;
    value[0] = '\0';
    const char* open = std::strchr(line, '>');
    if (open == nullptr) return nullptr;
    const char* text = open + 1;
    const std::size_t length = std::min(std::strlen(text), static_cast<std::size_t>(size) - 1);
    std::memcpy(value, text, length);
    value[length] = '\0';
    char* close = std::strrchr(value, '<');
    if (close != nullptr) *close = '\0';
    return close;
}

unsigned int ReadBorderDataFromXml(const char* path, int frame, BORDER_DATA* border, int size) {
    if (path == nullptr || border == nullptr) return BORDER_XML_FAILED;
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "r"));
    if (file == nullptr) return BORDER_XML_FAILED;

    const std::size_t copied = size <= 0 ? 0 : std::min(static_cast<std::size_t>(size), sizeof(BORDER_DATA));
    std::memcpy(border, &kDefaultBorder, copied);

    char line[kLineSize];
    if (std::fgets(line, kLineSize, file.get()) == nullptr || std::strstr(line, "<BorderData>") == nullptr) {
        return 0;
    }
    Scratch scratch;
    int counter = 0;
    while (counter <= frame && std::fgets(line, kLineSize, file.get()) != nullptr &&
           std::strstr(line, "</BorderData>") == nullptr) {
        if (std::strstr(line, "</Frame>") != nullptr) {
            ++counter;
        } else if (counter == frame) {
            ApplyLine(line, *border, scratch);
        }
    }
    return 0;
}
