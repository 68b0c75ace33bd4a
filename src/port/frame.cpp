#include "port/frame.h"

#include <algorithm>
#include <cstring>

namespace zp::frame {

Command::Command(unsigned char code, std::initializer_list<std::uint32_t> words, unsigned char part) {
    Header()->command = code;
    Header()->part = part;
    SetLength(static_cast<std::uint16_t>(kHeaderSize + 4 * words.size()));
    std::size_t index = 0;
    for (const std::uint32_t word : words) SetWord(index++, word);
}

void Command::SetWord(std::size_t index, std::uint32_t value) {
    const std::size_t at = kHeaderSize + 4 * index;
    for (int i = 0; i < 4; ++i) m_bytes[at + i] = static_cast<unsigned char>(value >> (8 * i));
}

void Command::SetBytes(std::size_t at, const void* data, std::size_t size) {
    std::memcpy(m_bytes.data() + at, data, std::min(size, m_bytes.size() - std::min(at, m_bytes.size())));
}

void Command::SetLength(std::uint16_t length) {
    m_bytes[4] = static_cast<unsigned char>(length);
    m_bytes[5] = static_cast<unsigned char>(length >> 8);
}

void Command::SetPart(unsigned char part) {
    m_bytes[2] = part;
}

std::uint32_t Response::WordAt(std::size_t at) const {
    if (at + 4 > m_bytes.size()) return 0;
    return static_cast<std::uint32_t>(m_bytes[at]) | static_cast<std::uint32_t>(m_bytes[at + 1]) << 8 |
           static_cast<std::uint32_t>(m_bytes[at + 2]) << 16 |
           static_cast<std::uint32_t>(m_bytes[at + 3]) << 24;
}

bool Exchange(CCamPort& port, Command& command, Response& response, int timeoutUs, int asked) {
    response.Clear();
    const int size = asked < 0 ? response.Size() : std::min(asked, response.Size());
    return port.SendCmdAndGetRsp(command.Header(), response.Header(), size, timeoutUs, 0, 0) != 0;
}

unsigned int Send(CCamPort& port, unsigned char code, std::initializer_list<std::uint32_t> words,
                  int timeoutUs) {
    Command command(code, words);
    return Send(port, command, timeoutUs);
}

unsigned int Send(CCamPort& port, Command& command, int timeoutUs) {
    Response response(kHeaderSize);
    return Exchange(port, command, response, timeoutUs) ? 1 : 0;
}

}  // namespace zp::frame
