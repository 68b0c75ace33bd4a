// A port that records which operation a call reached, with its arguments, and returns a result
// chosen by the test. Its address serves as a port handle.
#ifndef ZPPORT_TESTS_API_RECORDING_PORT_H
#define ZPPORT_TESTS_API_RECORDING_PORT_H

#include <zpport/CamPort.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

class RecordingPort : public CCamPort {
public:
    std::string op;              // name of the last operation reached
    std::vector<uint64_t> args;  // its arguments, pointers as addresses
    int calls = 0;
    unsigned int result = 1;        // what every recorded operation returns
    unsigned char shortStatus = 0;  // written by GetStatus1

    using CCamPort::m_hLock;
    using CCamPort::m_nErrorCode;
    using CCamPort::m_Trace;

    template <typename T>
    static uint64_t Word(T value) {
        if constexpr (std::is_pointer_v<T>) {
            return reinterpret_cast<uintptr_t>(value);
        } else if constexpr (std::is_enum_v<T>) {
            return static_cast<uint64_t>(value);
        } else {
            return static_cast<uint64_t>(static_cast<int64_t>(value));
        }
    }

    unsigned int ReadFlashMemoryBlocks(unsigned int a, unsigned int b, void* c) override {
        return Record("ReadFlashMemoryBlocks", a, b, c);
    }
    unsigned int Reset() override { return Record("Reset"); }
    unsigned int EraseMemory() override { return Record("EraseMemory"); }
    unsigned int StopReading(int a, int b) override { return Record("StopReading", a, b); }
    unsigned int ReadData(void* a, unsigned int b) override { return Record("ReadData", a, b); }
    unsigned int ReadADCMemory(void* a, unsigned int b) override { return Record("ReadADCMemory", a, b); }
    unsigned int WriteADCMemory(void* a, unsigned int b) override { return Record("WriteADCMemory", a, b); }
    unsigned int GetBufferTrashSize(unsigned short* a) override { return Record("GetBufferTrashSize", a); }
    unsigned int Trigger() override { return Record("Trigger"); }
    unsigned int SetFrameSize(unsigned int a, unsigned int b) override {
        return Record("SetFrameSize", a, b);
    }
    unsigned int WriteCameraName(char const* a) override { return Record("WriteCameraName", a); }
    unsigned int SetAnnouncementCallback(ZP_ANNOUNCEMENT_CALLBACK a, void* b) override {
        return Record("SetAnnouncementCallback", a, b);
    }
    unsigned int GetPortParameter(ZP_PARAM a, unsigned int* b) override {
        return Record("GetPortParameter", a, b);
    }
    unsigned int GetPortBrocParameter(ZP_PARAM a, unsigned int* b) override {
        return Record("GetPortBrocParameter", a, b);
    }
    unsigned int ReadCameraInfo(unsigned int a, unsigned int* b, unsigned int* c) override {
        return Record("ReadCameraInfo", a, b, c);
    }
    unsigned int ReadToVideo(unsigned int a, unsigned int b, unsigned int c) override {
        return Record("ReadToVideo", a, b, c);
    }
    unsigned int StartGrab(unsigned int a, unsigned int b, unsigned int c, unsigned int d,
                           unsigned int e) override {
        return Record("StartGrab", a, b, c, d, e);
    }
    unsigned int StopGrab(unsigned int* a) override { return Record("StopGrab", a); }
    unsigned int GetTriggerPos(unsigned int* a, unsigned int* b) override {
        return Record("GetTriggerPos", a, b);
    }
    unsigned int OpenGrab(unsigned int a, int b, int c) override { return Record("OpenGrab", a, b, c); }
    unsigned int CloseGrab(int a) override { return Record("CloseGrab", a); }
    unsigned int WriteDACs(unsigned int* a, unsigned int b) override { return Record("WriteDACs", a, b); }
    unsigned int ReadWriteEEPROM(unsigned int a, void* b, unsigned int c) override {
        return Record("ReadWriteEEPROM", a, b, c);
    }
    unsigned int ReadWriteSensorRegs(unsigned int a, void* b, unsigned int c) override {
        return Record("ReadWriteSensorRegs", a, b, c);
    }
    unsigned int ReadWriteCameraComment(unsigned int a, void* b) override {
        return Record("ReadWriteCameraComment", a, b);
    }
    unsigned int FlashOperation(unsigned int a, void* b) override { return Record("FlashOperation", a, b); }
    unsigned int FlushSensor() override { return Record("FlushSensor"); }
    unsigned int SetConnectionFlag(unsigned int a) override { return Record("SetConnectionFlag", a); }
    unsigned int Attach() override { return Record("Attach"); }
    unsigned int GetAddressList(unsigned int a, unsigned int b, unsigned int* c) override {
        return Record("GetAddressList", a, b, c);
    }
    unsigned int GetTotRecFrames(unsigned int* a) override { return Record("GetTotRecFrames", a); }
    unsigned int ConfigureWriteToDisk(unsigned int a, char const* b, char const* c, unsigned int d) override {
        return Record("ConfigureWriteToDisk", a, b, c, d);
    }
    unsigned int ReadRegister(unsigned char a, unsigned char* b) override {
        return Record("ReadRegister", a, b);
    }
    unsigned int WriteRegister(unsigned char a, unsigned char b) override {
        return Record("WriteRegister", a, b);
    }
    unsigned int WriteLongRegister(unsigned int a, unsigned int b) override {
        return Record("WriteLongRegister", a, b);
    }
    unsigned int ReadLongRegister(unsigned int a, unsigned int* b) override {
        return Record("ReadLongRegister", a, b);
    }
    unsigned int ReadBkgAndPSCBuffers(void* a, void* b, void* c, unsigned int d, void* e, void* f, void* g,
                                      unsigned int h) override {
        return Record("ReadBkgAndPSCBuffers", a, b, c, d, e, f, g, h);
    }
    unsigned int WriteClockSpeed(unsigned int a, unsigned int b, unsigned int* c) override {
        return Record("WriteClockSpeed", a, b, c);
    }
    unsigned int ReadWriteLookupTable(unsigned int a, void* b, unsigned int c) override {
        return Record("ReadWriteLookupTable", a, b, c);
    }
    unsigned int Debug(unsigned int a, unsigned int b, void* c) override { return Record("Debug", a, b, c); }
    unsigned int ReadFwInfo(void* a, unsigned int b) override { return Record("ReadFwInfo", a, b); }
    unsigned int WriteCurrCalib(unsigned int a, unsigned int b, unsigned int c, unsigned int d,
                                void* e) override {
        return Record("WriteCurrCalib", a, b, c, d, e);
    }
    unsigned int ReadMemory(ZP_MEM_TYPE a, unsigned int b, unsigned int c, void* d, unsigned int e) override {
        return Record("ReadMemory", a, b, c, d, e);
    }
    unsigned int WriteMemory(ZP_MEM_TYPE a, unsigned int b, unsigned int c, void* d,
                             unsigned int e) override {
        return Record("WriteMemory", a, b, c, d, e);
    }
    unsigned int SetRegisterConstraints(_ZP_REGISTER_CONSTRAINT* a, unsigned int b) override {
        return Record("SetRegisterConstraints", a, b);
    }
    unsigned int GetRegisterConstraints(_ZP_REGISTER_CONSTRAINT* a, unsigned int* b) override {
        return Record("GetRegisterConstraints", a, b);
    }
    unsigned int PlayBackVideo(unsigned int a, unsigned int b, unsigned int c, unsigned int d, unsigned int e,
                               unsigned int f) override {
        return Record("PlayBackVideo", a, b, c, d, e, f);
    }
    unsigned int PlayBackVideoStatus(unsigned int* a, unsigned char* b, unsigned char* c) override {
        return Record("PlayBackVideoStatus", a, b, c);
    }
    unsigned int SetPllPhase(unsigned int a, unsigned int b) override { return Record("SetPllPhase", a, b); }
    unsigned int ConfigureSteps(_PROGSTEPS_DATA* a) override { return Record("ConfigureSteps", a); }
    unsigned int ReadRecordedSegments(unsigned char* a, unsigned int* b) override {
        return Record("ReadRecordedSegments", a, b);
    }
    unsigned int SendParameter(unsigned int a, unsigned int b) override {
        return Record("SendParameter", a, b);
    }
    unsigned int SendTiming(void* a) override { return Record("SendTiming", a); }
    unsigned int GetTime(unsigned int* a, int* b, unsigned int* c, int* d, unsigned int* e) override {
        return Record("GetTime", a, b, c, d, e);
    }
    unsigned int WriteData1(void* a, unsigned int b) override { return Record("WriteData1", a, b); }
    unsigned int WriteData2(void* a, unsigned int b) override { return Record("WriteData2", a, b); }
    unsigned int PrepareForRead(int a) override { return Record("PrepareForRead(int)", a); }
    unsigned int PrepareForRead() override { return Record("PrepareForRead()"); }
    unsigned int WriteQR52Register(unsigned short a) override { return Record("WriteQR52Register", a); }
    unsigned int GetStatus1(unsigned char* a) override {
        *a = shortStatus;
        return Record("GetStatus1", a);
    }
    unsigned int GetStatus2(unsigned int* a) override { return Record("GetStatus2", a); }
    unsigned int PreReadImage(unsigned int a, unsigned int b, unsigned int c) override {
        return Record("PreReadImage", a, b, c);
    }
    unsigned int ReadImage(unsigned int a, unsigned int b, unsigned int c, unsigned char* d, unsigned int e,
                           int f, unsigned int g, unsigned int* h) override {
        return Record("ReadImage", a, b, c, d, e, f, g, h);
    }

private:
    template <typename... A>
    unsigned int Record(const char* name, A... values) {
        op = name;
        args = {Word(values)...};
        ++calls;
        return result;
    }
};

// The smallest concrete port: every operation keeps the base default.
class DefaultPort : public CCamPort {
public:
    unsigned int ReadFlashMemoryBlocks(unsigned int, unsigned int, void*) override { return 1; }
};

#endif  // ZPPORT_TESTS_API_RECORDING_PORT_H
