// Reading and writing the 32-bit little-endian words of a settings record by byte position.
#ifndef ZPPORT_PORT_SETTINGS_WORDS_H
#define ZPPORT_PORT_SETTINGS_WORDS_H

#include <cstdint>
#include <cstring>

namespace zp::settings {

inline std::uint32_t Word(const void* record, unsigned int position) {
    std::uint32_t value = 0;
    std::memcpy(&value, static_cast<const unsigned char*>(record) + position, sizeof value);
    return value;
}

inline void SetWord(void* record, unsigned int position, std::uint32_t value) {
    std::memcpy(static_cast<unsigned char*>(record) + position, &value, sizeof value);
}

}  // namespace zp::settings

#endif  // ZPPORT_PORT_SETTINGS_WORDS_H
