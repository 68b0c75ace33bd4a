// String and memory helpers under the names the rest of the library is written against.
#include <cstdio>
#include <cstring>

#include "zpport/OSLayer.h"

namespace {

constexpr size_t kCompareBufferSize = 256;

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }
char UpperAscii(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

// Unbounded: the source must be shorter than the destination.
void CopyLowered(char* dst, const char* src) {
    while (*src != '\0') *dst++ = LowerAscii(*src++);
}

}  // namespace

char* strlwr(char* s) {
    for (char* p = s; *p != '\0'; ++p) *p = LowerAscii(*p);
    return s;
}

char* strupr(char* s) {
    for (char* p = s; *p != '\0'; ++p) *p = UpperAscii(*p);
    return s;
}

int strcmpi(const char* a, const char* b) {
    char lowerA[kCompareBufferSize] = {};
    char lowerB[kCompareBufferSize] = {};
    CopyLowered(lowerA, a);
    CopyLowered(lowerB, b);
    return std::strcmp(lowerA, lowerB);
}

int strcpy_s(char* dst, size_t /*size*/, const char* src) {
    std::strcpy(dst, src);
    return 0;
}

int strcat_s(char* dst, size_t /*size*/, const char* src) {
    std::strcat(dst, src);
    return 0;
}

void ZeroMemory(void* p, int count) { std::memset(p, 0, static_cast<size_t>(count)); }

int fopen_s(FILE** out, const char* path, const char* mode) {
    // Callers test the stream, not the result.
    *out = std::fopen(path, mode);
    return 0;
}
