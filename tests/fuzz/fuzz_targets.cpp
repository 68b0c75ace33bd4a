// libFuzzer targets for every parser of input from outside the host; each program built from this file
// runs the target function its build names in ZP_FUZZ_TARGET (tests/fuzz/CMakeLists.txt). What reaches the
// library over UDP reaches it over loopback UDP here too, cut from the input as datagrams: each a 16-bit
// big-endian length and that many bytes.
#include <arpa/inet.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "net/discovery_answers.h"
#include "zpport/AddressText.h"
#include "zpport/BorderXml.h"
#include "zpport/PcbaInfo.h"
#include "zpport/TWPort.h"

namespace {

constexpr char kCamera[] = "127.0.0.97";  // every port here talks to it (the run has a netns of its own)

// A socket on kCamera:port that has sent itself the datagrams cut from the input, so that they come
// from the camera's address.
int Fed(uint16_t port, const uint8_t* data, size_t size, int type = SOCK_DGRAM) {
    const sockaddr_in address{AF_INET, htons(port), {inet_addr(kCamera)}, {}};
    const auto* to = reinterpret_cast<const sockaddr*>(&address);
    const int sock = ::socket(AF_INET, type, 0);
    if (::bind(sock, to, sizeof address) != 0) std::abort();
    for (size_t at = 0, length = 0; at + 2 <= size; at += 2 + length) {
        length = std::min<size_t>(size - at - 2, data[at] << 8 | data[at + 1]);
        ::sendto(sock, data + at + 2, length, 0, to, sizeof address);
    }
    return sock;
}

// A port that was never opened, talking to kCamera, with its protected steps and scratch outputs. Its
// trace (to /dev/null) turns every reply, announcement and train failure into text as well.
struct Port : CTWPort {
    Port() {
        std::snprintf(m_szCameraAddress, sizeof m_szCameraAddress, "%s", kCamera);
        std::snprintf(item.ipText, sizeof item.ipText, "%s", kCamera);
        m_Trace.EnableTrace("/dev/null", 1);
    }
    using CTWPort::PrepareDownload, CTWPort::SendOpenSequence, CTWPort::TakeAnnouncement;
    // A segment train and its border datagram into a buffer of 16 KB (x >= 16: 600 bytes), then the
    // image as the read flags in x ask: raw, JPEG stream or decoded with the border block's geometry.
    void Train(int sock, uint8_t x) {
        std::vector<char> buffer(x < 16 ? 16384 : 600);
        int length = 0;
        if (ImageFunction(sock, buffer.data(), static_cast<int>(buffer.size()), length, 1000) != 1) return;
        ChangeBorderEndianess(reinterpret_cast<BORDER_DATA*>(m_abyBorder));
        DeliverImage(buffer.data(), buffer.size(), length, x & 8, x & 7);
    }
    _ZP_ENUMITEMEX item{};
    _CAMERA_SETTINGS settings{};
    char line[2048] = {};
};

// What the port reads from the camera: the replies of each operation (one for each way of reading
// them: GetEnumInfo reads the vendor, versions and Camera ID answers; ReadSysDataFromFlash, StopGrab
// and the frame capacity parameter read as operations here do), an announcement as the listener takes
// it, an image train with its border datagram.
constexpr void (*kOperations[])(Port&, uint8_t, int) = {
    [](Port& p, uint8_t, int) { p.SendOpenSequence(); },
    [](Port& p, uint8_t, int) { p.GetEnumInfo(&p.item); },
    [](Port& p, uint8_t, int) { p.GetLatestFrameIndex(nullptr); },
    [](Port& p, uint8_t, int) { p.GetIpAddress(&p.item, nullptr, nullptr); },
    [](Port& p, uint8_t, int) { p.GetStatus2(nullptr); },
    [](Port& p, uint8_t x, int) { p.GetPortParameter(x % 2 ? ZPP_PERIOD_MIN : ZPP_BOARD_TEMP, nullptr); },
    [](Port& p, uint8_t, int) { p.ReadCameraInfo(1, nullptr, nullptr); },
    [](Port& p, uint8_t, int) { p.ReadFlashMemoryBlocks(0, 0, &p.settings); },
    [](Port& p, uint8_t x, int) { p.PrepareDownload(x % 8); },
    [](Port& p, uint8_t, int sock) { p.TakeAnnouncement(sock, p.line, inet_addr(kCamera)); },
    [](Port& p, uint8_t x, int sock) { p.Train(sock, x); }};

// The first byte picks the operation (and its argument x); the rest are datagrams from the camera. The
// camera answers each command with the next one, or with an empty one when there are no more, so that
// no exchange waits for its time-out.
void PortInput(const uint8_t* data, size_t size) {
    if (size == 0) return;
    const int camera = Fed(1027, nullptr, 0),
              script = Fed(1028, data + 1, size - 1, SOCK_DGRAM | SOCK_NONBLOCK);
    std::thread responder([camera, script] {
        char line[65536];
        sockaddr_in from{};
        for (socklen_t length = sizeof from;
             ::recvfrom(camera, line, sizeof line, 0, reinterpret_cast<sockaddr*>(&from), &length) > 0;) {
            const ssize_t reply = ::recv(script, line, sizeof line, 0);
            ::sendto(camera, line, reply > 0 ? reply : 0, 0, reinterpret_cast<sockaddr*>(&from), length);
        }
    });
    Port port;
    kOperations[data[0] % std::size(kOperations)](port, data[0] / std::size(kOperations), script);
    ::shutdown(camera, SHUT_RD);  // ends the responder's wait
    responder.join();
    ::close(camera);
    ::close(script);
}

// Records and texts, padded with zeros: discovery answers (binary, ASCII), the board list
// block, MAC and IP address texts.
void Records(const uint8_t* data, size_t size) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    bytes.resize(size + zpnet::kAnswerBufferSize);
    auto* record = reinterpret_cast<unsigned char*>(&bytes[0]);
    _ZP_ENUMITEMEX item{};
    for (int protocol : {0, 1}) zpnet::ReadBinaryAnswer(record, protocol, item);
    zpnet::ReadAsciiAnswerLine(bytes.c_str(), size, item.cmdAddress);
    StringToMACAddress(bytes.c_str(), item.macLow, item.macHigh);
    StringAddressToLongSquare(bytes.c_str(), item.ipAddress);  // the other IP readers are on its way
    CPcbaInfo list;
    if (list.SetList(record) != 0) list.AddItem(0x1234, 1, 2);
}

// The reader takes a path: the input replaces the content of a memory file, named through /proc.
void BorderXml(const uint8_t* data, size_t size) {
    static const std::string path = "/proc/self/fd/" + std::to_string(::memfd_create("border.xml", 0));
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(data), size);
    BORDER_DATA border;
    for (int frame : {0, 3}) ReadBorderDataFromXml(path.c_str(), frame, &border, sizeof border);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ZP_FUZZ_TARGET(data, size);
    return 0;
}
