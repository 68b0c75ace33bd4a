// The simulator's I/O: one command socket per emulated camera, a poll loop, delayed replies, the command log.
#ifndef ZPCAM_SIM_UDP_SERVER_H
#define ZPCAM_SIM_UDP_SERVER_H

#include <netinet/in.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "announcer.h"
#include "camera_model.h"
#include "discovery_responder.h"
#include "faults.h"
#include "handlers.h"

namespace zpsim {

struct SimCamera {
    explicit SimCamera(CameraIdentity identity, FaultConfig faultConfig = {})
        : model(std::move(identity)), faults(std::move(faultConfig)), announcedState(model.State()) {}

    CameraModel model;
    FaultInjector faults;
    Announcer announcer;
    std::uint8_t announcedState;
    int commandSocket = -1;
    std::chrono::steady_clock::time_point triggered;  // when the running recording began
};

struct ServerOptions {
    std::string logPath;  // command log; "-" for standard output, empty for none
    AnnounceOptions announce;
    std::uint16_t commandPort = 1027;
    std::uint16_t controlPort = 0;  // run-time control channel on the first camera's address; 0: none
    DiscoveryOptions discovery;
    // A triggered recording ends on its own after this time (0: only by a command or the control channel).
    std::chrono::milliseconds recordTime{0};
};

class UdpServer {
public:
    UdpServer(std::vector<SimCamera> cameras, ServerOptions options);
    ~UdpServer();
    UdpServer(const UdpServer&) = delete;
    UdpServer& operator=(const UdpServer&) = delete;

    // Binds every socket. Returns an empty string on success, else the reason.
    std::string Open();
    // Serves until stop becomes non-zero.
    void Run(const volatile std::sig_atomic_t& stop);

    std::vector<SimCamera>& Cameras() { return m_cameras; }

private:
    struct PendingReply {
        std::chrono::steady_clock::time_point due;
        int socket;
        sockaddr_in destination;
        std::string data;
    };

    void ServeCommand(SimCamera& camera);
    void ServeControl();
    void ServeDiscovery(int socket);
    void Reply(SimCamera& camera, const sockaddr_in& sender, const Command& command, HandlerResult result);
    void AnnounceChanges();
    void EndRecordings();
    void FlushDueReplies();
    int PollTimeoutMs() const;
    void Log(const SimCamera& camera, const std::string& datagram);
    void CloseAll();

    std::vector<SimCamera> m_cameras;
    ServerOptions m_options;
    HandlerTable m_handlers;
    std::vector<PendingReply> m_pending;
    int m_controlSocket = -1;
    DiscoveryResponder m_discovery;
    std::FILE* m_log = nullptr;
};

// Bound UDP socket on the given dotted IPv4 address and port, or -1 with the reason in error.
int OpenBoundSocket(const std::string& ip, std::uint16_t port, std::string& error);

// Runs one control line against the cameras and returns the answer ("OK" or "ERR <reason>").
std::string ExecuteControl(std::vector<SimCamera>& cameras, const std::string& line);

}  // namespace zpsim

#endif  // ZPCAM_SIM_UDP_SERVER_H
