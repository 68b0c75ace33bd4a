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

// Indices of CTWPort::m_dwState.
constexpr int kNetPerfCurrent = 0;      // download rate limit in force
constexpr int kNetPerfBase = 1;         // rate limit the settings asked for
constexpr int kLastDownloadFormat = 2;  // readFlags of the last format sent; 0xFFFFFFFF: none
constexpr int kFirstFrameIndex = 3;     // first frame of the recording; 9999999: unknown
constexpr int kDownloadWidth = 4;       // 0xFFFFFFFF: unknown
constexpr int kDownloadHeight = 5;      // 0xFFFFFFFF: unknown
constexpr unsigned int kUnknownWord = 0xFFFFFFFFu;
constexpr unsigned int kUnknownFirstFrame = 9999999u;

}  // namespace zptw

#endif  // ZP_TWPORT_INTERNAL_H
