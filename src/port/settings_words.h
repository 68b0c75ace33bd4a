// Reading and writing the 32-bit little-endian words of a settings record by byte position, and
// the model-code test that the settings and filter uploads share.
#ifndef ZPPORT_PORT_SETTINGS_WORDS_H
#define ZPPORT_PORT_SETTINGS_WORDS_H

#include <cstdint>
#include <cstring>
#include <initializer_list>

namespace zp::settings {

inline std::uint32_t Word(const void* record, unsigned int position) {
    std::uint32_t value = 0;
    std::memcpy(&value, static_cast<const unsigned char*>(record) + position, sizeof value);
    return value;
}

inline void SetWord(void* record, unsigned int position, std::uint32_t value) {
    std::memcpy(static_cast<unsigned char*>(record) + position, &value, sizeof value);
}

// True when value is one of the listed model codes.
inline bool OneOf(unsigned int value, std::initializer_list<unsigned int> values) {
    for (unsigned int v : values)
        if (v == value) return true;
    return false;
}

}  // namespace zp::settings

#endif  // ZPPORT_PORT_SETTINGS_WORDS_H
