// Exported calls with their own rules: null handles, the error code, the outer lock, the trace,
// the flash result mapping, the image reads, the status selection and the unsupported calls.
#include <gtest/gtest.h>
#include <semaphore.h>
#include <unistd.h>
#include <zpport/TWPort.h>
#include <zpport/ZpPortTW.h>

#include <functional>
#include <string>
#include <vector>

#include "api/recording_port.h"

namespace {

struct NamedCall {
    const char* function;
    std::function<unsigned int(ZP_PORT_HANDLE)> call;
};

TEST(NullHandle, EveryCallWithItsOwnRulesAnswersTwo) {
    unsigned int word = 0x5A5A;
    _VENDOR_INFO info{};
    unsigned char image[4] = {};
    const std::vector<NamedCall> calls = {
        {"PoClose", [](ZP_PORT_HANDLE h) { return PoClose(h); }},
        {"PoResetErrorCode", [](ZP_PORT_HANDLE h) { return PoResetErrorCode(h); }},
        {"PoGetErrorCode", [&](ZP_PORT_HANDLE h) { return PoGetErrorCode(h, &word); }},
        {"PoLock", [&](ZP_PORT_HANDLE h) { return PoLock(h, 10, &word); }},
        {"PoUnlock", [](ZP_PORT_HANDLE h) { return PoUnlock(h); }},
        {"PoEnablePortLog", [](ZP_PORT_HANDLE h) { return PoEnablePortLog(h, 1, "x.log", 1); }},
        {"PoGetStatus(1)", [&](ZP_PORT_HANDLE h) { return PoGetStatus(h, 1, &word); }},
        {"PoReadFlashMemoryBlocks",
         [&](ZP_PORT_HANDLE h) { return PoReadFlashMemoryBlocks(h, 0, 1, image); }},
        {"PoWriteFlashMemoryBlocks",
         [&](ZP_PORT_HANDLE h) { return PoWriteFlashMemoryBlocks(h, 0, 1, image); }},
        {"PoGetVendorInfo", [&](ZP_PORT_HANDLE h) { return PoGetVendorInfo(h, &info); }},
        {"PoGetLatestFrameIndex", [&](ZP_PORT_HANDLE h) { return PoGetLatestFrameIndex(h, &word); }},
        {"PoPreReadImage", [](ZP_PORT_HANDLE h) { return PoPreReadImage(h, 1, 2, 3); }},
        {"PoReadImage", [&](ZP_PORT_HANDLE h) { return PoReadImage(h, 1, 2, 3, image, 4, 5, 6, &word); }},
    };
    for (const NamedCall& c : calls) EXPECT_EQ(c.call(nullptr), 2u) << c.function;
    EXPECT_EQ(word, 0x5A5Au) << "a call with a null handle wrote an output";
}

TEST(ErrorCode, IsReadWithoutClearingAndClearedOnlyByTheReset) {
    RecordingPort port;
    port.m_nErrorCode = 2008;
    unsigned int code = 0;
    EXPECT_EQ(PoGetErrorCode(&port, &code), 0u);
    EXPECT_EQ(code, 2008u);
    EXPECT_EQ(PoReset(&port), 0u);  // a successful call leaves the code alone
    code = 0;
    EXPECT_EQ(PoGetErrorCode(&port, &code), 0u);
    EXPECT_EQ(code, 2008u);
    EXPECT_EQ(PoResetErrorCode(&port), 0u);
    EXPECT_EQ(port.m_nErrorCode, 0u);
    EXPECT_EQ(PoGetErrorCode(&port, &code), 0u);
    EXPECT_EQ(code, 0u);
}

TEST(OuterLock, BeforeOpenLockReportsZeroAndUnlockDoesNothing) {
    RecordingPort port;
    unsigned int result = 99;
    EXPECT_EQ(PoLock(&port, 0xFFFFFFFFu, &result), 0u);
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(PoLock(&port, 10, nullptr), 0u);
    EXPECT_EQ(PoUnlock(&port), 0u);
    EXPECT_EQ(port.calls, 0);
}

TEST(OuterLock, TakesAndReleasesThePortsSemaphore) {
    const std::string name = "/zp_api_lock_" + std::to_string(getpid());
    OS_SEMAPHORE lock = OS_SemCreate(1, name.c_str());
    ASSERT_NE(lock, nullptr);
    RecordingPort port;
    port.m_hLock = lock;

    unsigned int result = 99;
    EXPECT_EQ(PoLock(&port, 100, &result), 0u);
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(PoLock(&port, 50, &result), 0u);  // held: the wait times out
    EXPECT_EQ(result, static_cast<unsigned int>(OS_ERR_TIMEOUT));
    EXPECT_EQ(PoUnlock(&port), 0u);
    EXPECT_EQ(PoLock(&port, 100, &result), 0u);
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(PoUnlock(&port), 0u);

    port.m_hLock = nullptr;
    EXPECT_EQ(OS_SemDestroy(lock), 0);
    sem_unlink(name.c_str());
}

TEST(PortLog, PassesItsThreeValuesToTheTrace) {
    RecordingPort port;
    CXTrace reference;
    reference.EnableTrace(42u, "/tmp/zp_api_log.txt", 2);
    EXPECT_EQ(PoEnablePortLog(&port, 42, "/tmp/zp_api_log.txt", 2), 0u);
    EXPECT_TRUE(port.m_Trace.IsLogEnabled());
    EXPECT_STREQ(port.m_Trace.LogPath(), reference.LogPath());
    EXPECT_EQ(PoEnablePortLog(&port, 42, "/tmp/zp_api_log.txt", 0), 0u);
    EXPECT_FALSE(port.m_Trace.IsLogEnabled());
}

TEST(FlashRead, MapsTheOperationsResult) {
    const struct {
        unsigned int operationResult;
        unsigned int expected;
    } mappings[] = {{1, 0}, {129, 5001}, {130, 5002}, {0, 1}, {2, 1}, {128, 1}, {131, 1}, {0xFFFFFFFFu, 1}};
    unsigned char block[512];
    for (const auto& m : mappings) {
        RecordingPort port;
        port.result = m.operationResult;
        EXPECT_EQ(PoReadFlashMemoryBlocks(&port, 7, 3, block), m.expected) << m.operationResult;
        EXPECT_EQ(port.op, "ReadFlashMemoryBlocks");
        EXPECT_EQ(port.args, (std::vector<uint64_t>{7, 3, RecordingPort::Word(block)}));
    }
}

TEST(FlashWrite, SucceedsWithoutReachingThePort) {
    RecordingPort port;
    unsigned char block[512] = {};
    EXPECT_EQ(PoWriteFlashMemoryBlocks(&port, 0, 1, block), 0u);
    EXPECT_EQ(port.calls, 0);
}

TEST(ImageReads, ReturnTheOperationsOwnResult) {
    unsigned char image[8];
    unsigned int out = 0;
    for (unsigned int result : {1u, 0u, 7u, static_cast<unsigned int>(-2)}) {
        RecordingPort port;
        port.result = result;
        EXPECT_EQ(PoPreReadImage(&port, 10, 20, 30), result);
        EXPECT_EQ(port.op, "PreReadImage");
        EXPECT_EQ(port.args, (std::vector<uint64_t>{10, 20, 30}));
        EXPECT_EQ(PoReadImage(&port, 1, 2, 3, image, 8, -4, 5, &out), result);
        EXPECT_EQ(port.op, "ReadImage");
        EXPECT_EQ(port.args, (std::vector<uint64_t>{1, 2, 3, RecordingPort::Word(image), 8,
                                                    RecordingPort::Word(-4), 5, RecordingPort::Word(&out)}));
    }
}

TEST(ImageReads, BaseDefaultsReportFailureAsZero) {
    DefaultPort port;
    unsigned char image[8];
    EXPECT_EQ(PoPreReadImage(&port, 1, 2, 3), 0u);
    EXPECT_EQ(PoReadImage(&port, 1, 2, 3, image, 8, 0, 0, nullptr), 0u);
}

TEST(Status, ShortStatusIsStoredZeroExtended) {
    RecordingPort port;
    port.shortStatus = 0xAB;
    unsigned int status = 0xFFFFFFFFu;
    EXPECT_EQ(PoGetStatus(&port, 1, &status), 0u);
    EXPECT_EQ(port.op, "GetStatus1");
    EXPECT_EQ(status, 0xABu);
    port.result = 0;
    status = 0xFFFFFFFFu;
    EXPECT_EQ(PoGetStatus(&port, 7, &status), 1u);
    EXPECT_EQ(status, 0xABu);
}

TEST(Status, BaseDefaultFailsAndStoresZero) {
    DefaultPort port;
    unsigned int status = 0xDEADBEEFu;
    EXPECT_EQ(PoGetStatus(&port, 1, &status), 1u);
    EXPECT_EQ(status, 0u);
}

TEST(LinkAndLoader, LinkInitRemembersTheAdapterAndBothReturnZero) {
    const unsigned int saved = CTWPort::m_nEnumIPAdd;
    EXPECT_EQ(PoLinkInit(0x7F00003Cu), 0u);
    EXPECT_EQ(CTWPort::m_nEnumIPAdd, 0x7F00003Cu);
    EXPECT_EQ(PoLinkDeinit(), 0u);
    EXPECT_EQ(PoLinkInit(saved), 0u);
    EXPECT_EQ(DllMain(nullptr, 1, nullptr), 1u);
}

TEST(Unsupported, CallsReturnOneWhateverTheirArguments) {
    _ZP_ENUMITEMEX item{};
    item.ipAddress = 0x7F00003Du;
    unsigned char data[4] = {};
    EXPECT_EQ(PoSetCmdPort(&item, 1027), 1u);
    EXPECT_EQ(PoSetCmdPort(nullptr, 0), 1u);
    EXPECT_EQ(PoSetDefaultGw(&item, 0x7F000001u), 1u);
    EXPECT_EQ(PoWiFiEnumAccessPoints(&item, nullptr), 1u);
    EXPECT_EQ(PoWiFiSendCommand(nullptr, 3, data), 1u);
}

}  // namespace
