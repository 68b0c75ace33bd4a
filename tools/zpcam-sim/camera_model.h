// One emulated camera: identity, state and counters. No I/O.
#ifndef ZPCAM_SIM_CAMERA_MODEL_H
#define ZPCAM_SIM_CAMERA_MODEL_H

#include <cstdint>
#include <string>

#include "image_state.h"
#include "settings_state.h"

namespace zpsim {

// Camera states as reported by the state query (command 0x40) and by announcements.
enum class CameraState : std::uint8_t {
    kIdle = 1,       // ready, nothing recording
    kArmed = 2,      // recording the pre-trigger part, waiting for a trigger
    kRecording = 3,  // triggered, recording the post-trigger part
    kStored = 4,     // recording finished, memory holds frames
    kPlayback = 5,   // replaying recorded frames
    kReview = 6,     // frames being reviewed / downloaded
};

struct CameraIdentity {
    std::string ip = "127.0.0.1";          // dotted IPv4 address the camera listens on
    std::uint8_t address = 0x01;           // bus address byte
    std::uint8_t modelCode = 7;            // reply to 0x97, position 7
    std::uint8_t optionValue = 0;          // reply to 0x48 (camera type / option)
    std::uint32_t serial = 0x00012345;     // reply to 0x91
    std::uint32_t firmware = 0x00000102;   // reply to 0x97, position 9
    std::uint32_t firmware2 = 0x00000000;  // reply to 0x97, position 17
    std::string name = "TWSIM";
    std::uint32_t ipWord = 0x7F000001;    // reply to 0x4D
    std::uint32_t maskWord = 0xFF000000;  // reply to 0x4E
    std::int8_t temperature = 35;         // reply to 0x50, degrees, two's complement
    std::uint32_t frameCapacity = 8192;   // reply to 0x0E, position 15
    std::uint16_t width = 1280;           // reply to 0x90, position 7
    std::uint16_t height = 1024;          // reply to 0x90, position 11
    std::uint32_t periodNs = 1000000;     // reply to 0x05, position 9 (minimum frame period, ns)
    std::uint32_t firstFrame = 0;         // reply to 0x45, position 7
    std::uint32_t lastFrame = 0;          // reply to 0x45, position 15
    std::uint8_t initialState = static_cast<std::uint8_t>(CameraState::kIdle);
};

// The clock and date as last set by the host (commands 0x08, 0x09).
struct CameraClock {
    int hour = 0, minute = 0, second = 0;
    int month = 1, day = 1, year = 0;  // year counted from 2000
};

class CameraModel {
public:
    explicit CameraModel(CameraIdentity identity);

    const CameraIdentity& Identity() const { return m_identity; }
    CameraIdentity& MutableIdentity() { return m_identity; }
    std::uint8_t Address() const { return m_identity.address; }

    // Raw state byte; any value may be forced (e.g. 0x11 or states outside the enum).
    std::uint8_t State() const { return m_state; }
    void ForceState(std::uint8_t state) { m_state = state; }
    bool IsIn(CameraState state) const { return m_state == static_cast<std::uint8_t>(state); }

    // State transitions driven by commands. Each returns true when the command was accepted.
    void Attach() { m_attached = true; }
    bool Attached() const { return m_attached; }
    void Reset();          // 0x5F FF: back to idle, recording stopped
    bool Arm();            // idle or stored -> armed
    bool Trigger();        // armed -> recording
    void StopRecording();  // armed or recording -> stored (idle when nothing recorded)
    void EndPlayback();    // playback or review -> stored
    bool StartPlayback();  // stored -> playback
    // Erase the memory; false when it was already empty.
    bool EraseMemory();
    void AddFrames(std::uint32_t count);  // frames recorded while armed/recording
    // A running recording completes: memory holds the session length set by 0x0E (else what it held).
    void FinishRecording();
    bool HasFrames() const { return m_identity.lastFrame != m_identity.firstFrame; }

    void SetClock(int hour, int minute, int second);
    void SetDate(int month, int day, int year);
    const CameraClock& Clock() const { return m_clock; }

    SettingsState settings;  // values of the settings commands
    ImageSideState image;    // download format and size, live counter, segment-train faults

private:
    CameraIdentity m_identity;
    std::uint8_t m_state;
    bool m_attached = false;
    CameraClock m_clock;
};

}  // namespace zpsim

#endif  // ZPCAM_SIM_CAMERA_MODEL_H
