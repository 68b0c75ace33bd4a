// The settings record as a text file: one "name = value" line per field, in the units of the
// record, '#' starting a comment. Pure functions; the commands that read and write files and
// talk to cameras build on them.
#ifndef ZPCAM_SETTINGS_FILE_H
#define ZPCAM_SETTINGS_FILE_H

#include <cstdint>
#include <string>
#include <vector>

#include "zpport/CameraSettings.h"

namespace zpcam {

struct SettingsField {
    const char* name;
    unsigned int _CAMERA_SETTINGS::*member;
    const char* unit;   // comment written after the value
    std::uint32_t max;  // largest value accepted
    bool hex;           // written as 0x%08X (flag words)
    bool readOnly;      // reported by the camera: written as a comment, refused in a file
};

// The fields in record order.
const std::vector<SettingsField>& SettingsFields();

// The whole text of a settings file; heading lines (without '#') go first as comments.
std::string SettingsToText(const _CAMERA_SETTINGS& settings, const std::vector<std::string>& heading);

struct SettingsAssignment {
    const SettingsField* field;
    std::uint32_t value;
    int line;
};

// Parses the text of a file; on a bad line returns false with error = "<fileName>:<line>: <what>".
bool ParseSettingsText(const std::string& text, const std::string& fileName,
                       std::vector<SettingsAssignment>& assignments, std::string& error);

// Writes the assignments into the record; the fields they do not name keep their values.
void ApplySettings(const std::vector<SettingsAssignment>& assignments, _CAMERA_SETTINGS& settings);

struct SettingsChange {
    const SettingsField* field;
    std::uint32_t from;
    std::uint32_t to;
};

// The writable fields whose values differ, in record order.
std::vector<SettingsChange> DiffSettings(const _CAMERA_SETTINGS& from, const _CAMERA_SETTINGS& to);

// A field's value as the file writes it.
std::string FormatValue(const SettingsField& field, std::uint32_t value);

}  // namespace zpcam

#endif  // ZPCAM_SETTINGS_FILE_H
