// Test helpers of the image download: segment trains built byte by byte, and a minimal camera on
// UDP port 1027 of a loopback address that answers ordinary commands with "accepted" and image
// requests with a scripted train.
#ifndef ZP_TESTS_TWPORT_DOWNLOAD_FAKE_CAMERA_H
#define ZP_TESTS_TWPORT_DOWNLOAD_FAKE_CAMERA_H

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sim/sim_process.h"
#include "support/jpeg_stream.h"
#include "zpport/BorderData.h"
#include "zpport/TWPort.h"

namespace zptest {

using Datagram = std::string;
using Train = std::vector<Datagram>;

inline std::string BigEndian(std::uint32_t word) {
    const char bytes[4] = {static_cast<char>(word >> 24), static_cast<char>(word >> 16),
                           static_cast<char>(word >> 8), static_cast<char>(word)};
    return std::string(bytes, 4);
}

// Border datagram: receive-size hint, the block in camera byte order, control word 0.
inline Datagram BorderDatagram(BORDER_DATA hostOrder, std::uint16_t hint) {
    ChangeBorderEndianess(&hostOrder);
    return BigEndian(hint) + std::string(4, '\0') +
           std::string(reinterpret_cast<const char*>(&hostOrder), sizeof hostOrder) + BigEndian(0);
}

inline Datagram Segment(const std::string& payload, std::uint32_t sequence, bool last) {
    return payload + std::string(4, '\0') + BigEndian((last ? 0x80000000u : 0u) | sequence);
}

inline Datagram Information(std::uint32_t imageLength) {
    return BigEndian(imageLength) + std::string(4, '\0') + BigEndian(0x40000000u);
}

// Border, data segments 1..n of at most segmentSize bytes, information.
inline Train MakeTrain(const BORDER_DATA& border, const std::string& image, std::size_t segmentSize) {
    Train train{BorderDatagram(border, static_cast<std::uint16_t>(segmentSize + 8))};
    const std::size_t count = (image.size() + segmentSize - 1) / segmentSize;
    for (std::size_t i = 0; i < count; ++i)
        train.push_back(Segment(image.substr(i * segmentSize, segmentSize), static_cast<std::uint32_t>(i + 1),
                                i + 1 == count));
    train.push_back(Information(static_cast<std::uint32_t>(image.size())));
    return train;
}

inline BORDER_DATA GreyBorder(std::uint16_t width, std::uint16_t height) {
    BORDER_DATA border;
    SetDefaultBorder(&border, 1);
    border.SensorType = 2;
    border.Width = border.Width2 = width;
    border.Height = border.Height2 = height;
    return border;
}

inline std::string Pixels(std::size_t length, unsigned seed) {
    std::string image(length, '\0');
    for (std::size_t i = 0; i < length; ++i) image[i] = static_cast<char>((i * 7 + i / 251 + seed) & 0xFF);
    return image;
}

inline std::string EncodeJpeg(const std::string& pixels, int width, int height, int components, int quality,
                              int subsampling) {
    const std::vector<unsigned char> stream =
        zptest::EncodeJpeg(pixels.data(), width, height, components, quality, subsampling);
    return std::string(stream.begin(), stream.end());
}

// The part of a stream after its scan header: what a camera sends.
inline std::string JpegBody(const std::string& stream) {
    const std::size_t start =
        zptest::ScanDataStart(reinterpret_cast<const unsigned char*>(stream.data()), stream.size());
    return start == 0 ? std::string() : stream.substr(start);
}

// Sends a list of datagrams from one socket to a port on the given address.
inline void Play(const Train& train, const std::string& ip, std::uint16_t port) {
    const int sock = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr.s_addr = inet_addr(ip.c_str());
    for (const Datagram& d : train)
        ::sendto(sock, d.data(), d.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to);
    ::close(sock);
}

class FakeCamera {
public:
    // trainFor(n) gives the train of the n-th image request (from 0).
    using TrainSource = std::function<Train(int request)>;

