#include "sim_process.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

namespace zptest {

namespace {

using Clock = std::chrono::steady_clock;

// Milliseconds left until the deadline, at least 0.
int MsLeft(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

// Reads the child's stdout until "ready\n", its end or ten seconds.
bool WaitForReady(int fd) {
    std::string seen;
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    char buffer[256];
    pollfd pfd{fd, POLLIN, 0};
    while (seen.find("ready\n") == std::string::npos) {
        const ssize_t size = ::poll(&pfd, 1, MsLeft(deadline)) > 0 ? ::read(fd, buffer, sizeof buffer) : 0;
        if (size <= 0) return false;
        seen.append(buffer, static_cast<std::size_t>(size));
    }
    return true;
}

sockaddr_in Address(const std::string& ip, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (inet_pton(AF_INET, ip.c_str(), &address.sin_addr) != 1) address.sin_family = AF_UNSPEC;
    return address;
}

}  // namespace

SimProcess::SimProcess(const std::vector<std::string>& args) {
    int pipeFds[2];
    if (::pipe(pipeFds) != 0) return;
    std::vector<std::string> all{ZPCAM_SIM_PATH};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& arg : all) argv.push_back(arg.data());
    argv.push_back(nullptr);
    const pid_t parent = ::getpid();
    m_pid = ::fork();
    if (m_pid == 0) {
        // A test that dies (a sanitizer halt, a crash) takes its simulator along; an orphan
        // would keep the test's output pipe open and leave the test runner waiting for ever.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) ::_exit(127);
        ::dup2(pipeFds[1], STDOUT_FILENO);
        ::close(pipeFds[0]);
        ::close(pipeFds[1]);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(pipeFds[1]);
    m_ready = m_pid > 0 && WaitForReady(pipeFds[0]);
    ::close(pipeFds[0]);
}

SimProcess::~SimProcess() {
    if (m_pid <= 0) return;
    ::kill(m_pid, SIGTERM);
    ::kill(m_pid, SIGCONT);  // a frozen simulator takes the signal at once
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    while (::waitpid(m_pid, nullptr, WNOHANG) == 0) {  // 0: still running
        if (MsLeft(deadline) == 0) ::kill(m_pid, SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

UdpClient::UdpClient(const std::string& ip, std::uint16_t port) {
    m_socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    const sockaddr_in local = Address(ip, port);
    if (m_socket >= 0 && ::bind(m_socket, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        ::close(m_socket);
        m_socket = -1;
    }
}

UdpClient::~UdpClient() {
    if (m_socket >= 0) ::close(m_socket);
}

bool UdpClient::Send(const std::string& ip, std::uint16_t port, const std::string& data) const {
    const sockaddr_in to = Address(ip, port);
    return ::sendto(m_socket, data.data(), data.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                    sizeof to) == static_cast<ssize_t>(data.size());
}

std::optional<std::string> UdpClient::Receive(int timeoutMs) const {
    pollfd pfd{m_socket, POLLIN, 0};
    char buffer[2048];
    const ssize_t size = ::poll(&pfd, 1, timeoutMs) > 0 ? ::recv(m_socket, buffer, sizeof buffer, 0) : -1;
    if (size < 0) return std::nullopt;
    return std::string(buffer, static_cast<std::size_t>(size));
}

std::optional<std::string> UdpClient::Exchange(const std::string& ip, std::uint16_t port,
                                               const std::string& data, int timeoutMs) const {
    if (!Send(ip, port, data)) return std::nullopt;
    return Receive(timeoutMs);
}

std::string ReadFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

}  // namespace zptest
