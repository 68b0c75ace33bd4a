// CCamPort operations carried by binary command frames over SendCmdAndGetRsp. The base
// transport returns 0, so on a port that does not supply one every operation here fails.
#include <zpport/CamPort.h>

namespace {

constexpr int kDefaultTimeoutUs = 3000000;

// \todo Each operation still has to build its own command frame and read its result words.
// Until then the exchange goes out with an empty header and the operation reports failure
// whatever the transport answers, leaving every output untouched.
unsigned int UnframedExchange(CCamPort& port) {
    _CMD_HDR command{};
    _RSP_HDR response{};
    command.length = sizeof(command);
    port.SendCmdAndGetRsp(&command, &response, sizeof(response), kDefaultTimeoutUs, 0, 0);
    return 0;
}

}  // namespace

unsigned int CCamPort::GetPortParameter(ZP_PARAM, unsigned int*) { return UnframedExchange(*this); }
unsigned int CCamPort::GetPortBrocParameter(ZP_PARAM, unsigned int*) { return UnframedExchange(*this); }
unsigned int CCamPort::WriteData2(void*, unsigned int) { return UnframedExchange(*this); }

unsigned int CCamPort::ReadCameraInfo(unsigned int, unsigned int*, unsigned int*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::WriteCameraInfo(unsigned int, unsigned int, unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::ReadCameraName(char*) { return UnframedExchange(*this); }
unsigned int CCamPort::Attach() { return UnframedExchange(*this); }
unsigned int CCamPort::Detach() { return UnframedExchange(*this); }
unsigned int CCamPort::GetParameter(int, int&) { return UnframedExchange(*this); }
unsigned int CCamPort::GetBrocParameter(int, unsigned int*) { return UnframedExchange(*this); }
unsigned int CCamPort::SetParameter(int, int) { return UnframedExchange(*this); }

unsigned int CCamPort::ReadToVideo(unsigned int, unsigned int, unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::StartGrab(unsigned int, unsigned int, unsigned int, unsigned int, unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::StopGrab(unsigned int*) { return UnframedExchange(*this); }
unsigned int CCamPort::GetTriggerPos(unsigned int*, unsigned int*) { return UnframedExchange(*this); }
unsigned int CCamPort::GetCameraStatus(unsigned int&) { return UnframedExchange(*this); }
unsigned int CCamPort::Trigger() { return UnframedExchange(*this); }
unsigned int CCamPort::Reset() { return UnframedExchange(*this); }
unsigned int CCamPort::WriteLongRegister(unsigned int, unsigned int) { return UnframedExchange(*this); }

// A failed read yields 0 in the caller's word.
unsigned int CCamPort::ReadLongRegister(unsigned int, unsigned int* value) {
    const unsigned int result = UnframedExchange(*this);
    if (result == 0 && value != nullptr) *value = 0;
    return result;
}

unsigned int CCamPort::FlashOperation(unsigned int, void*) { return UnframedExchange(*this); }

unsigned int CCamPort::WriteClockSpeed(unsigned int, unsigned int, unsigned int*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::Debug(unsigned int, unsigned int, void*) { return UnframedExchange(*this); }

unsigned int CCamPort::WriteCurrCalib(unsigned int, unsigned int, unsigned int, unsigned int, void*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::ReadMemory(ZP_MEM_TYPE, unsigned int, unsigned int, void*, unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::WriteMemory(ZP_MEM_TYPE, unsigned int, unsigned int, void*, unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::PlayBackVideo(unsigned int, unsigned int, unsigned int, unsigned int, unsigned int,
                                     unsigned int) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::PlayBackVideoStatus(unsigned int*, unsigned char*, unsigned char*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::SetPllPhase(unsigned int, unsigned int) { return UnframedExchange(*this); }
unsigned int CCamPort::ConfigureSteps(_PROGSTEPS_DATA*) { return UnframedExchange(*this); }
unsigned int CCamPort::ReadRecordedSegments(unsigned char*, unsigned int*) { return UnframedExchange(*this); }
unsigned int CCamPort::SendParameter(unsigned int, unsigned int) { return UnframedExchange(*this); }
unsigned int CCamPort::SendTiming(void*) { return UnframedExchange(*this); }

unsigned int CCamPort::GetTime(unsigned int*, int*, unsigned int*, int*, unsigned int*) {
    return UnframedExchange(*this);
}

unsigned int CCamPort::ReadTemperature(unsigned int*, unsigned int*) { return UnframedExchange(*this); }
unsigned int CCamPort::ReadFwInfoStruct() { return UnframedExchange(*this); }
