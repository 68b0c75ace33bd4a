// What the image side of one camera remembers between requests, and the text commands that change it
// (control channel verb "image ..." and the --image option).
#ifndef ZPCAM_SIM_IMAGE_STATE_H
#define ZPCAM_SIM_IMAGE_STATE_H

#include <cstdint>
#include <string>

#include "segment_train.h"

namespace zpsim {

struct ImageSideState {
    bool jpeg = false;        // download format: false = uncompressed (0x87 00), true = JPEG (0x87 04)
    std::uint16_t width = 0;  // download frame size (0x9C); 0 = the sensor active area
    std::uint16_t height = 0;
    std::uint32_t liveFrames = 0;         // live frames served; the next live frame shows this number
    bool colour = false;                  // colour sensor: JPEG frames have 3 components, raw is a mosaic
    std::uint16_t jpegQuality = 90;       // border 301: 1..100 (0 means 75)
    std::uint16_t chromaSubsampling = 0;  // border 299: 0 = 4:2:0, 1 = 4:2:2, 2 = 4:4:4
    bool toneApplied = true;              // border byte 297: non-zero tells the host not to convert again
    TrainFaults faults;                   // applied to the next trains
    unsigned faultTrains = 0;             // 0: the faults apply to every train; else to this many more
    std::uint32_t trainsSent = 0;         // seeds the random faults, so each train differs
    std::string cachedKey;                // the last frame built, kept for repeated requests
    std::string cachedPayload;

    // The faults for the next train (none once an "image fail N" budget is spent); counts the train.
    TrainFaults NextTrainFaults();
};

// Applies one command (the text after "image"):
//   drop <seq> | loss <share 0..1> | reorder <seq> | shuffle <share 0..1> | duplicate <seq> |
//   truncate <k> | oversize | overlong | info-first | fail <n> (the faults set so far and later apply
//   to the next n trains only) | clear (no faults, every train) |
//   colour on|off | quality <0..100> | subsampling <0..2> |
//   tone on|off (on: frames leave the camera with its tone table applied, border byte 297 = 1;
//   off: byte 297 = 0, so hosts of camera type 14 convert raw frames through the table)
// Returns an empty string on success, else the reason it was refused.
std::string ApplyImageCommand(ImageSideState& state, const std::string& command);

}  // namespace zpsim

#endif  // ZPCAM_SIM_IMAGE_STATE_H
