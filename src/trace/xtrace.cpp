// CXTrace: the per-port text log. Each line is appended with its own open-write-close,
// so a log survives a crash of the host application and needs no lock.
#include "zpport/XTrace.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "trace/log_file_name.h"
#include "zpport/OSLayer.h"

namespace {

constexpr std::size_t kMessageSize = 2048;
constexpr std::size_t kHeaderSize = 64;
constexpr std::size_t kDebugSize = 512;
constexpr std::size_t kRegsLineSize = 160;
constexpr std::size_t kFileNameSize = 1024;
constexpr int kRegistersPerLine = 24;
constexpr char kLineEnd[] = "\r\n";

// Indexed by bits 12 to 15 of the channel word: bus word, then the port family's tag.
constexpr const char* kChannelLabels[16] = {
    "USB  Z", "ETH ZE", "ETH TW", "CLI  C", "USB ZM", "ETH ZG", "CLI  C", "ETH ZN",
    "ETH ZX", "CLI  C", "ETH ZR", "CLI  C", "USB ZH", "PCI  P", "UNDEFD", "UNDEFD",
};
constexpr char kDriverLabel[] = "DRV FN";

const char* ChannelLabel(unsigned int channel) {
    if (channel == 0 || channel == 0xFFFFFFFFu) return kDriverLabel;
    return kChannelLabels[(channel >> 12) & 0xFu];
}

// Formats the message and appends "\r\n". Room for the terminator is kept, so a message
// too long for the buffer is cut but still ends the line. False when formatting fails.
bool FormatMessage(char* buffer, std::size_t size, const char* format, va_list args) {
    const int length = std::vsnprintf(buffer, size - (sizeof(kLineEnd) - 1), format, args);
    if (length < 0) return false;
    std::strcat(buffer, kLineEnd);
    return true;
}

// Appends "HH,LL" (high byte, low byte) for each register, a space before all but the first.
void AppendRegisters(char* line, std::size_t size, const unsigned short* registers, int count) {
    std::size_t length = std::strlen(line);
    for (int i = 0; i < count && length < size; ++i) {
        const int written = std::snprintf(line + length, size - length, i == 0 ? "%02X,%02X" : " %02X,%02X",
                                          (registers[i] >> 8) & 0xFFu, registers[i] & 0xFFu);
        if (written < 0) return;
        length += static_cast<std::size_t>(written);
    }
}

}  // namespace

CXTrace::CXTrace() : m_szLogPath(), m_szBasePath(), m_szExtension(), m_nMode(0) {}

void CXTrace::EnableTrace(const char* name, int mode) {
    const char* given = name != nullptr ? name : "";
    zptrace::CopyText(m_szLogPath, sizeof(m_szLogPath), given);
    zptrace::SplitLogName(given, m_szBasePath, sizeof(m_szBasePath), m_szExtension, sizeof(m_szExtension));
    m_nMode = mode;
}

void CXTrace::EnableTrace(unsigned int id, const char* name, int mode) {
    EnableTrace(name, mode);
    char path[kFileNameSize];
    zptrace::FormIdLogName(path, sizeof(path), m_szBasePath, id, m_szExtension);
    // A name too long for the log path is cut; the log then goes to the cut name.
    zptrace::CopyText(m_szLogPath, sizeof(m_szLogPath), path);
}

int CXTrace::IsLogEnabled() const {
    return m_nMode;
}

const char* CXTrace::LogPath() const {
    return m_szLogPath;
}

void CXTrace::Trace(unsigned int channel, int level, const char* format, ...) {
    if (level == 0 && m_nMode == 0) return;
    if (format == nullptr) return;

    char message[kMessageSize];
    va_list args;
    va_start(args, format);
    const bool formatted = FormatMessage(message, sizeof(message), format, args);
    va_end(args);
    if (!formatted) return;

    _OS_SYSTEMTIME now{};
    OS_GetLocalTime(&now);
    char line[kHeaderSize + kMessageSize];
    std::snprintf(line, sizeof(line), "%02d:%02d:%02d:%03d %04X %s %s", now.wHour, now.wMinute, now.wSecond,
                  now.wMilliseconds, channel & 0xFFFFu, ChannelLabel(channel), message);
    if (m_nMode != 0) WriteToLogFile(line);
}

void CXTrace::TraceRegs(unsigned int channel, int level, unsigned short* registers, int count) {
    if (m_nMode == 0 || count < 1 || registers == nullptr) return;
    for (int first = 0; first < count; first += kRegistersPerLine) {
        char line[kRegsLineSize];
        std::snprintf(line, sizeof(line), "%s", first == 0 ? "Reg: " : "     ");
        AppendRegisters(line, sizeof(line), registers + first, std::min(kRegistersPerLine, count - first));
        // The line is the format: it holds only hex digits, commas and spaces, never a '%'.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
        Trace(channel, level, line);
#pragma GCC diagnostic pop
    }
}

void CXTrace::OutDebug(const char* format, ...) {
    if (format == nullptr) return;
    char message[kDebugSize];
    va_list args;
    va_start(args, format);
    FormatMessage(message, sizeof(message), format, args);
    va_end(args);
    // There is no debugger-output sink on this platform: the text goes nowhere.
}

void CXTrace::WriteToLogFile(const char* line) {
    _OS_SYSTEMTIME now{};
    if (m_nMode >= 2) OS_GetLocalTime(&now);
    char name[kFileNameSize];
    if (!zptrace::FormLogFileName(name, sizeof(name), m_szLogPath, m_szBasePath, m_szExtension, m_nMode,
                                  now)) {
        return;
    }

    struct stat info {};
    const bool exists = ::stat(name, &info) == 0;
    std::FILE* file = std::fopen(name, exists ? "rb+e" : "wbe");
    if (file == nullptr) return;
    if (std::fseek(file, 0, SEEK_END) == 0) std::fwrite(line, 1, std::strlen(line), file);
    std::fclose(file);
}
