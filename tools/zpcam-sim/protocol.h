// Command lines and replies of the camera's ASCII link. Pure functions, no I/O.
#ifndef ZPCAM_SIM_PROTOCOL_H
#define ZPCAM_SIM_PROTOCOL_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zpsim {

constexpr std::uint16_t kCommandPort = 1027;
constexpr std::uint16_t kAnnouncePort = 10505;
constexpr const char* kAnnounceGroup = "225.1.1.201";

constexpr std::uint8_t kResultOk = 0x11;
constexpr std::uint8_t kResultEraseDone = 0x16;  // erase of an already empty memory
constexpr std::uint8_t kResultUnknownCommand = 0x20;
constexpr std::uint8_t kResultBadArgument = 0x21;
constexpr std::uint8_t kResultWrongState = 0x22;

constexpr std::uint8_t kEventState = 0xA4;  // announcement carrying the camera state

// One received command line.
struct Command {
    bool hasAddress = false;  // false for the address-less query "54\r\n"
    std::uint8_t address = 0;
    std::uint8_t code = 0;
    std::string args;  // everything between the command code and "\r\n"
};

// Parses "#AACC<args>\r\n" or, for lines shorter than 5 characters, "CC\r\n"; the image requests
// "#AA88<12 characters>" and "#AA8C<6 characters>" also without "\r\n".
// Returns nothing for any other line without "\r\n", with a bad "#" prefix or with non-hex digits.
std::optional<Command> ParseCommand(std::string_view line);

// "#" + address + result + command code + data + "\r\n".
std::string FormatReply(std::uint8_t address, std::uint8_t result, std::uint8_t code, std::string_view data);

// "#" + address + "01" + event + data + "\r\n".
std::string FormatAnnouncement(std::uint8_t address, std::uint8_t event, std::string_view data);

// Upper-case fixed-width hexadecimal fields as the library reads them.
std::string Hex2(std::uint8_t value);
std::string Hex4(std::uint16_t value);
std::string Hex8(std::uint32_t value);

// Strict readers: exactly the given text, hex digits (either case) or decimal digits only.
std::optional<std::uint32_t> ParseHex(std::string_view text);
std::optional<std::uint32_t> ParseDecimal(std::string_view text);

// Printable form of a datagram for the command log: CR, LF and other control bytes as \r, \n, \xHH.
std::string PrintableLine(std::string_view datagram);

}  // namespace zpsim

#endif  // ZPCAM_SIM_PROTOCOL_H
