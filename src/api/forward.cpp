// Exported calls that forward to one virtual operation of the port with their remaining arguments
// unchanged and turn its result into 0 (success) or 1 (failure); a null handle gives 2.
#include "api/port_handle.h"

using zp::api::Forward;

extern "C" {

unsigned int PoReset(ZP_PORT_HANDLE handle) {
    return Forward(handle, [](CCamPort& p) { return p.Reset(); });
}

unsigned int PoEraseMemory(ZP_PORT_HANDLE handle) {
    return Forward(handle, [](CCamPort& p) { return p.EraseMemory(); });
}

unsigned int PoStopReading(ZP_PORT_HANDLE handle, int a, int b) {
    return Forward(handle, [&](CCamPort& p) { return p.StopReading(a, b); });
}

unsigned int PoReadData(ZP_PORT_HANDLE handle, void* buffer, unsigned int size) {
    return Forward(handle, [&](CCamPort& p) { return p.ReadData(buffer, size); });
}

unsigned int PoReadADCMemory(ZP_PORT_HANDLE handle, void* buffer, unsigned int size) {
    return Forward(handle, [&](CCamPort& p) { return p.ReadADCMemory(buffer, size); });
}

unsigned int PoWriteADCMemory(ZP_PORT_HANDLE handle, void* buffer, unsigned int size) {
    return Forward(handle, [&](CCamPort& p) { return p.WriteADCMemory(buffer, size); });
}

unsigned int PoGetBufferTrashSize(ZP_PORT_HANDLE handle, unsigned short* size) {
    return Forward(handle, [&](CCamPort& p) { return p.GetBufferTrashSize(size); });
}

unsigned int PoTrigger(ZP_PORT_HANDLE handle) {
    return Forward(handle, [](CCamPort& p) { return p.Trigger(); });
}

unsigned int PoSetFrameSize(ZP_PORT_HANDLE handle, unsigned int width, unsigned int height) {
    return Forward(handle, [&](CCamPort& p) { return p.SetFrameSize(width, height); });
}

unsigned int PoWriteCameraName(ZP_PORT_HANDLE handle, char const* name) {
    return Forward(handle, [&](CCamPort& p) { return p.WriteCameraName(name); });
}

unsigned int PoSetAnnouncementCallback(ZP_PORT_HANDLE handle, ZP_ANNOUNCEMENT_CALLBACK callback,
                                       void* context) {
    return Forward(handle, [&](CCamPort& p) { return p.SetAnnouncementCallback(callback, context); });
}

unsigned int PoGetPortParameter(ZP_PORT_HANDLE handle, ZP_PARAM parameter, unsigned int* value) {
    return Forward(handle, [&](CCamPort& p) { return p.GetPortParameter(parameter, value); });
}

unsigned int PoGetPortBrocParameter(ZP_PORT_HANDLE handle, ZP_PARAM parameter, unsigned int* value) {
    return Forward(handle, [&](CCamPort& p) { return p.GetPortBrocParameter(parameter, value); });
}

unsigned int PoReadInfo(ZP_PORT_HANDLE handle, unsigned int item, unsigned int* value1,
                        unsigned int* value2) {
    return Forward(handle, [&](CCamPort& p) { return p.ReadCameraInfo(item, value1, value2); });
}

unsigned int PoReadToVideo(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b, unsigned int c) {
    return Forward(handle, [&](CCamPort& p) { return p.ReadToVideo(a, b, c); });
}

unsigned int PoStartGrab(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b, unsigned int c,
                         unsigned int d, unsigned int e) {
    return Forward(handle, [&](CCamPort& p) { return p.StartGrab(a, b, c, d, e); });
}

unsigned int PoStopGrab(ZP_PORT_HANDLE handle, unsigned int* value) {
    return Forward(handle, [&](CCamPort& p) { return p.StopGrab(value); });
}

unsigned int PoGetTriggerPos(ZP_PORT_HANDLE handle, unsigned int* first, unsigned int* second) {
    return Forward(handle, [&](CCamPort& p) { return p.GetTriggerPos(first, second); });
}

unsigned int PoOpenGrab(ZP_PORT_HANDLE handle, unsigned int a, int b, int c) {
    return Forward(handle, [&](CCamPort& p) { return p.OpenGrab(a, b, c); });
}

unsigned int PoCloseGrab(ZP_PORT_HANDLE handle, int a) {
    return Forward(handle, [&](CCamPort& p) { return p.CloseGrab(a); });
}

unsigned int PoWriteDACs(ZP_PORT_HANDLE handle, unsigned int* values, unsigned int count) {
    return Forward(handle, [&](CCamPort& p) { return p.WriteDACs(values, count); });
}

unsigned int PoReadWriteEEPROM(ZP_PORT_HANDLE handle, unsigned int write, void* buffer, unsigned int size) {
    return Forward(handle, [&](CCamPort& p) { return p.ReadWriteEEPROM(write, buffer, size); });
}

unsigned int PoReadWriteSensorRegs(ZP_PORT_HANDLE handle, unsigned int write, void* buffer,
                                   unsigned int size) {
    return Forward(handle, [&](CCamPort& p) { return p.ReadWriteSensorRegs(write, buffer, size); });
}

unsigned int PoReadWriteCameraComment(ZP_PORT_HANDLE handle, unsigned int write, void* comment) {
    return Forward(handle, [&](CCamPort& p) { return p.ReadWriteCameraComment(write, comment); });
}

unsigned int PoFlashOperation(ZP_PORT_HANDLE handle, unsigned int operation, void* data) {
    return Forward(handle, [&](CCamPort& p) { return p.FlashOperation(operation, data); });
}

unsigned int PoFlushSensor(ZP_PORT_HANDLE handle) {
    return Forward(handle, [](CCamPort& p) { return p.FlushSensor(); });
}

unsigned int PoSetConnectionFlag(ZP_PORT_HANDLE handle, unsigned int flag) {
    return Forward(handle, [&](CCamPort& p) { return p.SetConnectionFlag(flag); });
}

unsigned int PoAttach(ZP_PORT_HANDLE handle) {
    return Forward(handle, [](CCamPort& p) { return p.Attach(); });
}

unsigned int PoGetAddressList(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b, unsigned int* list) {
    return Forward(handle, [&](CCamPort& p) { return p.GetAddressList(a, b, list); });
}

unsigned int PoGetTotRecFrames(ZP_PORT_HANDLE handle, unsigned int* frames) {
    return Forward(handle, [&](CCamPort& p) { return p.GetTotRecFrames(frames); });
}

unsigned int PoConfigureWriteToDisk(ZP_PORT_HANDLE handle, unsigned int mode, char const* path,
                                    char const* name, unsigned int flags) {
    return Forward(handle, [&](CCamPort& p) { return p.ConfigureWriteToDisk(mode, path, name, flags); });
}

// The exported register calls reach the 32-bit register operations, not the 8-bit ones.
unsigned int PoReadRegister(ZP_PORT_HANDLE handle, unsigned int reg, unsigned int* value) {
    return Forward(handle, [&](CCamPort& p) { return p.ReadLongRegister(reg, value); });
}

unsigned int PoWriteRegister(ZP_PORT_HANDLE handle, unsigned int reg, unsigned int value) {
    return Forward(handle, [&](CCamPort& p) { return p.WriteLongRegister(reg, value); });
}

unsigned int PoReadBkgAndPSCBuffers(ZP_PORT_HANDLE handle, void* a, void* b, void* c, unsigned int size1,
                                    void* d, void* e, void* f, unsigned int size2) {
    return Forward(handle,
                   [&](CCamPort& p) { return p.ReadBkgAndPSCBuffers(a, b, c, size1, d, e, f, size2); });
}

unsigned int PoWriteClockSpeed(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b, unsigned int* c) {
    return Forward(handle, [&](CCamPort& p) { return p.WriteClockSpeed(a, b, c); });
}

unsigned int PoReadWriteLookupTable(ZP_PORT_HANDLE handle, unsigned int write, void* buffer,
                                    unsigned int count) {
    return Forward(handle, [&](CCamPort& p) { return p.ReadWriteLookupTable(write, buffer, count); });
}

unsigned int PoDebug(ZP_PORT_HANDLE handle, unsigned int code, unsigned int value, void* data) {
    return Forward(handle, [&](CCamPort& p) { return p.Debug(code, value, data); });
}

unsigned int PoReadFwInfo(ZP_PORT_HANDLE handle, void* buffer, unsigned int size) {
    return Forward(handle, [&](CCamPort& p) { return p.ReadFwInfo(buffer, size); });
}

unsigned int PoWriteCurrCalib(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b, unsigned int c,
                              unsigned int d, void* data) {
    return Forward(handle, [&](CCamPort& p) { return p.WriteCurrCalib(a, b, c, d, data); });
}

unsigned int PoReadMemory(ZP_PORT_HANDLE handle, ZP_MEM_TYPE type, unsigned int addressLow,
                          unsigned int addressHigh, void* buffer, unsigned int length) {
    return Forward(handle,
                   [&](CCamPort& p) { return p.ReadMemory(type, addressLow, addressHigh, buffer, length); });
}

unsigned int PoWriteMemory(ZP_PORT_HANDLE handle, ZP_MEM_TYPE type, unsigned int addressLow,
                           unsigned int addressHigh, void* buffer, unsigned int length) {
    return Forward(handle,
                   [&](CCamPort& p) { return p.WriteMemory(type, addressLow, addressHigh, buffer, length); });
}

unsigned int PoSetRegisterConstraints(ZP_PORT_HANDLE handle, _ZP_REGISTER_CONSTRAINT* list,
                                      unsigned int count) {
    return Forward(handle, [&](CCamPort& p) { return p.SetRegisterConstraints(list, count); });
}

unsigned int PoGetRegisterConstraints(ZP_PORT_HANDLE handle, _ZP_REGISTER_CONSTRAINT* list,
                                      unsigned int* count) {
    return Forward(handle, [&](CCamPort& p) { return p.GetRegisterConstraints(list, count); });
}

unsigned int PoPlayBackVideo(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b, unsigned int c,
                             unsigned int d, unsigned int e, unsigned int f) {
    return Forward(handle, [&](CCamPort& p) { return p.PlayBackVideo(a, b, c, d, e, f); });
}

unsigned int PoPlayBackVideoStatus(ZP_PORT_HANDLE handle, unsigned int* a, unsigned char* b,
                                   unsigned char* c) {
    return Forward(handle, [&](CCamPort& p) { return p.PlayBackVideoStatus(a, b, c); });
}

unsigned int PoSetPllPhase(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b) {
    return Forward(handle, [&](CCamPort& p) { return p.SetPllPhase(a, b); });
}

unsigned int PoConfigureSteps(ZP_PORT_HANDLE handle, _PROGSTEPS_DATA* program) {
    return Forward(handle, [&](CCamPort& p) { return p.ConfigureSteps(program); });
}

unsigned int PoReadRecordedSegments(ZP_PORT_HANDLE handle, unsigned char* buffer, unsigned int* count) {
    return Forward(handle, [&](CCamPort& p) { return p.ReadRecordedSegments(buffer, count); });
}

unsigned int PoSetPortParameter(ZP_PORT_HANDLE handle, unsigned int parameter, unsigned int value) {
    return Forward(handle, [&](CCamPort& p) { return p.SendParameter(parameter, value); });
}

unsigned int PoSendTiming(ZP_PORT_HANDLE handle, void* timing) {
    return Forward(handle, [&](CCamPort& p) { return p.SendTiming(timing); });
}

unsigned int PoGetTime(ZP_PORT_HANDLE handle, unsigned int* a, int* b, unsigned int* c, int* d,
                       unsigned int* e) {
    return Forward(handle, [&](CCamPort& p) { return p.GetTime(a, b, c, d, e); });
}

}  // extern "C"
