// Acquisition, playback, timing, calibration, clock, temperature and debug commands over the
// binary command frame.
#include <zpport/CamPort.h>

#include "port/frame.h"
#include "port/unframed.h"

using zp::frame::UnframedExchange;

unsigned int CCamPort::ReadToVideo(unsigned int, unsigned int, unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::StartGrab(unsigned int, unsigned int, unsigned int, unsigned int, unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::StopGrab(unsigned int*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::GetTriggerPos(unsigned int*, unsigned int*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::WriteClockSpeed(unsigned int, unsigned int, unsigned int*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::Debug(unsigned int, unsigned int, void*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::WriteCurrCalib(unsigned int, unsigned int, unsigned int, unsigned int, void*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::PlayBackVideo(unsigned int, unsigned int, unsigned int, unsigned int, unsigned int,
                                     unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::PlayBackVideoStatus(unsigned int*, unsigned char*, unsigned char*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::SetPllPhase(unsigned int, unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::SendTiming(void*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::GetTime(unsigned int*, int*, unsigned int*, int*, unsigned int*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::ReadTemperature(unsigned int*, unsigned int*) {
    return UnframedExchange(*this);
}
