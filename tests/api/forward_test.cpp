// The forwarding calls: each reaches its own operation through the port's virtual table with the
// arguments unchanged, turns the result into 0/1 and answers 2 for a null handle.
#include <gtest/gtest.h>
#include <zpport/ZpPortTW.h>

#include <functional>
#include <string>
#include <vector>

#include "api/recording_port.h"

namespace {

using Words = std::vector<uint64_t>;

// Distinct objects whose addresses the calls must pass through unchanged.
struct Buffers {
    char bytes[16] = {};
    unsigned short shortValue = 0;
    unsigned int words[8] = {};
    int ints[2] = {};
    unsigned char ubytes[2] = {};
    _ZP_REGISTER_CONSTRAINT constraint = {};
};

void Callback(void*, char*) {}

template <typename T>
uint64_t W(T value) {
    return RecordingPort::Word(value);
}

struct Case {
    std::string function;
    std::string op;
    std::function<unsigned int(ZP_PORT_HANDLE)> call;
    Words expected;
};

std::vector<Case> ForwardingCases(Buffers& b) {
    char* c = b.bytes;
    unsigned int* u = b.words;
    auto* program = reinterpret_cast<_PROGSTEPS_DATA*>(b.bytes + 1);
    const auto memType = static_cast<ZP_MEM_TYPE>(3);
    return {
        {"PoReset", "Reset", [](ZP_PORT_HANDLE h) { return PoReset(h); }, {}},
        {"PoEraseMemory", "EraseMemory", [](ZP_PORT_HANDLE h) { return PoEraseMemory(h); }, {}},
        {"PoStopReading",
         "StopReading",
         [](ZP_PORT_HANDLE h) { return PoStopReading(h, -7, 9); },
         {W(-7), 9}},
        {"PoReadData", "ReadData", [=](ZP_PORT_HANDLE h) { return PoReadData(h, c, 1024); }, {W(c), 1024}},
        {"PoReadADCMemory",
         "ReadADCMemory",
         [=](ZP_PORT_HANDLE h) { return PoReadADCMemory(h, c, 12); },
         {W(c), 12}},
        {"PoWriteADCMemory",
         "WriteADCMemory",
         [=](ZP_PORT_HANDLE h) { return PoWriteADCMemory(h, c + 2, 13); },
         {W(c + 2), 13}},
        {"PoGetBufferTrashSize",
         "GetBufferTrashSize",
         [&b](ZP_PORT_HANDLE h) { return PoGetBufferTrashSize(h, &b.shortValue); },
         {W(&b.shortValue)}},
        {"PoTrigger", "Trigger", [](ZP_PORT_HANDLE h) { return PoTrigger(h); }, {}},
        {"PoSetFrameSize",
         "SetFrameSize",
         [](ZP_PORT_HANDLE h) { return PoSetFrameSize(h, 640, 480); },
         {640, 480}},
        {"PoWriteCameraName",
         "WriteCameraName",
         [=](ZP_PORT_HANDLE h) { return PoWriteCameraName(h, c); },
         {W(c)}},
        {"PoSetAnnouncementCallback",
         "SetAnnouncementCallback",
         [=](ZP_PORT_HANDLE h) { return PoSetAnnouncementCallback(h, Callback, c); },
         {W(&Callback), W(c)}},
        {"PoGetPortParameter",
         "GetPortParameter",
         [=](ZP_PORT_HANDLE h) { return PoGetPortParameter(h, ZPP_EXPOSURE, u); },
         {ZPP_EXPOSURE, W(u)}},
        {"PoGetPortBrocParameter",
         "GetPortBrocParameter",
         [=](ZP_PORT_HANDLE h) { return PoGetPortBrocParameter(h, ZPP_NONE, u + 1); },
         {ZPP_NONE, W(u + 1)}},
        {"PoReadInfo",
         "ReadCameraInfo",
         [=](ZP_PORT_HANDLE h) { return PoReadInfo(h, 5, u, u + 1); },
         {5, W(u), W(u + 1)}},
        {"PoReadToVideo",
         "ReadToVideo",
         [](ZP_PORT_HANDLE h) { return PoReadToVideo(h, 1, 2, 3); },
         {1, 2, 3}},
        {"PoStartGrab",
         "StartGrab",
         [](ZP_PORT_HANDLE h) { return PoStartGrab(h, 1, 2, 3, 4, 0xFFFFFFFFu); },
         {1, 2, 3, 4, 0xFFFFFFFFu}},
        {"PoStopGrab", "StopGrab", [=](ZP_PORT_HANDLE h) { return PoStopGrab(h, u + 2); }, {W(u + 2)}},
        {"PoGetTriggerPos",
         "GetTriggerPos",
         [=](ZP_PORT_HANDLE h) { return PoGetTriggerPos(h, u, u + 3); },
         {W(u), W(u + 3)}},
        {"PoOpenGrab", "OpenGrab", [](ZP_PORT_HANDLE h) { return PoOpenGrab(h, 8, -1, 2); }, {8, W(-1), 2}},
        {"PoCloseGrab", "CloseGrab", [](ZP_PORT_HANDLE h) { return PoCloseGrab(h, -3); }, {W(-3)}},
        {"PoWriteDACs", "WriteDACs", [=](ZP_PORT_HANDLE h) { return PoWriteDACs(h, u, 4); }, {W(u), 4}},
        {"PoReadWriteEEPROM",
         "ReadWriteEEPROM",
         [=](ZP_PORT_HANDLE h) { return PoReadWriteEEPROM(h, 1, c, 64); },
         {1, W(c), 64}},
        {"PoReadWriteSensorRegs",
         "ReadWriteSensorRegs",
         [=](ZP_PORT_HANDLE h) { return PoReadWriteSensorRegs(h, 0, c, 32); },
         {0, W(c), 32}},
        {"PoReadWriteCameraComment",
         "ReadWriteCameraComment",
         [=](ZP_PORT_HANDLE h) { return PoReadWriteCameraComment(h, 1, c); },
         {1, W(c)}},
        {"PoFlashOperation",
         "FlashOperation",
         [=](ZP_PORT_HANDLE h) { return PoFlashOperation(h, 6, c); },
         {6, W(c)}},
        {"PoFlushSensor", "FlushSensor", [](ZP_PORT_HANDLE h) { return PoFlushSensor(h); }, {}},
        {"PoSetConnectionFlag",
         "SetConnectionFlag",
         [](ZP_PORT_HANDLE h) { return PoSetConnectionFlag(h, 77); },
         {77}},
        {"PoAttach", "Attach", [](ZP_PORT_HANDLE h) { return PoAttach(h); }, {}},
        {"PoGetAddressList",
         "GetAddressList",
         [=](ZP_PORT_HANDLE h) { return PoGetAddressList(h, 10, 20, u); },
         {10, 20, W(u)}},
        {"PoGetTotRecFrames",
         "GetTotRecFrames",
         [=](ZP_PORT_HANDLE h) { return PoGetTotRecFrames(h, u); },
         {W(u)}},
        {"PoConfigureWriteToDisk",
         "ConfigureWriteToDisk",
         [=](ZP_PORT_HANDLE h) { return PoConfigureWriteToDisk(h, 2, c, c + 4, 0x80); },
         {2, W(c), W(c + 4), 0x80}},
        {"PoReadRegister",
         "ReadLongRegister",
         [=](ZP_PORT_HANDLE h) { return PoReadRegister(h, 0x1234, u); },
         {0x1234, W(u)}},
        {"PoWriteRegister",
         "WriteLongRegister",
         [](ZP_PORT_HANDLE h) { return PoWriteRegister(h, 0x1FF, 0xDEADBEEF); },
         {0x1FF, 0xDEADBEEF}},
        {"PoReadBkgAndPSCBuffers",
         "ReadBkgAndPSCBuffers",
         [=](ZP_PORT_HANDLE h) {
             return PoReadBkgAndPSCBuffers(h, c, c + 1, c + 2, 100, c + 3, c + 4, c + 5, 200);
         },
         {W(c), W(c + 1), W(c + 2), 100, W(c + 3), W(c + 4), W(c + 5), 200}},
        {"PoWriteClockSpeed",
         "WriteClockSpeed",
         [=](ZP_PORT_HANDLE h) { return PoWriteClockSpeed(h, 3, 4, u); },
         {3, 4, W(u)}},
        {"PoReadWriteLookupTable",
         "ReadWriteLookupTable",
         [=](ZP_PORT_HANDLE h) { return PoReadWriteLookupTable(h, 1, c, 4096); },
         {1, W(c), 4096}},
        {"PoDebug", "Debug", [=](ZP_PORT_HANDLE h) { return PoDebug(h, 11, 12, c); }, {11, 12, W(c)}},
        {"PoReadFwInfo",
         "ReadFwInfo",
         [=](ZP_PORT_HANDLE h) { return PoReadFwInfo(h, c, 128); },
         {W(c), 128}},
        {"PoWriteCurrCalib",
         "WriteCurrCalib",
         [=](ZP_PORT_HANDLE h) { return PoWriteCurrCalib(h, 1, 2, 3, 4, c); },
         {1, 2, 3, 4, W(c)}},
        {"PoReadMemory",
         "ReadMemory",
         [=](ZP_PORT_HANDLE h) { return PoReadMemory(h, memType, 0x100, 0x200, c, 512); },
         {3, 0x100, 0x200, W(c), 512}},
        {"PoWriteMemory",
         "WriteMemory",
         [=](ZP_PORT_HANDLE h) { return PoWriteMemory(h, memType, 0x300, 0x400, c + 1, 256); },
         {3, 0x300, 0x400, W(c + 1), 256}},
        {"PoSetRegisterConstraints",
         "SetRegisterConstraints",
         [&b](ZP_PORT_HANDLE h) { return PoSetRegisterConstraints(h, &b.constraint, 1); },
         {W(&b.constraint), 1}},
        {"PoGetRegisterConstraints",
         "GetRegisterConstraints",
         [&b, u](ZP_PORT_HANDLE h) { return PoGetRegisterConstraints(h, &b.constraint, u); },
         {W(&b.constraint), W(u)}},
        {"PoPlayBackVideo",
         "PlayBackVideo",
         [](ZP_PORT_HANDLE h) { return PoPlayBackVideo(h, 1, 2, 3, 4, 5, 6); },
         {1, 2, 3, 4, 5, 6}},
        {"PoPlayBackVideoStatus",
         "PlayBackVideoStatus",
         [&b, u](ZP_PORT_HANDLE h) { return PoPlayBackVideoStatus(h, u, b.ubytes, b.ubytes + 1); },
         {W(u), W(b.ubytes), W(b.ubytes + 1)}},
        {"PoSetPllPhase", "SetPllPhase", [](ZP_PORT_HANDLE h) { return PoSetPllPhase(h, 2, 90); }, {2, 90}},
        {"PoConfigureSteps",
         "ConfigureSteps",
         [=](ZP_PORT_HANDLE h) { return PoConfigureSteps(h, program); },
         {W(program)}},
        {"PoReadRecordedSegments",
         "ReadRecordedSegments",
         [&b, u](ZP_PORT_HANDLE h) { return PoReadRecordedSegments(h, b.ubytes, u); },
         {W(b.ubytes), W(u)}},
        {"PoSetPortParameter",
         "SendParameter",
         [](ZP_PORT_HANDLE h) { return PoSetPortParameter(h, 19, 5); },
         {19, 5}},
        {"PoSendTiming", "SendTiming", [=](ZP_PORT_HANDLE h) { return PoSendTiming(h, c); }, {W(c)}},
        {"PoGetTime",
         "GetTime",
         [&b, u](ZP_PORT_HANDLE h) { return PoGetTime(h, u, b.ints, u + 1, b.ints + 1, u + 2); },
         {W(u), W(b.ints), W(u + 1), W(b.ints + 1), W(u + 2)}},
        // Calls that pick the operation from an argument.
        {"PoWriteData(1)",
         "WriteData1",
         [=](ZP_PORT_HANDLE h) { return PoWriteData(h, 1, c, 1024); },
         {W(c), 1024}},
        {"PoWriteData(-1)",
         "WriteData1",
         [=](ZP_PORT_HANDLE h) { return PoWriteData(h, -1, c, 16); },
         {W(c), 16}},
        {"PoWriteData(0)",
         "WriteData2",
         [=](ZP_PORT_HANDLE h) { return PoWriteData(h, 0, c, 1); },
         {W(c), 1}},
        {"PoPrepareForRead(1)",
         "PrepareForRead(int)",
         [](ZP_PORT_HANDLE h) { return PoPrepareForRead(h, 1, -5); },
         {W(-5)}},
        {"PoPrepareForRead(0)",
         "PrepareForRead()",
         [](ZP_PORT_HANDLE h) { return PoPrepareForRead(h, 0, 5); },
         {}},
        {"PoGetStatus(0)", "GetStatus2", [=](ZP_PORT_HANDLE h) { return PoGetStatus(h, 0, u); }, {W(u)}},
        {"PoWriteQR52Register",
         "WriteQR52Register",
         [](ZP_PORT_HANDLE h) { return PoWriteQR52Register(h, 0x7ABCD); },
         {0xABCD}},
        {"PoWriteQR52Register(-1)",
         "WriteQR52Register",
         [](ZP_PORT_HANDLE h) { return PoWriteQR52Register(h, -1); },
         {0xFFFF}},
    };
}

class ForwardingCalls : public ::testing::Test {
protected:
    Buffers buffers;
    std::vector<Case> cases = ForwardingCases(buffers);
};

TEST_F(ForwardingCalls, ReachTheirOperationWithTheArgumentsUnchanged) {
    for (const Case& c : cases) {
        RecordingPort port;
        EXPECT_EQ(c.call(&port), 0u) << c.function;
        EXPECT_EQ(port.calls, 1) << c.function;
        EXPECT_EQ(port.op, c.op) << c.function;
        EXPECT_EQ(port.args, c.expected) << c.function;
    }
}

TEST_F(ForwardingCalls, TurnEveryNonZeroResultIntoSuccessAndZeroIntoFailure) {
    const struct {
        unsigned int operationResult;
        unsigned int expected;
    } conversions[] = {{1, 0}, {0, 1}, {static_cast<unsigned int>(-2), 0}, {129, 0}, {0x80000000u, 0}};
    for (const auto& conversion : conversions) {
        for (const Case& c : cases) {
            RecordingPort port;
            port.result = conversion.operationResult;
            EXPECT_EQ(c.call(&port), conversion.expected)
                << c.function << " with operation result " << conversion.operationResult;
        }
    }
}

TEST_F(ForwardingCalls, AnswerTwoForANullHandle) {
    for (const Case& c : cases) EXPECT_EQ(c.call(nullptr), 2u) << c.function;
}

// A port that keeps the base defaults shows the unsupported (1) and accepted (0) operations.
TEST(ForwardingDefaults, BaseDefaultsReachTheHostNegated) {
    DefaultPort port;
    unsigned short trash = 0xBEEF;
    EXPECT_EQ(PoGetBufferTrashSize(&port, &trash), 0u);
    EXPECT_EQ(trash, 0u);
    EXPECT_EQ(PoEraseMemory(&port), 1u);
    EXPECT_EQ(PoSetFrameSize(&port, 1, 1), 0u);
    EXPECT_EQ(PoReset(&port), 1u);  // binary exchange without a transport
    EXPECT_EQ(PoPrepareForRead(&port, 0, 0), 0u);
    EXPECT_EQ(PoWriteData(&port, 1, nullptr, 0), 1u);
}

}  // namespace
