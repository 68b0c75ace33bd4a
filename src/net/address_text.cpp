// Hexadecimal fields of camera replies and MAC / IPv4 address text.
#include "zpport/AddressText.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// The square forms skip the opening "[" unseen; an empty text stays empty
// rather than being read past its end.
const char* SkipOpening(const char* text) { return text[0] != '\0' ? text + 1 : text; }

}  // namespace

unsigned int hex(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned int>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned int>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<unsigned int>(c - 'A' + 10);
    return 0xFFFFFFFFu;
}

unsigned char dec2c(char* p) {
    // 10 x p[0] + p[1] - 16 is the two digits' value plus 528 (= 2 x 256 + 16):
    // taken to 8 bits it is the value modulo 256. No check of the characters.
    return static_cast<unsigned char>(10 * p[0] + p[1] - 16);
}

unsigned int hex2c(char* p) { return 16u * hex(p[0]) + hex(p[1]); }

unsigned short hex2s(char* p) {
    unsigned int value = 0;
    for (int i = 0; i < 4; ++i) value = (value << 4) + static_cast<unsigned char>(hex(p[i]));
    return static_cast<unsigned short>(value);
}

unsigned int hex2i(char* p) {
    unsigned int value = 0;
    for (int i = 0; i < 8; ++i) value = (value << 4) + hex(p[i]);
    return value;
}

void c2hex(unsigned char v, char* out) { std::sprintf(out, "%02X", v); }

void s2hex(unsigned short v, char* out) { std::sprintf(out, "%02X", v); }

void i2hex(unsigned int v, char* out) { std::sprintf(out, "%04X", v); }

void MACAddressToString(unsigned int low, unsigned int high, char* out) {
    std::sprintf(out, "%02X-%02X-%02X-%02X-%02X-%02X", (high >> 8) & 0xFF, high & 0xFF, (low >> 24) & 0xFF,
                 (low >> 16) & 0xFF, (low >> 8) & 0xFF, low & 0xFF);
}

void StringToMACAddress(const char* text, unsigned int& low, unsigned int& high) {
    char copy[129] = {};
    std::strncpy(copy, text, 128);
    for (char* c = copy; *c != '\0'; ++c) *c = static_cast<char>(std::toupper(static_cast<unsigned char>(*c)));

    // Pairs at 0, 3, 6, 9, 12, 15; the separators between them are not looked at.
    unsigned long long value = 0;
    for (int pair = 0; pair < 6; ++pair) {
        unsigned int byte = 0;
        for (int k = 0; k < 2; ++k) {
            const char c = copy[pair * 3 + k];
            const unsigned int digit = (c >= '0' && c <= '9') ? static_cast<unsigned int>(c - '0')
                                                              : static_cast<unsigned int>(c - 0x37);
            byte = byte * 16 + digit;
        }
        value = (value << 8) + byte;
    }
    low = static_cast<unsigned int>(value & 0xFFFFFFFFu);
    high = static_cast<unsigned int>(value >> 32);
}

void ByteAddressToString(unsigned int a, char* out) {
    std::sprintf(out, "[%u.%u.%u.%u]", (a >> 24) & 0xFF, (a >> 16) & 0xFF, (a >> 8) & 0xFF, a & 0xFF);
}

void ByteAddressToString(unsigned char a, unsigned char b, unsigned char c, unsigned char d, char* out) {
    std::sprintf(out, "[%u.%u.%u.%u]", a, b, c, d);
}

void StringAddressToByte(const char* text, unsigned char& a, unsigned char& b, unsigned char& c,
                         unsigned char& d) {
    char copy[257] = {};
    std::strncpy(copy, text, 256);
    unsigned char* parts[4] = {&a, &b, &c, &d};
    for (unsigned char* part : parts) *part = 0;

    char* save = nullptr;
    char* token = strtok_r(copy, "].\r\n", &save);
    for (int i = 0; i < 4 && token != nullptr; ++i) {
        *parts[i] = static_cast<unsigned char>(std::strtoul(token, nullptr, 10));
        token = strtok_r(nullptr, "].\r\n", &save);
    }
}

void StringAddressToLong(const char* text, unsigned int& v) {
    unsigned char a, b, c, d;
    StringAddressToByte(text, a, b, c, d);
    v = (static_cast<unsigned int>(a) << 24) + (static_cast<unsigned int>(b) << 16) +
        (static_cast<unsigned int>(c) << 8) + d;
}

void StringAddressToByteSquare(const char* text, unsigned char& a, unsigned char& b, unsigned char& c,
                               unsigned char& d) {
    StringAddressToByte(SkipOpening(text), a, b, c, d);
}

void StringAddressToLongSquare(const char* text, unsigned int& v) { StringAddressToLong(SkipOpening(text), v); }
