// Colour preview options shared by download and live.
#include "hue_option.h"

#include "exit_codes.h"
#include "zpport/ColorBuffer.h"
#include "zpport/ColorMatrix.h"

namespace zpcam {

void HueOption::Add(CLI::App& command) {
    m_hueOption = command
                      .add_option("--hue", m_hue,
                                  "colour frames: rotate the hue by DEG degrees (0: unchanged; the camera's "
                                  "hue setting H is H - 180)")
                      ->type_name("DEG")
                      ->check(CLI::Range(-3600.0f, 3600.0f));
    m_saturationOption =
        command
            .add_option("--saturation", m_saturation,
                        "colour frames: scale the saturation by S (1: unchanged, 0: grey; the "
                        "camera's saturation setting N is N / 10)")
            ->type_name("S")
            ->check(CLI::Range(0.0f, 100.0f));
}

void HueOption::RequirePng(const std::string& format) const {
    if (Given() && format != "png")
        throw ToolError(kExitUsage, "--hue and --saturation apply to decoded frames: use --format png");
}

void HueOption::Prepare() {
    InitHueMatrix(m_matrix, m_hue, m_saturation);
}

void HueOption::RequireRgb(const std::string& label, unsigned int components) const {
    if (Given() && components != 3)
        throw ToolError(kExitUsage,
                        label + ": --hue and --saturation need RGB frames, and this camera's are grey");
}

void HueOption::Apply(unsigned char* rgb, std::size_t pixels) const {
    zpcolor::ApplyHueMatrix(m_matrix, rgb, pixels);
}

}  // namespace zpcam
