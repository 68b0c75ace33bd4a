// Test helpers of the Ethernet port: a simulated camera with a command log and a control
// channel, an enumeration item for it, and a port whose internal state the tests can see.
#ifndef ZP_TESTS_TWPORT_TW_FIXTURE_H
#define ZP_TESTS_TWPORT_TW_FIXTURE_H

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "sim/sim_process.h"
#include "support/temp_dir.h"
#include "zpport/CameraSettings.h"
#include "zpport/TWPort.h"

namespace zptest {

constexpr std::uint16_t kControlPort = 7050;
using Lines = std::vector<std::string>;

// The log lines of a list of command lines separated by '|': each received line ends in CR LF.
inline Lines Logged(const std::string& text) {
    Lines lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line, '|');) lines.push_back(line + "\\r\\n");
    return lines;
}

inline double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// One simulated camera on its own address, logging every line it receives into a folder of its own.
class Camera {
public:
    Camera(const std::string& ip, std::vector<std::string> extra = {}) : m_ip(ip) {
        std::vector<std::string> args = {"--ip",  ip,        "--address",      "0x0A",
                                         "--log", LogPath(), "--control-port", std::to_string(kControlPort)};
        args.insert(args.end(), extra.begin(), extra.end());
        m_sim = std::make_unique<SimProcess>(args);
    }
    bool Ready() const { return m_dir.Valid() && m_sim->Ready(); }

    // The lines received since the last ClearLog, in the simulator's printable form without the
    // address prefix.
    std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        std::istringstream in(ReadFile(LogPath()));
        size_t index = 0;
        for (std::string line; std::getline(in, line);) {
            if (index++ >= m_seen) lines.push_back(line.substr(line.find(' ') + 1));
        }
        return lines;
    }
    void ClearLog() const { m_seen += Lines().size(); }
    std::string Control(const std::string& line) const {
        UdpClient client("127.0.0.1");
        std::string answer = client.Exchange(m_ip, kControlPort, line).value_or("<no answer>");
        while (!answer.empty() && answer.back() == '\n') answer.pop_back();
        return answer;
    }

private:
    std::string LogPath() const { return m_dir.File("camera.log"); }

    std::string m_ip;
    TempDir m_dir;  // declared before the simulator: the folder outlives it
    mutable size_t m_seen = 0;
    std::unique_ptr<SimProcess> m_sim;
};

inline _ZP_ENUMITEMEX ItemFor(const std::string& ip) {
    _ZP_ENUMITEMEX item{};
    item.portId = 0x2001;
    item.cameraType = 12;
    item.fwVersion = 0x205;
    std::snprintf(item.ipText, sizeof item.ipText, "%s", ip.c_str());
    return item;
}

class TestPort : public CTWPort {
public:
    using CTWPort::m_byCameraAddress;
    using CTWPort::m_byCameraState;
    using CTWPort::m_dwLinkLost;
    using CTWPort::m_dwState;
    using CTWPort::m_hListener;
    using CTWPort::m_szCameraAddress;

    int Send(const std::string& line, std::string& reply, int timeout = 6000000, int attempts = 1,
             int force = 0) {
        char buffer[2048] = {};
        std::snprintf(buffer, sizeof buffer, "%s", line.c_str());
        const int result =
            SendCmdAndGetRsp(buffer, buffer, sizeof buffer, m_szCameraAddress, timeout, attempts, force);
        reply = buffer;
        return result;
    }
    // Sets the frame geometry and transfer settings for downloads; true when the upload succeeded.
    bool SetUpDownload(unsigned short width, unsigned short height, unsigned int netSpeed = 0) {
        _CAMERA_SETTINGS settings{};
        settings.roiWidth = width;
        settings.roiHeight = height;
        settings.netPerform = 5000;
        settings.netSpeed = netSpeed;
        return WriteData2(&settings, sizeof settings) == 1;
    }
};

// Collects the callback texts.
struct Announcements {
    std::mutex mutex;
    std::condition_variable arrived;
    std::vector<std::string> texts;

    static void Callback(void* context, char* text) {
        auto* self = static_cast<Announcements*>(context);
        std::lock_guard<std::mutex> lock(self->mutex);
        self->texts.emplace_back(text);
        self->arrived.notify_all();
    }
    // Waits until n texts arrived; all texts so far.
    std::vector<std::string> WaitFor(size_t n, int timeoutMs = 3000) {
        std::unique_lock<std::mutex> lock(mutex);
        arrived.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] { return texts.size() >= n; });
        return texts;
    }
};

}  // namespace zptest

#endif  // ZP_TESTS_TWPORT_TW_FIXTURE_H
