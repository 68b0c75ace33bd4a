#include "udp_server.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zpsim {

namespace {

constexpr std::size_t kDatagramSize = 2048;
constexpr int kPollSliceMs = 100;

}  // namespace

int OpenBoundSocket(const std::string& ip, std::uint16_t port, std::string& error) {
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    if (inet_pton(AF_INET, ip.c_str(), &local.sin_addr) != 1) {
        error = "bad address " + ip;
        return -1;
    }
    int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) {
        error = std::string("socket: ") + std::strerror(errno);
        return -1;
    }
    if (::bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
        error = "bind " + ip + ":" + std::to_string(port) + ": " + std::strerror(errno);
        ::close(fd);
        return -1;
    }
    return fd;
}

UdpServer::UdpServer(std::vector<SimCamera> cameras, ServerOptions options)
    : m_cameras(std::move(cameras)), m_options(std::move(options)), m_handlers(MakeDefaultHandlers()) {}

UdpServer::~UdpServer() {
    CloseAll();
}

void UdpServer::CloseAll() {
    for (auto& camera : m_cameras) {
        if (camera.commandSocket >= 0) {
            ::close(camera.commandSocket);
            camera.commandSocket = -1;
        }
    }
    if (m_controlSocket >= 0) {
        ::close(m_controlSocket);
        m_controlSocket = -1;
    }
    if (m_log != nullptr && m_log != stdout) {
        std::fclose(m_log);
    }
    m_log = nullptr;
}

std::string UdpServer::Open() {
    std::string error;
    if (m_options.logPath == "-") {
        m_log = stdout;
    } else if (!m_options.logPath.empty()) {
        m_log = std::fopen(m_options.logPath.c_str(), "w");
        if (m_log == nullptr) {
            return "cannot open log " + m_options.logPath + ": " + std::strerror(errno);
        }
    }
    for (auto& camera : m_cameras) {
        const std::string& ip = camera.model.Identity().ip;
        camera.commandSocket = OpenBoundSocket(ip, m_options.commandPort, error);
        if (camera.commandSocket < 0) {
            return error;
        }
        error = camera.announcer.Open(ip, m_options.announce);
        if (!error.empty()) {
            return error;
        }
    }
    if (m_options.controlPort != 0 && !m_cameras.empty()) {
        m_controlSocket =
            OpenBoundSocket(m_cameras.front().model.Identity().ip, m_options.controlPort, error);
    }
    if (error.empty() && m_options.discovery.enabled) {
        std::vector<std::string> ips;
        for (const auto& camera : m_cameras) ips.push_back(camera.model.Identity().ip);
        error = m_discovery.Open(m_options.commandPort, ips);
    }
    return error;
}

// A discovery request reaches every camera on the interface it arrived on; each answers from its
// own command socket unless it is silent.
void UdpServer::ServeDiscovery(int socket) {
    auto request = m_discovery.Receive(socket);
    if (!request) {
        return;
    }
    const bool binary = request->kind == DiscoveryKind::kBinary;
    if (binary && m_options.discovery.binaryType == 0) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    for (std::size_t index = 0; index < m_cameras.size(); ++index) {
        SimCamera& camera = m_cameras[index];
        const CameraIdentity& identity = camera.model.Identity();
        if (camera.faults.Config().silent || InterfaceIndexOf(identity.ip) != request->interfaceIndex) {
            continue;
        }
        Log(camera, request->datagram);
        std::string answer = binary ? FormatBinaryDiscoveryAnswer(identity, m_options.discovery)
                                    : FormatAsciiDiscoveryAnswer(camera.model.Address());
        const auto due = now + std::chrono::milliseconds(index * m_options.discovery.spreadMs);
        m_pending.push_back(PendingReply{due, camera.commandSocket, request->sender, std::move(answer)});
    }
}

void UdpServer::Log(const SimCamera& camera, const std::string& datagram) {
    if (m_log == nullptr) {
        return;
    }
    std::fprintf(m_log, "%s %s\n", camera.model.Identity().ip.c_str(), PrintableLine(datagram).c_str());
    std::fflush(m_log);
}

void UdpServer::ServeCommand(SimCamera& camera) {
    char buffer[kDatagramSize];
    sockaddr_in sender{};
    socklen_t senderSize = sizeof sender;
    ssize_t size = ::recvfrom(camera.commandSocket, buffer, sizeof buffer, 0,
                              reinterpret_cast<sockaddr*>(&sender), &senderSize);
    if (size <= 0) {
        return;
    }
    std::string datagram(buffer, static_cast<std::size_t>(size));
    Log(camera, datagram);
    auto command = ParseCommand(datagram);
    if (!command || (command->hasAddress && command->address != camera.model.Address())) {
        return;  // not a line for this camera: a real camera stays silent too
    }
    auto result = m_handlers.Dispatch(camera.model, *command);
    Reply(camera, sender, *command,
          result ? *result : HandlerResult{kResultUnknownCommand, {}, std::nullopt});
}

