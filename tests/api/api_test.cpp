// The exported Po calls on ports without a camera: every call answers 2 for a null handle, the
// forwarding calls turn what the base port does into 0/1, and the calls with rules of their own.
#include <gtest/gtest.h>
#include <zpport/CamPort.h>
#include <zpport/ZpPortTW.h>

#include <tuple>
#include <vector>

namespace {

using U = unsigned int;
using H = ZP_PORT_HANDLE;

// A port that keeps every base default; its binary transport counts the exchanges and fails them.
class BasePort : public CCamPort {
public:
    int exchanges = 0;
    U ReadFlashMemoryBlocks(U, U, void*) override { return 1; }
    U SendCmdAndGetRsp(_CMD_HDR*, _RSP_HDR*, int, int, int, int) override {
        ++exchanges;
        return 0;
    }
};

// What the base port does with the operation a call reaches: succeeds (1), fails (0), or fails after
// sending one exchange over its binary transport (or five tries of one parameter).
enum Base { kSucceeds, kFails, kSends, kRetries };

// The call as written, the call itself, and what the base port does with it.
using Case = std::tuple<const char*, U (*)(H), Base>;

// Objects the calls hand on; the base operations that store or copy need them to be real.
char mem[8192];  // the lookup-table call reads 4096 entries
U w[8];
unsigned short s[1];
int n[2];
unsigned char y[2];
_ZP_REGISTER_CONSTRAINT rc[1];

// clang-format off
#define ZP_CALL(call, base) {#call, [](H h) { return call; }, base}
// clang-format on

const Case kForwardingCalls[] = {
    ZP_CALL(PoReset(h), kSends),
    ZP_CALL(PoEraseMemory(h), kFails),
    ZP_CALL(PoStopReading(h, -7, 9), kSucceeds),
    ZP_CALL(PoReadData(h, mem, 1024), kFails),
    ZP_CALL(PoReadADCMemory(h, mem, 12), kFails),
    ZP_CALL(PoWriteADCMemory(h, mem, 13), kFails),
    ZP_CALL(PoGetBufferTrashSize(h, s), kSucceeds),
    ZP_CALL(PoTrigger(h), kSends),
    ZP_CALL(PoSetFrameSize(h, 640, 480), kSucceeds),
    ZP_CALL(PoWriteCameraName(h, mem), kFails),  // the card never opens
    ZP_CALL(PoSetAnnouncementCallback(h, nullptr, mem), kSucceeds),
    ZP_CALL(PoGetPortParameter(h, ZPP_EXPOSURE, w), kSends),
    ZP_CALL(PoGetPortBrocParameter(h, ZPP_NONE, w), kSends),
    ZP_CALL(PoReadInfo(h, 5, w, w + 1), kSends),
    ZP_CALL(PoReadToVideo(h, 1, 2, 3), kSends),
    ZP_CALL(PoStartGrab(h, 1, 2, 3, 4, 5), kSends),
    ZP_CALL(PoStopGrab(h, w), kSends),
    ZP_CALL(PoGetTriggerPos(h, w, w + 1), kSends),
    ZP_CALL(PoOpenGrab(h, 8, -1, 2), kSucceeds),
    ZP_CALL(PoCloseGrab(h, -3), kSucceeds),
    ZP_CALL(PoWriteDACs(h, w, 4), kSucceeds),
    ZP_CALL(PoReadWriteEEPROM(h, 1, mem, 64), kFails),
    ZP_CALL(PoReadWriteSensorRegs(h, 0, mem, 32), kFails),
    ZP_CALL(PoReadWriteCameraComment(h, 1, mem), kFails),
    ZP_CALL(PoFlashOperation(h, 6, mem), kSends),
    ZP_CALL(PoFlushSensor(h), kFails),
    ZP_CALL(PoSetConnectionFlag(h, 77), kSucceeds),
    ZP_CALL(PoAttach(h), kSends),
    ZP_CALL(PoGetAddressList(h, 10, 20, w), kFails),
    ZP_CALL(PoGetTotRecFrames(h, w), kFails),
    ZP_CALL(PoConfigureWriteToDisk(h, 2, mem, mem, 0x80), kFails),
    ZP_CALL(PoReadRegister(h, 0x1234, w), kSends),
    ZP_CALL(PoWriteRegister(h, 0x1FF, 0xDEADBEEF), kSends),
    ZP_CALL(PoReadBkgAndPSCBuffers(h, mem, mem, mem, 100, mem, mem, mem, 200), kFails),
    ZP_CALL(PoWriteClockSpeed(h, 3, 4, w), kSends),
    ZP_CALL(PoReadWriteLookupTable(h, 1, mem, 4096), kSucceeds),
    ZP_CALL(PoDebug(h, 11, 12, mem), kSends),
    ZP_CALL(PoReadFwInfo(h, mem, 128), kSucceeds),
    ZP_CALL(PoWriteCurrCalib(h, 1, 2, 3, 4, mem), kSends),
    ZP_CALL(PoReadMemory(h, static_cast<ZP_MEM_TYPE>(3), 0x100, 0x200, mem, 512), kSends),
    ZP_CALL(PoWriteMemory(h, static_cast<ZP_MEM_TYPE>(3), 0x300, 0x400, mem, 256), kSends),
    ZP_CALL(PoSetRegisterConstraints(h, rc, 1), kSucceeds),
    ZP_CALL(PoGetRegisterConstraints(h, rc, w), kSucceeds),
    ZP_CALL(PoPlayBackVideo(h, 1, 2, 3, 4, 5, 6), kSends),
    ZP_CALL(PoPlayBackVideoStatus(h, w, y, y + 1), kSends),
    ZP_CALL(PoSetPllPhase(h, 2, 90), kSends),
    ZP_CALL(PoConfigureSteps(h, reinterpret_cast<_PROGSTEPS_DATA*>(mem + 1)), kSends),
    ZP_CALL(PoReadRecordedSegments(h, y, w), kFails),  // room for no record: nothing is asked
    ZP_CALL(PoSetPortParameter(h, 19, 5), kSends),
    ZP_CALL(PoSendTiming(h, mem), kSends),
    ZP_CALL(PoGetTime(h, w, n, w + 1, n + 1, w + 2), kSends),
    ZP_CALL(PoWriteData(h, 1, mem, 1024), kFails),  // WriteData1
    ZP_CALL(PoWriteData(h, 0, mem, 1024), kRetries),  // WriteData2: the exposure
    ZP_CALL(PoPrepareForRead(h, 1, -5), kSucceeds),
    ZP_CALL(PoPrepareForRead(h, 0, 5), kSucceeds),
    ZP_CALL(PoGetStatus(h, 0, w), kFails),  // the 32-bit status
    ZP_CALL(PoWriteQR52Register(h, 0x7ABCD), kSucceeds),
    ZP_CALL(PoOpenFlashMemory(h, 0, 0), kFails),  // no card answers
    ZP_CALL(PoCloseFlashMemory(h), kSucceeds),
    ZP_CALL(PoReadFlashMemorySize(h, w), kFails),
};

TEST(ExportedCalls, ForwardingCallsNegateTheBaseDefaultsAndAnswerTwoForANullHandle) {
    for (const auto& [call, run, base] : kForwardingCalls) {
        BasePort port;
        EXPECT_EQ(run(&port), base == kSucceeds ? 0u : 1u) << call;
        EXPECT_EQ(port.exchanges, base == kSends ? 1 : base == kRetries ? 5 : 0) << call;
        EXPECT_EQ(run(nullptr), 2u) << call;
    }
}

TEST(ExportedCalls, CallsWithRulesOfTheirOwnAnswerTwoForANullHandleAndWriteNothing) {
    U word = 0x5A5A;
    _VENDOR_INFO info{};
    const std::vector<U> results = {PoClose(nullptr),
                                    PoResetErrorCode(nullptr),
                                    PoGetErrorCode(nullptr, &word),
                                    PoUnlock(nullptr),
                                    PoLock(nullptr, 10, &word),
                                    PoEnablePortLog(nullptr, 1, "x.log", 1),
                                    PoGetStatus(nullptr, 1, &word),
                                    PoReadFlashMemoryBlocks(nullptr, 0, 1, mem),
                                    PoWriteFlashMemoryBlocks(nullptr, 0, 1, mem),
                                    PoGetVendorInfo(nullptr, &info),
                                    PoGetLatestFrameIndex(nullptr, &word),
                                    PoPreReadImage(nullptr, 1, 2, 3),
                                    PoReadImage(nullptr, 1, 2, 3, y, 4, 5, 6, &word)};
    EXPECT_EQ(results, std::vector<U>(results.size(), 2u));
    EXPECT_EQ(word, 0x5A5Au);
}

// Answers the flash read, the image reads, the short status and the prepare step that takes a value
// with `result`.
class ResultPort : public BasePort {
public:
    U result = 1;
    unsigned char shortStatus = 0;
    U ReadFlashMemoryBlocks(U, U, void*) override { return result; }
    U PreReadImage(U, U, U) override { return result; }
    U ReadImage(U, U, U, unsigned char*, U, int, U, U*) override { return result; }
    U PrepareForRead(int) override { return result; }
    U GetStatus1(unsigned char* status) override {
        *status = shortStatus;
        return result;
    }
};

// Over a range of operation results: the flash read maps 1, 129 and 130 and fails otherwise, the image
// reads hand back the operation's own result, the selector arguments pick their operation, and the
// short status is stored zero-extended whatever the result, any non-zero result being success.
TEST(ExportedCalls, FlashImageAndStatusCallsKeepTheirOwnRules) {
    const U cases[][2] = {{1, 0}, {129, 5001}, {130, 5002}, {0, 1}, {2, 1}, {128, 1}, {131, 1}, {~0u, 1}};
    unsigned char block[512];
    U status = ~0u;
    for (const auto& c : cases) {
        ResultPort port;
        port.result = c[0];
        port.shortStatus = static_cast<unsigned char>(c[1]);
        EXPECT_EQ(PoReadFlashMemoryBlocks(&port, 7, 3, block), c[1]) << c[0];
        EXPECT_EQ(PoPreReadImage(&port, 10, 20, 30), c[0]);
        EXPECT_EQ(PoReadImage(&port, 1, 2, 3, block, 8, -4, 5, w), c[0]);
        EXPECT_EQ(PoPrepareForRead(&port, 1, 5), c[0] != 0 ? 0u : 1u);
        status = ~0u;
        EXPECT_EQ(PoGetStatus(&port, 0, &status), 1u);  // the 32-bit status: the base's failure
        EXPECT_EQ(PoGetStatus(&port, 7, &status), c[0] != 0 ? 0u : 1u);
        EXPECT_EQ(status, c[1] & 0xFF);
    }
    BasePort base;  // the base fails the short status, which is stored as 0
    EXPECT_EQ(PoGetStatus(&base, 1, &status), 1u);
    EXPECT_EQ(status, 0u);
}

}  // namespace
