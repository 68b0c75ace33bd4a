#include "config.h"

#include <arpa/inet.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>

namespace zpsim {

namespace {

bool ParseNumber(const std::string& text, long long low, long long high, long long& value) {
    if (text.empty()) {
        return false;
    }
    char* end = nullptr;
    errno = 0;
    value = std::strtoll(text.c_str(), &end, 0);
    return errno == 0 && *end == '\0' && value >= low && value <= high;
}

template <typename T>
std::string SetNumber(T& field, const std::string& key, const std::string& value) {
    long long number = 0;
    long long low = std::numeric_limits<T>::min();
    long long high = std::numeric_limits<T>::max();
    if (!ParseNumber(value, low, high, number)) {
        return "bad value for " + key + ": " + value;
    }
    field = static_cast<T>(number);
    return {};
}

std::string Trim(const std::string& text) {
    auto first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) {
        return {};
    }
    auto last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

}  // namespace

std::string ApplyIdentityKey(CameraIdentity& identity, const std::string& key, const std::string& value) {
    if (key == "ip") {
        in_addr address{};
        if (inet_pton(AF_INET, value.c_str(), &address) != 1) {
            return "bad IPv4 address: " + value;
        }
        identity.ip = value;
        return {};
    }
    if (key == "name") {
        identity.name = value;
        return {};
    }
    if (key == "address") return SetNumber(identity.address, key, value);
    if (key == "model") return SetNumber(identity.modelCode, key, value);
    if (key == "option") return SetNumber(identity.optionValue, key, value);
    if (key == "serial") return SetNumber(identity.serial, key, value);
    if (key == "firmware") return SetNumber(identity.firmware, key, value);
    if (key == "firmware2") return SetNumber(identity.firmware2, key, value);
    if (key == "ip-word") return SetNumber(identity.ipWord, key, value);
    if (key == "mask-word") return SetNumber(identity.maskWord, key, value);
    if (key == "temperature") return SetNumber(identity.temperature, key, value);
    if (key == "frame-capacity") return SetNumber(identity.frameCapacity, key, value);
    if (key == "width") return SetNumber(identity.width, key, value);
    if (key == "height") return SetNumber(identity.height, key, value);
    if (key == "period") return SetNumber(identity.periodNs, key, value);
    if (key == "first-frame") return SetNumber(identity.firstFrame, key, value);
    if (key == "last-frame") return SetNumber(identity.lastFrame, key, value);
    if (key == "state") return SetNumber(identity.initialState, key, value);
    return "unknown key: " + key;
}

std::string ParseConfigText(const std::string& text, CameraIdentity& defaults,
                            std::vector<CameraIdentity>& cameras) {
    std::istringstream in(text);
    std::string line;
    int lineNumber = 0;
    CameraIdentity* current = &defaults;
    while (std::getline(in, line)) {
        ++lineNumber;
        line = Trim(line);
        if (line.empty() || line.front() == '#') {
            continue;
        }
        if (line == "[camera]") {
            cameras.push_back(defaults);
            current = &cameras.back();
            continue;
        }
        auto equals = line.find('=');
        std::string error =
            equals == std::string::npos
                ? "expected key=value"
                : ApplyIdentityKey(*current, Trim(line.substr(0, equals)), Trim(line.substr(equals + 1)));
        if (!error.empty()) {
            return "line " + std::to_string(lineNumber) + ": " + error;
        }
    }
    return {};
}

std::string LoadConfigFile(const std::string& path, CameraIdentity& defaults,
                           std::vector<CameraIdentity>& cameras) {
    std::ifstream file(path);
    if (!file) {
        return "cannot read " + path;
    }
    std::ostringstream text;
    text << file.rdbuf();
    std::string error = ParseConfigText(text.str(), defaults, cameras);
    return error.empty() ? error : path + ": " + error;
}

}  // namespace zpsim
