// One-line printable forms of Ethernet command lines and binary command frames.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "zpport/XTrace.h"

namespace {

constexpr std::size_t kPrintableSize = 2048;
constexpr int kMaxLineCharacters = 80;
constexpr int kFrameHeaderSize = 8;
constexpr int kMaxPayloadBytes = 40;

// Commands whose payload is bulk data (or none worth showing): only the header is printed.
bool IsHeaderOnlyCommand(unsigned int command) {
    return command > 191 || command == 3 || (command >= 19 && command <= 22) ||
           (command >= 25 && command <= 30) || (command >= 32 && command <= 40);
}

std::uint16_t WordAt(const unsigned char* bytes) {
    std::uint16_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

void AppendHexBytes(char* text, std::size_t size, const unsigned char* bytes, int count) {
    std::size_t length = std::strlen(text);
    for (int i = 0; i < count && length + 2 < size; ++i) {
        std::snprintf(text + length, size - length, "%02X", bytes[i]);
        length += 2;
    }
}

}  // namespace

void CXTrace::GetTWCommandString(char* line, char* text) {
    if (text == nullptr) return;
    int length = 0;
    if (line != nullptr) {
        for (; length < kMaxLineCharacters && line[length] != '\0'; ++length) {
            const char c = line[length];
            text[length] = (c == '\r' || c == '\n') ? ' ' : c;
        }
    }
    text[length] = '\0';
}

void CXTrace::GetKAVCommandString(void* frame, int length, char* text) {
    if (text == nullptr) return;
    text[0] = '\0';
    if (frame == nullptr || length <= 0) return;

    const unsigned char* bytes = static_cast<const unsigned char*>(frame);
    if (length < kFrameHeaderSize) {
        AppendHexBytes(text, kPrintableSize, bytes, length);
        return;
    }
    std::snprintf(text, kPrintableSize, "%02X %02X %02X %02X %04X %04X", bytes[0], bytes[1], bytes[2],
                  bytes[3], WordAt(bytes + 4), WordAt(bytes + 6));
    if (IsHeaderOnlyCommand(bytes[3]) || length == kFrameHeaderSize) return;

    std::strcat(text, " ");
    const int payload = length - kFrameHeaderSize;
    AppendHexBytes(text, kPrintableSize, bytes + kFrameHeaderSize,
                   payload < kMaxPayloadBytes ? payload : kMaxPayloadBytes);
}
