// --hue and --saturation: a colour preview of RGB frames with the camera's hue/saturation matrix, so
// that the effect of those settings can be seen on real frames before they are uploaded.
#ifndef ZPCAM_HUE_OPTION_H
#define ZPCAM_HUE_OPTION_H

#include <CLI/CLI.hpp>
#include <cstddef>
#include <string>

namespace zpcam {

class HueOption {
public:
    // Adds --hue DEG and --saturation S to the command.
    void Add(CLI::App& command);
    // Either option was given.
    bool Given() const { return m_hueOption->count() > 0 || m_saturationOption->count() > 0; }
    // Throws a usage error when the option is given with a format other than png.
    void RequirePng(const std::string& format) const;
    // Builds the fixed-point matrix; call once after parsing.
    void Prepare();
    // Throws a usage error naming `label` when the option is given and the camera's frames are not
    // RGB (components other than 3), rather than saving them unchanged.
    void RequireRgb(const std::string& label, unsigned int components) const;
    // Applies the matrix to `pixels` packed RGB pixels in place.
    void Apply(unsigned char* rgb, std::size_t pixels) const;

private:
    float m_hue = 0.0f;
    float m_saturation = 1.0f;
    int m_matrix[4][4] = {};
    CLI::Option* m_hueOption = nullptr;
    CLI::Option* m_saturationOption = nullptr;
};

}  // namespace zpcam

#endif  // ZPCAM_HUE_OPTION_H
