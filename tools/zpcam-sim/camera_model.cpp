#include "camera_model.h"

#include <utility>

namespace zpsim {

CameraModel::CameraModel(CameraIdentity identity)
    : m_identity(std::move(identity)), m_state(m_identity.initialState) {}

void CameraModel::Reset() {
    m_state = static_cast<std::uint8_t>(CameraState::kIdle);
    m_attached = false;
}

bool CameraModel::Arm() {
    if (!IsIn(CameraState::kIdle) && !IsIn(CameraState::kStored)) {
        return false;
    }
    m_state = static_cast<std::uint8_t>(CameraState::kArmed);
    return true;
}

bool CameraModel::Trigger() {
    if (!IsIn(CameraState::kArmed)) {
        return false;
    }
    m_state = static_cast<std::uint8_t>(CameraState::kRecording);
    return true;
}

void CameraModel::StopRecording() {
    if (!IsIn(CameraState::kArmed) && !IsIn(CameraState::kRecording)) {
        return;
    }
    m_state = static_cast<std::uint8_t>(HasFrames() ? CameraState::kStored : CameraState::kIdle);
}

void CameraModel::FinishRecording() {
    if (!IsIn(CameraState::kRecording)) return;
    if (settings.sessionLength.value_or(0) != 0)
        m_identity.lastFrame = m_identity.firstFrame + *settings.sessionLength - 1;
    m_state = static_cast<std::uint8_t>(CameraState::kStored);
}

void CameraModel::EndPlayback() {
    if (IsIn(CameraState::kPlayback) || IsIn(CameraState::kReview)) {
        m_state = static_cast<std::uint8_t>(CameraState::kStored);
    }
}

bool CameraModel::StartPlayback() {
    if (!IsIn(CameraState::kStored)) {
        return false;
    }
    m_state = static_cast<std::uint8_t>(CameraState::kPlayback);
    return true;
}

bool CameraModel::EraseMemory() {
    bool hadFrames = HasFrames();
    m_identity.firstFrame = 0;
    m_identity.lastFrame = 0;
    if (IsIn(CameraState::kStored)) {
        m_state = static_cast<std::uint8_t>(CameraState::kIdle);
    }
    return hadFrames;
}

void CameraModel::AddFrames(std::uint32_t count) {
    if (IsIn(CameraState::kArmed) || IsIn(CameraState::kRecording)) {
        m_identity.lastFrame += count;
    }
}

void CameraModel::SetClock(int hour, int minute, int second) {
    m_clock.hour = hour;
    m_clock.minute = minute;
    m_clock.second = second;
}

void CameraModel::SetDate(int month, int day, int year) {
    m_clock.month = month;
    m_clock.day = day;
    m_clock.year = year;
}

}  // namespace zpsim