    FakeCamera(const std::string& ip, TrainSource trainFor) : m_trainFor(std::move(trainFor)) {
        m_socket = ::socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in local{};
        local.sin_family = AF_INET;
        local.sin_port = htons(1027);
        local.sin_addr.s_addr = inet_addr(ip.c_str());
        m_bound = ::bind(m_socket, reinterpret_cast<sockaddr*>(&local), sizeof local) == 0;
        m_thread = std::thread([this] { Serve(); });
    }
    ~FakeCamera() {
        m_stop = true;
        m_thread.join();
        ::close(m_socket);
    }
    bool Bound() const { return m_bound; }
    std::vector<std::string> Lines() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_lines;
    }
    void ClearLines() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.clear();
    }
    // The test thread calls this after changing what its train source reads and before the next
    // request: the camera thread computes trains under the same lock, so it sees those changes.
    void Publish() { std::lock_guard<std::mutex> lock(m_mutex); }
    // Called on the camera's thread for every line it receives.
    void OnLine(std::function<void(const std::string&)> hook) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_hook = std::move(hook);
    }
    std::string firstFrame = "000003E8";  // answer data of the frame range query
    std::string activeArea = "00400030";  // 64 x 48

private:
    void Serve() {
        char line[4096];
        while (!m_stop) {
            pollfd entry{m_socket, POLLIN, 0};
            if (::poll(&entry, 1, 20) <= 0) continue;
            sockaddr_in from{};
            socklen_t fromLength = sizeof from;
            const ssize_t n =
                ::recvfrom(m_socket, line, sizeof line, 0, reinterpret_cast<sockaddr*>(&from), &fromLength);
            if (n <= 0) continue;
            Answer(std::string(line, static_cast<std::size_t>(n)), from);
        }
    }
    void Answer(const std::string& text, sockaddr_in from) {
        std::function<void(const std::string&)> hook;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_lines.push_back(text);
            hook = m_hook;
        }
        if (hook) hook(text);
        const std::string code = text.size() >= 5 ? text.substr(3, 2) : "";
        if (code == "88" || code == "8C") {
            const auto port =
                static_cast<std::uint16_t>(std::strtoul(text.substr(text.size() - 4).c_str(), nullptr, 16));
            Train train;
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                train = m_trainFor(m_requests++);
            }
            Play(train, inet_ntoa(from.sin_addr), port);
            return;
        }
        std::string reply = text.substr(0, 3) + "11" + code;
        if (code == "45") reply += firstFrame + "00000FFF";
        if (code == "90") reply += activeArea;
        reply += "\r\n";
        ::sendto(m_socket, reply.data(), reply.size(), 0, reinterpret_cast<sockaddr*>(&from), sizeof from);
    }

    TrainSource m_trainFor;
    int m_socket = -1;
    bool m_bound = false;
    int m_requests = 0;
    std::atomic<bool> m_stop{false};
    std::mutex m_mutex;
    std::vector<std::string> m_lines;
    std::function<void(const std::string&)> m_hook;
    std::thread m_thread;
};

// A port whose download internals the tests can reach.
class DownloadPort : public CTWPort {
public:
    using CTWPort::ImageFunction;
    using CTWPort::m_abyBorder;
    using CTWPort::m_byCameraState;
    using CTWPort::m_dwAdapterAddress;
    using CTWPort::m_dwCameraType;
    using CTWPort::m_dwLinkLost;
    using CTWPort::m_dwState;
    using CTWPort::m_dwTransferActive;
    using CTWPort::MyReadData;

    DownloadPort(const std::string& ip, unsigned char address) {
        std::snprintf(m_szCameraAddress, sizeof m_szCameraAddress, "%s", ip.c_str());
        m_byCameraAddress = address;
    }
    // Traces go to a file of their own; Log() reads it.
    void StartTrace(const std::string& tag) {
        m_traceBase = "/tmp/zp_download_" + std::to_string(::getpid()) + "_" + tag + ".log";
        EnableTrace(9, m_traceBase.c_str(), 1);
    }
    std::string Log() const {
        const std::string path = m_traceBase.substr(0, m_traceBase.size() - 4) + "_0000000009.log";
        return ReadFile(path);
    }
    ~DownloadPort() override {
        if (m_traceBase.empty()) return;
        ::unlink((m_traceBase.substr(0, m_traceBase.size() - 4) + "_0000000009.log").c_str());
    }

private:
    std::string m_traceBase;
};

// Counts non-overlapping occurrences of text in log.
inline int Count(const std::string& log, const std::string& text) {
    int n = 0;
    for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + text.size())) ++n;
    return n;
}

}  // namespace zptest

#endif  // ZP_TESTS_TWPORT_DOWNLOAD_FAKE_CAMERA_H
