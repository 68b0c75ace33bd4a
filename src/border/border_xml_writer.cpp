// Writes border records as border data XML: one <Frame> per record with every tag the reader knows,
// each value in the form the reader turns back into the same field value.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "zpport/BorderXml.h"

namespace {

constexpr std::size_t kNameLength = 50;
// Room for any value written: a name, a "%.9g" gain, a decimal, a word.
constexpr std::size_t kValueSize = 64;

void Unsigned(char* out, unsigned int value) { std::snprintf(out, kValueSize, "%u", value); }

// 32-bit fields are written in the signed form, which "%d" reads back to the same bits.
void Signed(char* out, uint32_t value) { std::snprintf(out, kValueSize, "%d", static_cast<int32_t>(value)); }

// Nine significant digits bring every float back exactly.
void Gain(char* out, float value) { std::snprintf(out, kValueSize, "%.9g", static_cast<double>(value)); }

void Word(char* out, const char* word) { std::snprintf(out, kValueSize, "%s", word); }

void Bool(char* out, bool value) { Word(out, value ? "True" : "False"); }

// MM/DD/YY or HH:MM:SS, each nibble as '0' + nibble, so that any byte, valid BCD or not, comes back.
void BcdTriple(char* out, const uint8_t (&bytes)[3], char separator) {
    for (std::size_t i = 0; i < 3; ++i) {
        out[3 * i] = static_cast<char>('0' + (bytes[i] >> 4));
        out[3 * i + 1] = static_cast<char>('0' + (bytes[i] & 0x0F));
        out[3 * i + 2] = separator;
    }
    out[8] = '\0';
}

void Digits(char* out, const uint8_t* digits, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<char>('0' + (digits[i] <= 9 ? digits[i] : 0));
    }
    out[count] = '\0';
}

// Up to the NUL and at most 50 characters; a line break would split the line, so it becomes a space.
void Name(char* out, const char* field) {
    std::size_t i = 0;
    for (; i < kNameLength && field[i] != '\0'; ++i) {
        out[i] = (field[i] == '\r' || field[i] == '\n') ? ' ' : field[i];
    }
    out[i] = '\0';
}

const char* FormatWord(uint8_t format) {
    static const char* const kWords[] = {"Other", "Type2", "JPEG", "TIF", "AVI"};
    return format < 5 ? kWords[format] : kWords[0];
}

const char* RecordModeWord(uint8_t mode) {
    static const char* const kWords[] = {"Other", "Stop", "Trigger", "Trigger2"};
    return mode < 4 ? kWords[mode] : kWords[0];
}

const char* WhiteBalanceWord(uint8_t balance) {
    static const char* const kWords[] = {"Daylight", "Tungsten", "HMI", "Other", "Unity"};
    return balance < 5 ? kWords[balance] : kWords[3];
}

using Format = void (*)(const BORDER_DATA& b, char* out);

struct FieldWriter {
    const char* tag;
    Format format;
};