void UdpServer::Reply(SimCamera& camera, const sockaddr_in& sender, const Command& command,
                      HandlerResult result) {
    FaultDecision decision = camera.faults.Decide(command.code);
    if (!decision.send) {
        return;
    }
    if (decision.result) {
        result.result = *decision.result;
    }
    std::string reply = decision.raw
                            ? *decision.raw
                            : FormatReply(camera.model.Address(), result.result, command.code, result.data);
    auto due = std::chrono::steady_clock::now() + std::chrono::milliseconds(decision.delayMs);
    m_pending.push_back(PendingReply{due, camera.commandSocket, sender, std::move(reply)});
    if (result.train) {
        sockaddr_in dataDestination = sender;
        dataDestination.sin_port = htons(result.train->port);
        for (auto& datagram : result.train->datagrams) {
            m_pending.push_back(
                PendingReply{due, camera.commandSocket, dataDestination, std::move(datagram)});
        }
    }
}

void UdpServer::FlushDueReplies() {
    auto now = std::chrono::steady_clock::now();
    auto isDue = [now](const PendingReply& reply) { return reply.due <= now; };
    // Due replies leave in order, in batches of one system call per socket run (a segment train is
    // a few hundred datagrams).
    constexpr std::size_t kBatch = 64;
    mmsghdr messages[kBatch];
    iovec parts[kBatch];
    std::size_t count = 0;
    int batchSocket = -1;
    auto flush = [&] {
        for (std::size_t sent = 0; sent < count;) {
            const int n =
                ::sendmmsg(batchSocket, messages + sent, static_cast<unsigned int>(count - sent), 0);
            // As with one sendto each: a datagram that cannot leave is lost, the others still go.
            sent += n > 0 ? static_cast<std::size_t>(n) : 1;
        }
        count = 0;
    };
    for (auto& reply : m_pending) {
        if (!isDue(reply)) continue;
        if (count == kBatch || (count > 0 && reply.socket != batchSocket)) flush();
        batchSocket = reply.socket;
        parts[count] = iovec{reply.data.data(), reply.data.size()};
        messages[count] = mmsghdr{};
        messages[count].msg_hdr.msg_name = &reply.destination;
        messages[count].msg_hdr.msg_namelen = sizeof reply.destination;
        messages[count].msg_hdr.msg_iov = &parts[count];
        messages[count].msg_hdr.msg_iovlen = 1;
        ++count;
    }
    flush();
    m_pending.erase(std::remove_if(m_pending.begin(), m_pending.end(), isDue), m_pending.end());
}

void UdpServer::EndRecordings() {
    if (m_options.recordTime.count() == 0) return;
    const auto now = std::chrono::steady_clock::now();
    for (auto& camera : m_cameras) {
        if (!camera.model.IsIn(CameraState::kRecording)) continue;
        if (camera.announcedState != camera.model.State()) camera.triggered = now;  // just triggered
        if (now - camera.triggered >= m_options.recordTime) camera.model.FinishRecording();
    }
}

void UdpServer::AnnounceChanges() {
    for (auto& camera : m_cameras) {
        if (camera.model.State() != camera.announcedState) {
            camera.announcedState = camera.model.State();
            camera.announcer.AnnounceState(camera.model.Address(), camera.announcedState);
        }
    }
}

void UdpServer::ServeControl() {
    char buffer[kDatagramSize];
    sockaddr_in sender{};
    socklen_t senderSize = sizeof sender;
    ssize_t size = ::recvfrom(m_controlSocket, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&sender),
                              &senderSize);
    if (size <= 0) {
        return;
    }
    std::string line(buffer, static_cast<std::size_t>(size));
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
        line.pop_back();
    }
    std::string answer = ExecuteControl(m_cameras, line) + "\n";
    ::sendto(m_controlSocket, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&sender),
             senderSize);
}

int UdpServer::PollTimeoutMs() const {
    auto now = std::chrono::steady_clock::now();
    auto timeout = std::chrono::milliseconds(kPollSliceMs);
    for (const auto& reply : m_pending) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(reply.due - now);
        timeout =
            std::max(std::chrono::milliseconds(0), std::min(timeout, left + std::chrono::milliseconds(1)));
    }
    return static_cast<int>(timeout.count());
}

void UdpServer::Run(const volatile std::sig_atomic_t& stop) {
    std::vector<pollfd> fds;
    for (const auto& camera : m_cameras) {
        fds.push_back(pollfd{camera.commandSocket, POLLIN, 0});
    }
    if (m_controlSocket >= 0) {
        fds.push_back(pollfd{m_controlSocket, POLLIN, 0});
    }
    const std::size_t firstDiscovery = fds.size();
    for (int socket : m_discovery.Sockets()) {
        fds.push_back(pollfd{socket, POLLIN, 0});
    }
    while (stop == 0) {
        int ready = ::poll(fds.data(), fds.size(), PollTimeoutMs());
        if (ready < 0 && errno != EINTR) {
            break;
        }
        for (std::size_t i = 0; ready > 0 && i < fds.size(); ++i) {
            if ((fds[i].revents & POLLIN) == 0) {
                continue;
            }
            if (i < m_cameras.size()) {
                ServeCommand(m_cameras[i]);
            } else if (i >= firstDiscovery) {
                ServeDiscovery(fds[i].fd);
            } else {
                ServeControl();
            }
        }
        EndRecordings();
        AnnounceChanges();
        FlushDueReplies();
    }
}

}  // namespace zpsim
