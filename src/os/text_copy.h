// Bounded text copy for the library's fixed-size text fields: the source may be a terminated
// string or a field that fills its whole array without a terminator; the copy always ends with
// one and never reads or writes past either side.
#ifndef ZPPORT_OS_TEXT_COPY_H
#define ZPPORT_OS_TEXT_COPY_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zpos {

// At most textSize bytes of text, cut to fit out (outSize > 0).
inline void CopyText(char* out, std::size_t outSize, const char* text, std::size_t textSize = SIZE_MAX) {
    const std::size_t length = ::strnlen(text, textSize < outSize - 1 ? textSize : outSize - 1);
    std::memmove(out, text, length);
    out[length] = '\0';
}

// The same between arrays, their sizes taken from their types.
template <std::size_t N, std::size_t M>
void CopyText(char (&out)[N], const char (&text)[M]) {
    CopyText(out, N, text, M);
}

}  // namespace zpos

#endif  // ZPPORT_OS_TEXT_COPY_H