// The reader's tags in the reader's order.
constexpr FieldWriter kFieldWriters[] = {
    {"CameraID", [](const BORDER_DATA& b, char* o) { Unsigned(o, b.CameraID); }},
    {"CameraName", [](const BORDER_DATA& b, char* o) { Name(o, b.CameraName); }},
    {"Date", [](const BORDER_DATA& b, char* o) { BcdTriple(o, {b.ClockMonth, b.ClockDay, b.Year}, '/'); }},
    {"Time",
     [](const BORDER_DATA& b, char* o) {
         BcdTriple(o, {b.ClockHours, b.ClockMinutes, b.ClockSeconds}, ':');
     }},
    {"ElapsedMicroseconds", [](const BORDER_DATA& b, char* o) { Signed(o, b.ElapsedMicroseconds); }},
    {"ElapsedMinutes", [](const BORDER_DATA& b, char* o) { Unsigned(o, b.ElapsedMinutes); }},
    {"Exposure", [](const BORDER_DATA& b, char* o) { Signed(o, b.Exposure); }},
    {"Format", [](const BORDER_DATA& b, char* o) { Word(o, FormatWord(b.Format)); }},
    {"FrameNumber", [](const BORDER_DATA& b, char* o) { Unsigned(o, b.FrameNumber); }},
    {"FrameRate", [](const BORDER_DATA& b, char* o) { Signed(o, b.FrameRate); }},
    {"Height", [](const BORDER_DATA& b, char* o) { Unsigned(o, b.Height); }},
    {"Width", [](const BORDER_DATA& b, char* o) { Unsigned(o, b.Width); }},
    {"HubPresent",
     [](const BORDER_DATA& b, char* o) { Bool(o, (b.Flags & BORDER_FLAG_HUB_PRESENT) != 0); }},
    {"IrigPresent", [](const BORDER_DATA& b, char* o) { Bool(o, b.IrigPresent != 0); }},
    {"IrigDays", [](const BORDER_DATA& b, char* o) { Digits(o, b.IrigDayOfYear, 3); }},
    {"IrigHours", [](const BORDER_DATA& b, char* o) { Digits(o, b.IrigHours, 2); }},
    {"IrigMinutes", [](const BORDER_DATA& b, char* o) { Digits(o, b.IrigMinutes, 2); }},
    {"IrigSeconds", [](const BORDER_DATA& b, char* o) { Digits(o, b.IrigSeconds, 2); }},
    {"IrigMicroseconds", [](const BORDER_DATA& b, char* o) { Signed(o, b.IrigMicroseconds); }},
    {"Legacy", [](const BORDER_DATA&, char* o) { o[0] = '\0'; }},
    {"RecordMode", [](const BORDER_DATA& b, char* o) { Word(o, RecordModeWord(b.RecordMode)); }},
    {"SensorType", [](const BORDER_DATA& b, char* o) { Word(o, b.SensorType == 1 ? "Color" : "Mono"); }},
    {"SerialNumber", [](const BORDER_DATA& b, char* o) { Signed(o, b.SerialNumber); }},
    {"SessionID", [](const BORDER_DATA& b, char* o) { Unsigned(o, b.SessionID); }},
    {"SessionName", [](const BORDER_DATA& b, char* o) { Name(o, b.SessionName); }},
    {"Temperature", [](const BORDER_DATA& b, char* o) { Signed(o, static_cast<uint32_t>(b.Temperature)); }},
    {"TriggerFrame", [](const BORDER_DATA& b, char* o) { Bool(o, b.TriggerFrame != 0); }},
    {"WhiteBalance", [](const BORDER_DATA& b, char* o) { Word(o, WhiteBalanceWord(b.WhiteBalance)); }},
    {"WhiteBalanceRed", [](const BORDER_DATA& b, char* o) { Gain(o, b.WhiteBalanceRed); }},
    {"WhiteBalanceGreen", [](const BORDER_DATA& b, char* o) { Gain(o, b.WhiteBalanceGreen); }},
    {"WhiteBalanceBlue", [](const BORDER_DATA& b, char* o) { Gain(o, b.WhiteBalanceBlue); }},
};

unsigned int Result(std::FILE* file, bool written) {
    return written && std::ferror(file) == 0 ? 0 : BORDER_XML_FAILED;
}

}  // namespace

unsigned int WriteBorderXmlBegin(std::FILE* file) {
    if (file == nullptr) return BORDER_XML_FAILED;
    return Result(file, std::fputs("<BorderData>\n", file) >= 0);
}

unsigned int WriteBorderFrameToXml(std::FILE* file, const BORDER_DATA* border) {
    if (file == nullptr || border == nullptr) return BORDER_XML_FAILED;
    bool written = std::fputs("<Frame>\n", file) >= 0;
    for (const FieldWriter& field : kFieldWriters) {
        char value[kValueSize];
        field.format(*border, value);
        written = written && std::fprintf(file, "  <%s>%s</%s>\n", field.tag, value, field.tag) >= 0;
    }
    written = written && std::fputs("</Frame>\n", file) >= 0;
    return Result(file, written);
}

unsigned int WriteBorderXmlEnd(std::FILE* file) {
    if (file == nullptr) return BORDER_XML_FAILED;
    return Result(file, std::fputs("</BorderData>\n", file) >= 0);
}

unsigned int WriteBorderDataToXml(const char* path, const BORDER_DATA* borders, int count) {
    if (path == nullptr || (borders == nullptr && count > 0)) return BORDER_XML_FAILED;
    std::FILE* file = std::fopen(path, "w");
    if (file == nullptr) return BORDER_XML_FAILED;
    bool written = WriteBorderXmlBegin(file) == 0;
    for (int i = 0; written && i < count; ++i) written = WriteBorderFrameToXml(file, &borders[i]) == 0;
    written = written && WriteBorderXmlEnd(file) == 0;
    // Closing flushes the buffer, so it is where a full disk shows.
    const bool closed = std::fclose(file) == 0;
    return written && closed ? 0 : BORDER_XML_FAILED;
}
