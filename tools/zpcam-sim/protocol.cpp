#include "protocol.h"

#include <cstdio>

namespace zpsim {

namespace {

int HexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

std::optional<std::uint8_t> ParseByte(std::string_view text) {
    auto value = ParseHex(text.substr(0, 2));
    if (text.size() < 2 || !value) {
        return std::nullopt;
    }
    return static_cast<std::uint8_t>(*value);
}

std::string FormatHex(unsigned value, int width) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%0*X", width, value);
    return buffer;
}

}  // namespace

std::optional<std::uint32_t> ParseHex(std::string_view text) {
    if (text.empty() || text.size() > 8) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    for (char c : text) {
        int digit = HexDigit(c);
        if (digit < 0) {
            return std::nullopt;
        }
        value = (value << 4) | static_cast<std::uint32_t>(digit);
    }
    return value;
}

std::optional<std::uint32_t> ParseDecimal(std::string_view text) {
    if (text.empty() || text.size() > 9) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        value = value * 10 + static_cast<std::uint32_t>(c - '0');
    }
    return value;
}

namespace {

// The two image requests come without "\r\n": "#AA88" + 12 characters and "#AA8C" + 6 characters.
bool IsBareImageRequest(std::string_view line) {
    if (line.empty() || line[0] != '#' || (line.size() != 17 && line.size() != 11)) {
        return false;
    }
    std::string_view code = line.substr(3, 2);
    return line.size() == 17 ? code == "88" : (code == "8C" || code == "8c");
}

}  // namespace

std::optional<Command> ParseCommand(std::string_view line) {
    const bool bare = IsBareImageRequest(line);
    if (!bare && (line.size() < 4 || line.substr(line.size() - 2) != "\r\n")) {
        return std::nullopt;
    }
    std::string_view body = bare ? line : line.substr(0, line.size() - 2);
    Command command;
    if (!bare && line.size() < 5) {
        auto code = ParseByte(body);
        if (!code) {
            return std::nullopt;
        }
        command.code = *code;
        return command;
    }
    if (body[0] != '#' || body.size() < 5) {
        return std::nullopt;
    }
    auto address = ParseByte(body.substr(1));
    auto code = ParseByte(body.substr(3));
    if (!address || !code) {
        return std::nullopt;
    }
    command.hasAddress = true;
    command.address = *address;
    command.code = *code;
    command.args = std::string(body.substr(5));
    return command;
}

std::string FormatReply(std::uint8_t address, std::uint8_t result, std::uint8_t code, std::string_view data) {
    std::string reply = "#" + Hex2(address) + Hex2(result) + Hex2(code);
    reply.append(data);
    reply += "\r\n";
    return reply;
}

std::string FormatAnnouncement(std::uint8_t address, std::uint8_t event, std::string_view data) {
    std::string text = "#" + Hex2(address) + "01" + Hex2(event);
    text.append(data);
    text += "\r\n";
    return text;
}

std::string Hex2(std::uint8_t value) {
    return FormatHex(value, 2);
}
std::string Hex4(std::uint16_t value) {
    return FormatHex(value, 4);
}
std::string Hex8(std::uint32_t value) {
    return FormatHex(value, 8);
}

std::string PrintableLine(std::string_view datagram) {
    std::string out;
    for (char c : datagram) {
        auto byte = static_cast<unsigned char>(c);
        if (c == '\r') {
            out += "\\r";
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\\') {
            out += "\\\\";
        } else if (byte < 0x20 || byte >= 0x7F) {
            char buffer[8];
            std::snprintf(buffer, sizeof buffer, "\\x%02X", byte);
            out += buffer;
        } else {
            out += c;
        }
    }
    return out;
}

}  // namespace zpsim
