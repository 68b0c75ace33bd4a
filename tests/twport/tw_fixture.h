// Test helpers of the Ethernet port: a simulated camera with a command log and a control
// channel, an enumeration item for it, and a port whose internal state the tests can see.
#ifndef ZP_TESTS_TWPORT_TW_FIXTURE_H
#define ZP_TESTS_TWPORT_TW_FIXTURE_H

#include <unistd.h>

#include <cstdio>
#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "sim/sim_process.h"
#include "zpport/TWPort.h"

namespace zptest {

constexpr std::uint16_t kControlPort = 7050;

// One simulated camera on its own address, logging every line it receives.
class Camera {
public:
    Camera(const std::string& ip, std::vector<std::string> extra = {})
        : m_ip(ip), m_logPath("/tmp/zp_twport_" + std::to_string(::getpid()) + "_" + ip + ".log") {
        std::vector<std::string> args = {"--ip",  ip,        "--address",      "0x0A",
                                         "--log", m_logPath, "--control-port", std::to_string(kControlPort)};
        args.insert(args.end(), extra.begin(), extra.end());
        m_sim = std::make_unique<SimProcess>(args);
    }
    ~Camera() {
        m_sim.reset();
        ::unlink(m_logPath.c_str());
    }
    bool Ready() const { return m_sim->Ready(); }
    const std::string& Ip() const { return m_ip; }

    // The lines received so far, in the simulator's printable form without the address prefix.
    std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        std::istringstream in(ReadFile(m_logPath));
        std::string line;
        while (std::getline(in, line)) {
            const auto space = line.find(' ');
            lines.push_back(space == std::string::npos ? line : line.substr(space + 1));
        }
        return lines;
    }
    std::string Control(const std::string& line) const {
        UdpClient client("127.0.0.1");
        std::string answer = client.Exchange(m_ip, kControlPort, line).value_or("<no answer>");
        while (!answer.empty() && answer.back() == '\n') answer.pop_back();
        return answer;
    }
    void ClearLog() const { std::fclose(std::fopen(m_logPath.c_str(), "w")); }

private:
    std::string m_ip;
    std::string m_logPath;
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
    using CTWPort::m_hListener;
    using CTWPort::m_nAnnSocket;
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
    void Target(const std::string& ip, unsigned char address) {
        std::snprintf(m_szCameraAddress, sizeof m_szCameraAddress, "%s", ip.c_str());
        m_byCameraAddress = address;
    }
};

// Collects the callback texts.
struct Announcements {
    std::mutex mutex;
    std::vector<std::string> texts;

    static void Callback(void* context, char* text) {
        auto* self = static_cast<Announcements*>(context);
        std::lock_guard<std::mutex> lock(self->mutex);
        self->texts.emplace_back(text);
    }
    // Waits until n texts arrived; all texts so far.
    std::vector<std::string> WaitFor(size_t n, int timeoutMs = 3000) {
        for (int waited = 0;; waited += 20) {
            {
                std::lock_guard<std::mutex> lock(mutex);
                if (texts.size() >= n || waited >= timeoutMs) return texts;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
};

}  // namespace zptest

#endif  // ZP_TESTS_TWPORT_TW_FIXTURE_H
