// Fault injection of one camera: silence, result-code overrides, dropped and delayed replies.
#ifndef ZPCAM_SIM_FAULTS_H
#define ZPCAM_SIM_FAULTS_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace zpsim {

struct FaultConfig {
    bool silent = false;                           // receive and log, never answer
    std::map<std::uint8_t, std::uint8_t> results;  // command code -> forced result code
    unsigned dropEvery = 0;                        // drop every Nth reply (0: none)
    unsigned delayMs = 0;                          // hold every reply this long
    std::map<std::uint8_t, std::string> raw;       // command code -> datagram sent instead of the reply
};

// What to do with one reply.
struct FaultDecision {
    bool send = true;
    std::optional<std::uint8_t> result;  // replaces the handler's result code
    unsigned delayMs = 0;
    std::optional<std::string> raw;      // replaces the whole reply datagram
};

// A control text as a datagram: "fill <n>" makes n bytes (an accepted header, then digits),
// anything else is sent as it stands.
std::string RawDatagram(const std::string& text);

class FaultInjector {
public:
    FaultInjector() = default;
    explicit FaultInjector(FaultConfig config) : m_config(std::move(config)) {}

    FaultDecision Decide(std::uint8_t commandCode);

    // Applies one control command ("silent on", "result 40 21", "drop 3", "delay 200",
    // "raw 40 <text>", "raw 40 fill <n>", "raw 40 off", "clear").
    // Returns an empty string on success, else the reason it was refused.
    std::string Apply(const std::string& command);

    const FaultConfig& Config() const { return m_config; }

private:
    FaultConfig m_config;
    unsigned m_replyCount = 0;  // replies counted for dropEvery
};

}  // namespace zpsim

#endif  // ZPCAM_SIM_FAULTS_H
