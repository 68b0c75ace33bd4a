// Constants shared by the files of the Ethernet port.
#ifndef ZP_TWPORT_INTERNAL_H
#define ZP_TWPORT_INTERNAL_H

namespace zptw {

constexpr int kLineBufferSize = 2048;       // line and reply buffer of every command
constexpr int kCommandTimeoutUs = 6000000;  // ordinary command
constexpr int kAddressTimeoutUs = 5000000;  // address words and the keep-alive
constexpr int kEraseTimeoutUs = 20000000;
constexpr int kNoReply = -1;  // time-out value of a command that expects no reply
constexpr unsigned int kResultAccepted = 0x11;
constexpr unsigned int kLinkLostError = 2008;
constexpr unsigned char kStateLinkLost = 0x11;
constexpr unsigned short kCommandPort = 1027;
constexpr unsigned short kAnnouncementPort = 10505;
constexpr const char* kAnnouncementGroup = "225.1.1.201";
constexpr int kListenerSliceUs = 100000;

}  // namespace zptw

#endif  // ZP_TWPORT_INTERNAL_H
