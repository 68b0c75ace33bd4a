// One ICMP echo through the system ping program: its standard output is read
// through a pipe until a "time=" report, end of data or the deadline.
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "os/deadline.h"
#include "zpport/OSLayer.h"

namespace {

constexpr size_t kHostTextSize = 64;
constexpr size_t kChunkSize = 255;
constexpr long kNanosPerSecond = 1000000000L;

// Resolves a host name to its first IPv4 address (network byte order) and that address's dotted text.
int ResolveHost(const char* host, uint32_t& address, char* hostText) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    addrinfo* answer = nullptr;
    if (getaddrinfo(host, nullptr, &hints, &answer) != 0 || answer == nullptr) {
        fprintf(stderr, "OS_NetPing: Could not resolve the host name %s\n", host);
        return OS_ERR_SYSTEM;
    }
    const in_addr first = reinterpret_cast<const sockaddr_in*>(answer->ai_addr)->sin_addr;
    freeaddrinfo(answer);
    address = first.s_addr;
    char dotted[INET_ADDRSTRLEN];
    if (inet_ntop(AF_INET, &first, dotted, sizeof(dotted)) == nullptr) {
        fprintf(stderr, "OS_NetPing: Could not convert resolved the host address\n");
        return OS_ERR_SYSTEM;
    }
    std::strncpy(hostText, dotted, kHostTextSize);
    return OS_OK;
}

// Runs in the forked child: ping's standard output goes into the pipe.
[[noreturn]] void RunPing(const int pipeEnds[2], const char* ttlText, const char* host) {
    close(pipeEnds[0]);
    if (dup2(pipeEnds[1], STDOUT_FILENO) < 0) {
        perror("OS_NetPing: dup2");
        _exit(1);
    }
    execlp("ping", "ping", "-c", "1", "-t", ttlText, host, static_cast<char*>(nullptr));
    // End the child here rather than return into a second copy of the host program.
    perror("OS_NetPing: execlp");
    _exit(127);
}

struct PingChild {
    pid_t pid;
    int readEnd;
};

void CleanUp(const PingChild& child) {
    close(child.readEnd);
    kill(child.pid, SIGINT);
    while (waitpid(child.pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// Waits until the pipe is readable: 0 readable, 1 failure, 3 nothing before the deadline.
int WaitReadable(int fd, const timespec* deadline) {
    for (;;) {
        timespec remaining{};
        if (deadline != nullptr) {
            timespec now{};
            if (clock_gettime(CLOCK_REALTIME, &now) != 0) {
                perror("OS_NetPing: clock_gettime");
                return OS_ERR_SYSTEM;
            }
            remaining.tv_sec = deadline->tv_sec - now.tv_sec;
            remaining.tv_nsec = deadline->tv_nsec - now.tv_nsec;
            if (remaining.tv_nsec < 0) {
                remaining.tv_sec -= 1;
                remaining.tv_nsec += kNanosPerSecond;
            }
        }
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(fd, &readable);
        const int ready = pselect(fd + 1, &readable, nullptr, nullptr,
                                  deadline != nullptr ? &remaining : nullptr, nullptr);
        if (ready > 0) return OS_OK;
        if (ready == 0) return OS_ERR_TIMEOUT;
        if (errno != EINTR) {
            perror("OS_NetPing: pselect");
            return OS_ERR_SYSTEM;
        }
    }
}

// Reads ping's output chunk by chunk until one chunk holds "time=".
int ReadRoundTrip(int fd, const timespec* deadline, int64_t& roundTrip) {
    for (;;) {
        const int waited = WaitReadable(fd, deadline);
        if (waited != OS_OK) return waited;
        char chunk[kChunkSize + 1];
        const ssize_t got = read(fd, chunk, kChunkSize);
        if (got <= 0) return OS_ERR_SYSTEM;
        chunk[got] = '\0';
        const char* found = std::strstr(chunk, "time=");
        if (found != nullptr) {
            roundTrip = std::strtoll(found + 5, nullptr, 10);
            return OS_OK;
        }
    }
}

}  // namespace

int OS_NetPing(const char* host, _OS_PING_RESULT* result, uint32_t ttl, uint64_t timeoutMs) {
    uint32_t resolved = 0;
    char hostText[kHostTextSize + 1] = {};
    if (inet_addr(host) == INADDR_NONE) {
        const int rc = ResolveHost(host, resolved, hostText);
        if (rc != OS_OK) return rc;
        host = hostText;
    }
    // Formatted before fork so that the child only has to exec.
    char ttlText[8];
    snprintf(ttlText, sizeof(ttlText), "%d", static_cast<int>(ttl & 0xFF));

    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0) {
        perror("OS_NetPing: pipe");
        return OS_ERR_SYSTEM;
    }
    const pid_t pid = fork();
    if (pid < 0) {
        perror("OS_NetPing: fork");
        close(pipeEnds[0]);
        close(pipeEnds[1]);
        return OS_ERR_SYSTEM;
    }
    if (pid == 0) RunPing(pipeEnds, ttlText, host);

    close(pipeEnds[1]);
    const PingChild child{pid, pipeEnds[0]};
    timespec deadline{};
    const bool limited = timeoutMs != OS_INFINITE;
    if (limited && !zpos::DeadlineFromNow(timeoutMs, deadline)) {
        perror("OS_NetPing: clock_gettime");
        CleanUp(child);
        return OS_ERR_SYSTEM;
    }
    int64_t roundTrip = 0;
    const int rc = ReadRoundTrip(child.readEnd, limited ? &deadline : nullptr, roundTrip);
    if (rc == OS_OK) {
        result->Address = resolved;
        result->RoundTrip = roundTrip;
    }
    CleanUp(child);
    return rc;
}
