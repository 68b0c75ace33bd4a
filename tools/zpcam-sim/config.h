// Camera identities from "key=value" text: the config file and the identity options share these keys.
#ifndef ZPCAM_SIM_CONFIG_H
#define ZPCAM_SIM_CONFIG_H

#include <string>
#include <vector>

#include "camera_model.h"

namespace zpsim {

// Identity keys: ip, address, model, option, serial, firmware, firmware2, name, ip-word, mask-word,
// temperature, frame-capacity, width, height, period, first-frame, last-frame, state.
// Numbers are decimal or 0x-prefixed hexadecimal. Returns an empty string on success, else the reason.
std::string ApplyIdentityKey(CameraIdentity& identity, const std::string& key, const std::string& value);

// Config text: "key=value" lines, "#" comments, blank lines. Keys before the first "[camera]" line
// change the defaults; each "[camera]" starts a camera that begins as a copy of the defaults.
std::string ParseConfigText(const std::string& text, CameraIdentity& defaults,
                            std::vector<CameraIdentity>& cameras);

std::string LoadConfigFile(const std::string& path, CameraIdentity& defaults,
                           std::vector<CameraIdentity>& cameras);

}  // namespace zpsim

#endif  // ZPCAM_SIM_CONFIG_H
