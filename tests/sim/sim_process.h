// Test helpers: the simulator as a child process, and a UDP client on loopback.
#ifndef ZP_TESTS_SIM_PROCESS_H
#define ZP_TESTS_SIM_PROCESS_H

#include <signal.h>
#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zptest {

class SimProcess {
public:
    // Starts the simulator with these arguments and waits for its "ready" line.
    explicit SimProcess(const std::vector<std::string>& args);
    // Sends SIGTERM and waits up to five seconds for the exit, then kills.
    ~SimProcess();
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

    bool Ready() const { return m_ready; }
    // Stops the simulator where it is (SIGSTOP): a camera switched off, silent without refusing.
    void Freeze() const {
        if (m_pid > 0) ::kill(m_pid, SIGSTOP);
    }

private:
    pid_t m_pid = -1;
    bool m_ready = false;
};

class UdpClient {
public:
    // Bound to ip (any port, or the given one).
    explicit UdpClient(const std::string& ip, std::uint16_t port = 0);
    ~UdpClient();
    UdpClient(const UdpClient&) = delete;
    UdpClient& operator=(const UdpClient&) = delete;

    bool Send(const std::string& ip, std::uint16_t port, const std::string& data) const;
    // One datagram, or nothing after timeoutMs.
    std::optional<std::string> Receive(int timeoutMs) const;
    // Sends and waits for one answer.
    std::optional<std::string> Exchange(const std::string& ip, std::uint16_t port, const std::string& data,
                                        int timeoutMs = 2000) const;
    bool Valid() const { return m_socket >= 0; }

private:
    int m_socket = -1;
};

std::string ReadFile(const std::string& path);

}  // namespace zptest

#endif  // ZP_TESTS_SIM_PROCESS_H
