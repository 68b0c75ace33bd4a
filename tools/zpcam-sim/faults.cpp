#include "faults.h"

#include <algorithm>
#include <sstream>

#include "protocol.h"

namespace zpsim {

FaultDecision FaultInjector::Decide(std::uint8_t commandCode) {
    FaultDecision decision;
    if (m_config.silent) {
        decision.send = false;
        return decision;
    }
    if (m_config.dropEvery != 0) {
        ++m_replyCount;
        if (m_replyCount % m_config.dropEvery == 0) {
            decision.send = false;
            return decision;
        }
    }
    auto it = m_config.results.find(commandCode);
    if (it != m_config.results.end()) {
        decision.result = it->second;
    }
    auto raw = m_config.raw.find(commandCode);
    if (raw != m_config.raw.end()) {
        decision.raw = raw->second;
    }
    decision.delayMs = m_config.delayMs;
    return decision;
}

namespace {

std::optional<unsigned> ReadCount(std::istringstream& in) {
    std::string word;
    if (!(in >> word)) {
        return std::nullopt;
    }
    auto value = ParseDecimal(word);
    if (!value) {
        return std::nullopt;
    }
    return static_cast<unsigned>(*value);
}

std::optional<std::uint8_t> ReadHexByte(std::istringstream& in) {
    std::string word;
    if (!(in >> word) || word.size() > 2) {
        return std::nullopt;
    }
    auto value = ParseHex(word);
    if (!value) {
        return std::nullopt;
    }
    return static_cast<std::uint8_t>(*value);
}

bool AtEnd(std::istringstream& in) {
    std::string rest;
    return !(in >> rest);
}

// The rest of the line after the current position, without its leading space.
std::string RestOfLine(std::istringstream& in) {
    std::string rest;
    std::getline(in, rest);
    if (!rest.empty() && rest.front() == ' ') {
        rest.erase(0, 1);
    }
    return rest;
}

}  // namespace

std::string RawDatagram(const std::string& text) {
    std::istringstream in(text);
    std::string word;
    std::string count;
    std::string extra;
    in >> word >> count >> extra;
    auto size = ParseDecimal(count);
    if (word != "fill" || !size || !extra.empty()) {
        return text;
    }
    // "fill <n>": an accepted reply header followed by digits up to n bytes in all.
    std::string datagram = "#0011";
    datagram.resize(std::max<std::size_t>(datagram.size(), static_cast<std::size_t>(*size)), '0');
    return datagram.substr(0, static_cast<std::size_t>(*size));
}

std::string FaultInjector::Apply(const std::string& command) {
    std::istringstream in(command);
    std::string verb;
    in >> verb;
    if (verb == "silent") {
        std::string mode;
        in >> mode;
        if ((mode != "on" && mode != "off") || !AtEnd(in)) {
            return "usage: silent on|off";
        }
        m_config.silent = mode == "on";
    } else if (verb == "result") {
        auto code = ReadHexByte(in);
        std::string value;
        in >> value;
        if (!code || value.empty() || !AtEnd(in)) {
            return "usage: result <code> <result>|off";
        }
        if (value == "off") {
            m_config.results.erase(*code);
            return {};
        }
        auto result = ParseHex(value);
        if (!result || value.size() > 2) {
            return "usage: result <code> <result>|off";
        }
        m_config.results[*code] = static_cast<std::uint8_t>(*result);
    } else if (verb == "drop" || verb == "delay") {
        auto count = ReadCount(in);
        if (!count || !AtEnd(in)) {
            return "usage: " + verb + " <number>";
        }
        (verb == "drop" ? m_config.dropEvery : m_config.delayMs) = *count;
        m_replyCount = 0;
    } else if (verb == "raw") {
        auto code = ReadHexByte(in);
        std::string text = RestOfLine(in);
        if (!code || text.empty()) {
            return "usage: raw <code> <text>|fill <n>|off";
        }
        if (text == "off") {
            m_config.raw.erase(*code);
        } else {
            m_config.raw[*code] = RawDatagram(text);
        }
    } else if (verb == "clear" && AtEnd(in)) {
        m_config = FaultConfig{};
        m_replyCount = 0;
    } else {
        return "unknown fault command";
    }
    return {};
}

}  // namespace zpsim
