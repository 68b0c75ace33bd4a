#include <zpport/CamPort.h>

#include <gtest/gtest.h>
#include <semaphore.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

// The smallest concrete port: supplies the one pure operation and opens the state to the tests.
class TestPort : public CCamPort {
public:
    unsigned int ReadFlashMemoryBlocks(unsigned int, unsigned int, void*) override { return 1; }

    using CCamPort::m_abyBlock12;
    using CCamPort::m_abyBlock16;
    using CCamPort::m_abyFwInfo;
    using CCamPort::m_abyRegisterShadow;
    using CCamPort::m_dwCameraType;
    using CCamPort::m_dwColorMatrixCache;
    using CCamPort::m_dwConnectionFlag;
    using CCamPort::m_dwDefaultOn;
    using CCamPort::m_dwPendingPrepare;
    using CCamPort::m_dwPendingRead;
    using CCamPort::m_dwPortState;
    using CCamPort::m_dwSpare;
    using CCamPort::m_dwTraceChannel;
    using CCamPort::m_dwTransferLimit;
    using CCamPort::m_dwWords;
    using CCamPort::m_hLock;
    using CCamPort::m_nErrorCode;
    using CCamPort::m_pAnnouncementContext;
    using CCamPort::m_pfnAnnouncementCallback;
    using CCamPort::m_RegisterConstraints;
    using CCamPort::m_Trace;
    using CCamPort::m_wFlag;
    using CCamPort::m_wLastLookupTable;
    using CCamPort::m_wToneTable;
};

template <typename T, size_t N>
bool AllEqual(const T (&values)[N], T expected) {
    for (const T& v : values) {
        if (v != expected) return false;
    }
    return true;
}

uintptr_t Address(const void* p) { return reinterpret_cast<uintptr_t>(p); }

TEST(CamPortState, FreshPortHoldsItsInitialValues) {
    TestPort port;
    EXPECT_EQ(port.m_nErrorCode, 0u);
    EXPECT_EQ(port.m_hLock, nullptr);
    EXPECT_TRUE(AllEqual(port.m_dwPortState, 0u));
    EXPECT_EQ(port.m_dwDefaultOn, 1u);
    EXPECT_TRUE(AllEqual(port.m_abyBlock16, static_cast<unsigned char>(0)));
    EXPECT_TRUE(AllEqual(port.m_dwTransferLimit, 0u));
    EXPECT_EQ(port.m_dwConnectionFlag, 0u);
    EXPECT_TRUE(AllEqual(port.m_abyRegisterShadow, static_cast<unsigned char>(0xFF)));
    EXPECT_EQ(port.m_dwPendingPrepare, 0u);
    EXPECT_EQ(port.m_dwCameraType, 0u);
    EXPECT_TRUE(AllEqual(port.m_abyBlock12, static_cast<unsigned char>(0)));
    for (unsigned int i = 0; i < 4096; ++i) ASSERT_EQ(port.m_wToneTable[i], i) << "tone entry " << i;
    EXPECT_TRUE(AllEqual(port.m_dwColorMatrixCache, 0xFFFFFFFFu));
    EXPECT_TRUE(AllEqual(port.m_wLastLookupTable, static_cast<unsigned short>(0xFFFF)));
    EXPECT_TRUE(AllEqual(port.m_dwWords, 0u));
    EXPECT_TRUE(AllEqual(port.m_dwPendingRead, 0u));
    EXPECT_TRUE(AllEqual(port.m_abyFwInfo, static_cast<unsigned char>(0)));
    EXPECT_EQ(port.m_pfnAnnouncementCallback, nullptr);
    EXPECT_EQ(port.m_pAnnouncementContext, nullptr);
    EXPECT_EQ(port.m_wFlag, 0u);
    EXPECT_EQ(port.m_Trace.IsLogEnabled(), 0);
    EXPECT_EQ(port.m_dwTraceChannel, 0u);
    EXPECT_EQ(port.m_dwSpare, 0u);
    EXPECT_TRUE(port.m_RegisterConstraints.empty());
}

TEST(CamPortState, MembersFollowTheDeclaredOrder) {
    TestPort p;
    const std::vector<uintptr_t> order = {
        Address(&p.m_nErrorCode), Address(&p.m_hLock), Address(p.m_dwPortState), Address(&p.m_dwDefaultOn),
        Address(p.m_abyBlock16), Address(p.m_dwTransferLimit), Address(&p.m_dwConnectionFlag),
        Address(p.m_abyRegisterShadow), Address(&p.m_dwPendingPrepare), Address(&p.m_dwCameraType),
        Address(p.m_abyBlock12), Address(p.m_wToneTable), Address(p.m_dwColorMatrixCache),
        Address(p.m_wLastLookupTable), Address(p.m_dwWords), Address(p.m_dwPendingRead),
        Address(p.m_abyFwInfo), Address(&p.m_pfnAnnouncementCallback), Address(&p.m_pAnnouncementContext),
        Address(&p.m_wFlag), Address(&p.m_Trace), Address(&p.m_dwTraceChannel), Address(&p.m_dwSpare),
        Address(&p.m_RegisterConstraints)};
    for (size_t i = 1; i < order.size(); ++i) EXPECT_LT(order[i - 1], order[i]) << "member " << i;
    // The lookup-table cache lies directly after the 36-byte colour-matrix cache.
    EXPECT_EQ(Address(p.m_wLastLookupTable) - Address(p.m_dwColorMatrixCache), 36u);
}

// Pointers to virtual members hold 1 + the byte offset of the slot (Itanium C++ ABI).
template <typename F>
long SlotOf(F function) {
    static_assert(sizeof(F) == 2 * sizeof(uintptr_t), "Itanium member-function pointer");
    uintptr_t words[2];
    std::memcpy(words, &function, sizeof(words));
    if ((words[0] & 1u) == 0) return -1;
    return static_cast<long>((words[0] - 1) / sizeof(void*));
}

TEST(CamPortTable, OperationsKeepTheirSlotOrder) {
    using C = CCamPort;
    const std::vector<long> slots = {
        SlotOf(&C::WiFiEnumAccessPoints), SlotOf(&C::WiFiSendCommand), SlotOf(&C::SetIpAddress),
        SlotOf(&C::GetIpAddress), SlotOf(&C::SetDefaultGw), SlotOf(&C::SetCmdPort), SlotOf(&C::ReadRegister),
        SlotOf(&C::WriteRegister), SlotOf(&C::WriteRegisterBlock), SlotOf(&C::ReadRegisterBlock),
        SlotOf(&C::GetBufferTrashSize), SlotOf(&C::ReadData), SlotOf(&C::BackupSizeY),
        SlotOf(&C::RestoreSizeY), SlotOf(&C::GetPortParameter), SlotOf(&C::GetPortBrocParameter),
        SlotOf(&C::EraseMemory), SlotOf(&C::ReadADCMemory), SlotOf(&C::WriteADCMemory),
        SlotOf(static_cast<unsigned int (C::*)(int)>(&C::PrepareForRead)),
        SlotOf(static_cast<unsigned int (C::*)()>(&C::PrepareForRead)), SlotOf(&C::StopReading),
        SlotOf(&C::WriteQR52Register), SlotOf(&C::GetStatus1), SlotOf(&C::GetStatus2),
        SlotOf(&C::WriteData1), SlotOf(&C::WriteData2), SlotOf(&C::SetFrameSize),
        SlotOf(&C::ReadFlashMemoryBlocks), SlotOf(&C::SetAnnouncementCallback), SlotOf(&C::ReadCameraInfo),
        SlotOf(&C::WriteCameraInfo), SlotOf(&C::WriteCameraName), SlotOf(&C::ReadCameraName),
        SlotOf(&C::Attach), SlotOf(&C::Detach), SlotOf(&C::GetParameter), SlotOf(&C::GetBrocParameter),
        SlotOf(&C::SetParameter), SlotOf(&C::PreReadImage), SlotOf(&C::ReadImage), SlotOf(&C::ReadToVideo),
        SlotOf(&C::StartGrab), SlotOf(&C::StopGrab), SlotOf(&C::GetTriggerPos), SlotOf(&C::GetCameraStatus),
        SlotOf(&C::Trigger), SlotOf(&C::Reset), SlotOf(&C::WriteLongRegister), SlotOf(&C::ReadLongRegister),
        SlotOf(&C::OpenGrab), SlotOf(&C::CloseGrab), SlotOf(&C::WriteDACs), SlotOf(&C::ReadWriteEEPROM),
        SlotOf(&C::ReadWriteSensorRegs), SlotOf(&C::ReadWriteCameraComment), SlotOf(&C::FlashOperation),
        SlotOf(&C::FlushSensor), SlotOf(&C::SetConnectionFlag), SlotOf(&C::GetAddressList),
        SlotOf(&C::GetTotRecFrames), SlotOf(&C::ConfigureWriteToDisk), SlotOf(&C::ReadBkgAndPSCBuffers),
        SlotOf(&C::WriteClockSpeed), SlotOf(&C::ReadWriteLookupTable), SlotOf(&C::Debug),
        SlotOf(&C::ReadFwInfo), SlotOf(&C::WriteCurrCalib), SlotOf(&C::ReadMemory), SlotOf(&C::WriteMemory),
        SlotOf(&C::SetRegisterConstraints), SlotOf(&C::GetRegisterConstraints), SlotOf(&C::PlayBackVideo),
        SlotOf(&C::PlayBackVideoStatus), SlotOf(&C::SetPllPhase), SlotOf(&C::ConfigureSteps),
        SlotOf(&C::ReadRecordedSegments), SlotOf(&C::SendParameter), SlotOf(&C::SendTiming),
        SlotOf(&C::GetTime), SlotOf(&C::ReadTemperature), SlotOf(&C::GetErrorCode),
        SlotOf(&C::ReadFwInfoStruct), SlotOf(&C::SendCmdAndGetRsp)};
    ASSERT_EQ(slots.size(), 84u);
    // Entries 0 and 1 are the two destructors, declared before the operations.
    for (size_t i = 0; i < slots.size(); ++i) {
        EXPECT_EQ(slots[i], static_cast<long>(i) + 2) << "slot " << i + 1;
    }
}

TEST(CamPortLock, WithoutALockNothingBlocks) {
    TestPort port;
    EXPECT_EQ(port.Lock(0xFFFFFFFFu), 0u);
    port.Unlock();
    EXPECT_EQ(port.Lock(0), 0u);
}

class CamPortSemaphore : public ::testing::Test {
protected:
    void SetUp() override {
        name_ = "/zp_camport_test_" + std::to_string(getpid());
        sem_unlink(name_.c_str());
        lock_ = OS_SemCreate(1, name_.c_str());
        ASSERT_NE(lock_, nullptr);
    }
    void TearDown() override {
        EXPECT_EQ(OS_SemDestroy(lock_), 0);
        sem_unlink(name_.c_str());
    }
    std::string name_;
    OS_SEMAPHORE lock_ = nullptr;
};

TEST_F(CamPortSemaphore, LockWaitsOnTheOuterLockAndUnlockReleasesIt) {
    TestPort port;
    port.m_hLock = lock_;
    EXPECT_EQ(port.Lock(0xFFFFFFFFu), 0u);
    EXPECT_EQ(port.Lock(200), 3u);  // held: the wait runs out
    port.Unlock();
    EXPECT_EQ(port.Lock(1000), 0u);
    port.Unlock();
    port.m_hLock = nullptr;
}

TEST_F(CamPortSemaphore, DestructorLeavesTheLockToItsOwner) {
    {
        TestPort port;
        port.m_hLock = lock_;
    }
    EXPECT_EQ(OS_SemWait(lock_, 1000), 0);
    EXPECT_EQ(OS_SemRelease(lock_), 0);
}

TEST(CamPortTrace, EnableTraceForwardsIdNameAndMode) {
    TestPort port;
    port.EnableTrace(7, "/nonexistent-zp-dir/port.log", 2);
    EXPECT_EQ(port.m_Trace.IsLogEnabled(), 2);
    EXPECT_STREQ(port.m_Trace.LogPath(), "/nonexistent-zp-dir/port_0000000007.log");
}

void NoteAnnouncement(void*, char*) {}

TEST(CamPortDefaults, StoringDefaults) {
    TestPort port;
    unsigned short trash = 0xBEEF;
    EXPECT_EQ(port.GetBufferTrashSize(&trash), 1u);
    EXPECT_EQ(trash, 0u);

    int context = 0;
    EXPECT_EQ(port.SetAnnouncementCallback(NoteAnnouncement, &context), 1u);
    EXPECT_EQ(port.m_pfnAnnouncementCallback, &NoteAnnouncement);
    EXPECT_EQ(port.m_pAnnouncementContext, &context);
    EXPECT_EQ(port.SetAnnouncementCallback(nullptr, nullptr), 1u);
    EXPECT_EQ(port.m_pfnAnnouncementCallback, nullptr);
    EXPECT_EQ(port.m_pAnnouncementContext, nullptr);

    EXPECT_EQ(port.SetConnectionFlag(0xA5A5u), 1u);
    EXPECT_EQ(port.m_dwConnectionFlag, 0xA5A5u);

    EXPECT_EQ(port.PreReadImage(11, 22, 33), 0u);  // stored, yet reported as 0
    EXPECT_EQ(port.m_dwPendingRead[0], 11u);
    EXPECT_EQ(port.m_dwPendingRead[1], 22u);
    EXPECT_EQ(port.m_dwPendingRead[2], 33u);
}

TEST(CamPortDefaults, ErrorCodeIsReadWithoutSideEffect) {
    TestPort port;
    EXPECT_EQ(port.GetErrorCode(), 0u);
    port.m_nErrorCode = 2008;
    EXPECT_EQ(port.GetErrorCode(), 2008u);
    EXPECT_EQ(port.GetErrorCode(), 2008u);
}

struct NamedCall {
    const char* name;
    unsigned int (*call)(TestPort&);
};

TEST(CamPortDefaults, AcceptingDefaultsReturnOne) {
    const NamedCall calls[] = {
        {"PrepareForRead(int)", [](TestPort& p) { return p.PrepareForRead(5); }},
        {"PrepareForRead()", [](TestPort& p) { return p.PrepareForRead(); }},
        {"StopReading", [](TestPort& p) { return p.StopReading(1, 2); }},
        {"WriteQR52Register", [](TestPort& p) { return p.WriteQR52Register(0xFFFF); }},
        {"SetFrameSize", [](TestPort& p) { return p.SetFrameSize(128, 128); }},
        {"OpenGrab", [](TestPort& p) { return p.OpenGrab(1, 2, 3); }},
        {"CloseGrab", [](TestPort& p) { return p.CloseGrab(0); }},
        {"WriteDACs", [](TestPort& p) {
             unsigned int values[2] = {1, 2};
             return p.WriteDACs(values, 2);
         }},
    };
    for (const NamedCall& c : calls) {
        TestPort port;
        EXPECT_EQ(c.call(port), 1u) << c.name;
        EXPECT_EQ(port.m_nErrorCode, 0u) << c.name;
    }
}

TEST(CamPortDefaults, UnsupportedDefaultsReturnZeroAndTouchNothing) {
    const NamedCall calls[] = {
        {"WiFiEnumAccessPoints", [](TestPort& p) { return p.WiFiEnumAccessPoints(nullptr, nullptr); }},
        {"WiFiSendCommand", [](TestPort& p) { return p.WiFiSendCommand(nullptr, 1, nullptr); }},
        {"SetIpAddress", [](TestPort& p) { return p.SetIpAddress(nullptr, 0x7F000001u, 0); }},
        {"GetIpAddress", [](TestPort& p) {
             unsigned int a = 7, b = 7;
             const unsigned int r = p.GetIpAddress(nullptr, &a, &b);
             return r + (a != 7 || b != 7 ? 100u : 0u);
         }},
        {"SetDefaultGw", [](TestPort& p) { return p.SetDefaultGw(nullptr, 1); }},
        {"SetCmdPort", [](TestPort& p) { return p.SetCmdPort(nullptr, 1027); }},
        {"ReadRegister", [](TestPort& p) {
             unsigned char v = 7;
             return p.ReadRegister(1, &v) + (v != 7 ? 100u : 0u);
         }},
        {"WriteRegister", [](TestPort& p) { return p.WriteRegister(1, 2); }},
        {"WriteRegisterBlock", [](TestPort& p) { return p.WriteRegisterBlock(1, nullptr, 0, 0); }},
        {"ReadRegisterBlock", [](TestPort& p) { return p.ReadRegisterBlock(1, nullptr, 0, 0); }},
        {"ReadData", [](TestPort& p) { return p.ReadData(nullptr, 0); }},
        {"EraseMemory", [](TestPort& p) { return p.EraseMemory(); }},
        {"ReadADCMemory", [](TestPort& p) { return p.ReadADCMemory(nullptr, 0); }},
        {"WriteADCMemory", [](TestPort& p) { return p.WriteADCMemory(nullptr, 0); }},
        {"GetStatus1", [](TestPort& p) {
             unsigned char s = 7;
             return p.GetStatus1(&s) + (s != 7 ? 100u : 0u);
         }},
        {"GetStatus2", [](TestPort& p) {
             unsigned int s = 7;
             return p.GetStatus2(&s) + (s != 7 ? 100u : 0u);
         }},
        {"WriteData1", [](TestPort& p) { return p.WriteData1(nullptr, 0); }},
        {"ReadImage", [](TestPort& p) { return p.ReadImage(1, 2, 3, nullptr, 0, 0, 0, nullptr); }},
        {"ReadWriteEEPROM", [](TestPort& p) { return p.ReadWriteEEPROM(0, nullptr, 0); }},
        {"ReadWriteSensorRegs", [](TestPort& p) { return p.ReadWriteSensorRegs(0, nullptr, 0); }},
        {"FlushSensor", [](TestPort& p) { return p.FlushSensor(); }},
        {"GetAddressList", [](TestPort& p) { return p.GetAddressList(0, 0, nullptr); }},
        {"GetTotRecFrames", [](TestPort& p) {
             unsigned int n = 7;
             return p.GetTotRecFrames(&n) + (n != 7 ? 100u : 0u);
         }},
        {"ConfigureWriteToDisk", [](TestPort& p) { return p.ConfigureWriteToDisk(0, "a", "b", 0); }},
        {"ReadBkgAndPSCBuffers", [](TestPort& p) {
             return p.ReadBkgAndPSCBuffers(nullptr, nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0);
         }},
        {"SendCmdAndGetRsp", [](TestPort& p) {
             _CMD_HDR command{};
             _RSP_HDR response{};
             return p.SendCmdAndGetRsp(&command, &response, 8, 3000000, 0, 0);
         }},
    };
    for (const NamedCall& c : calls) {
        TestPort port;
        EXPECT_EQ(c.call(port), 0u) << c.name;
        EXPECT_EQ(port.m_nErrorCode, 0u) << c.name;
    }
}

// Every operation over the binary frame fails on the base transport and leaves its outputs alone.
TEST(CamPortBinary, OperationsFailWithoutATransport) {
    const NamedCall calls[] = {
        {"GetPortParameter", [](TestPort& p) {
             unsigned int v = 7;
             return p.GetPortParameter(ZPP_GAIN, &v) + (v != 7 ? 100u : 0u);
         }},
        {"GetPortBrocParameter", [](TestPort& p) {
             unsigned int v = 7;
             return p.GetPortBrocParameter(ZPP_GAIN, &v) + (v != 7 ? 100u : 0u);
         }},
        {"WriteData2", [](TestPort& p) { return p.WriteData2(nullptr, 0); }},
        {"ReadCameraInfo", [](TestPort& p) {
             unsigned int a = 7, b = 7;
             return p.ReadCameraInfo(1, &a, &b) + (a != 7 || b != 7 ? 100u : 0u);
         }},
        {"WriteCameraInfo", [](TestPort& p) { return p.WriteCameraInfo(1, 2, 3); }},
        {"WriteCameraName", [](TestPort& p) { return p.WriteCameraName("cam"); }},
        {"ReadCameraName", [](TestPort& p) {
             char name[256] = "x";
             return p.ReadCameraName(name) + (std::strcmp(name, "x") != 0 ? 100u : 0u);
         }},
        {"Attach", [](TestPort& p) { return p.Attach(); }},
        {"Detach", [](TestPort& p) { return p.Detach(); }},
        {"GetParameter", [](TestPort& p) {
             int v = 7;
             return p.GetParameter(1, v) + (v != 7 ? 100u : 0u);
         }},
        {"GetBrocParameter", [](TestPort& p) { return p.GetBrocParameter(0, nullptr); }},
        {"SetParameter", [](TestPort& p) { return p.SetParameter(1, 2); }},
        {"ReadToVideo", [](TestPort& p) { return p.ReadToVideo(1, 2, 3); }},
        {"StartGrab", [](TestPort& p) { return p.StartGrab(1, 2, 3, 4, 5); }},
        {"StopGrab", [](TestPort& p) {
             unsigned int v = 7;
             return p.StopGrab(&v) + (v != 7 ? 100u : 0u);
         }},
        {"GetTriggerPos", [](TestPort& p) {
             unsigned int a = 7, b = 7;
             return p.GetTriggerPos(&a, &b) + (a != 7 || b != 7 ? 100u : 0u);
         }},
        {"GetCameraStatus", [](TestPort& p) {
             unsigned int s = 7;
             return p.GetCameraStatus(s) + (s != 7 ? 100u : 0u);
         }},
        {"Trigger", [](TestPort& p) { return p.Trigger(); }},
        {"Reset", [](TestPort& p) { return p.Reset(); }},
        {"WriteLongRegister", [](TestPort& p) { return p.WriteLongRegister(0x100, 1); }},
        {"ReadWriteCameraComment", [](TestPort& p) { return p.ReadWriteCameraComment(0, nullptr); }},
        {"FlashOperation", [](TestPort& p) { return p.FlashOperation(0, nullptr); }},
        {"WriteClockSpeed", [](TestPort& p) { return p.WriteClockSpeed(1, 2, nullptr); }},
        {"Debug", [](TestPort& p) { return p.Debug(1, 2, nullptr); }},
        {"WriteCurrCalib", [](TestPort& p) { return p.WriteCurrCalib(1, 2, 3, 4, nullptr); }},
        {"ReadMemory", [](TestPort& p) {
             unsigned char b[4] = {7, 7, 7, 7};
             return p.ReadMemory(static_cast<ZP_MEM_TYPE>(1), 0, 0, b, 4) + (b[0] != 7 ? 100u : 0u);
         }},
        {"WriteMemory", [](TestPort& p) {
             unsigned char b[4] = {};
             return p.WriteMemory(static_cast<ZP_MEM_TYPE>(1), 0, 0, b, 4);
         }},
        {"PlayBackVideo", [](TestPort& p) { return p.PlayBackVideo(1, 2, 3, 4, 5, 6); }},
        {"PlayBackVideoStatus", [](TestPort& p) { return p.PlayBackVideoStatus(nullptr, nullptr, nullptr); }},
        {"SetPllPhase", [](TestPort& p) { return p.SetPllPhase(1, 2); }},
        {"ConfigureSteps", [](TestPort& p) {
             _PROGSTEPS_DATA program{};
             program.control = 0x30000u | (20u << 8);
             return p.ConfigureSteps(&program) + (program.control != (0x30000u | (20u << 8)) ? 100u : 0u);
         }},
        {"ReadRecordedSegments", [](TestPort& p) {
             unsigned int n = 0;
             return p.ReadRecordedSegments(nullptr, &n);
         }},
        {"SendParameter", [](TestPort& p) { return p.SendParameter(63, 1); }},
        {"SendTiming", [](TestPort& p) { return p.SendTiming(nullptr); }},
        {"GetTime", [](TestPort& p) { return p.GetTime(nullptr, nullptr, nullptr, nullptr, nullptr); }},
        {"ReadTemperature", [](TestPort& p) {
             unsigned int a = 7, b = 7;
             return p.ReadTemperature(&a, &b) + (a != 7 || b != 7 ? 100u : 0u);
         }},
        {"ReadFwInfoStruct", [](TestPort& p) { return p.ReadFwInfoStruct(); }},
    };
    for (const NamedCall& c : calls) {
        TestPort port;
        EXPECT_EQ(c.call(port), 0u) << c.name;
        EXPECT_EQ(port.m_nErrorCode, 0u) << c.name;
    }
}

TEST(CamPortBinary, FailedLongRegisterReadYieldsZero) {
    TestPort port;
    unsigned int value = 0xDEADBEEFu;
    EXPECT_EQ(port.ReadLongRegister(4, &value), 0u);
    EXPECT_EQ(value, 0u);
}

TEST(CamPortTables, RegisterConstraintsAreKeptInRegisterOrder) {
    TestPort port;
    _ZP_REGISTER_CONSTRAINT in[] = {{732, 0x0F, 0x10}, {5, 1, 2}, {732, 0xF0, 0x01}, {100, 0, 0}};
    EXPECT_EQ(port.SetRegisterConstraints(in, 4), 1u);

    unsigned int count = 99;
    EXPECT_EQ(port.GetRegisterConstraints(nullptr, &count), 1u);
    EXPECT_EQ(count, 3u);

    _ZP_REGISTER_CONSTRAINT out[4] = {};
    count = 4;
    EXPECT_EQ(port.GetRegisterConstraints(out, &count), 1u);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(out[0].reg, 5u);
    EXPECT_EQ(out[1].reg, 100u);
    EXPECT_EQ(out[2].reg, 732u);  // the later record's masks win
    EXPECT_EQ(out[2].clearMask, 0xF0u);
    EXPECT_EQ(out[2].setMask, 0x01u);

    _ZP_REGISTER_CONSTRAINT two[2] = {};
    count = 2;
    EXPECT_EQ(port.GetRegisterConstraints(two, &count), 1u);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(two[1].reg, 100u);

    EXPECT_EQ(port.SetRegisterConstraints(nullptr, 3), 1u);
    count = 99;
    EXPECT_EQ(port.GetRegisterConstraints(nullptr, &count), 1u);
    EXPECT_EQ(count, 0u);
}

TEST(CamPortTables, ToneTableCopiesAtMost4096Entries) {
    TestPort port;
    std::vector<unsigned short> buffer(5000, 0xAAAA);
    EXPECT_EQ(port.ReadWriteLookupTable(0, buffer.data(), 5000), 1u);
    EXPECT_EQ(buffer[0], 0u);
    EXPECT_EQ(buffer[4095], 4095u);
    EXPECT_EQ(buffer[4096], 0xAAAAu);

    std::vector<unsigned short> table(3, 0x1234);
    EXPECT_EQ(port.ReadWriteLookupTable(1, table.data(), 3), 1u);
    EXPECT_EQ(port.m_wToneTable[2], 0x1234u);
    EXPECT_EQ(port.m_wToneTable[3], 3u);
}

TEST(CamPortTables, FirmwareInformationCopiesAtMost128Bytes) {
    TestPort port;
    port.m_abyFwInfo[127] = 0x5A;
    std::vector<unsigned char> buffer(200, 0xAA);
    EXPECT_EQ(port.ReadFwInfo(buffer.data(), 200), 1u);
    EXPECT_EQ(buffer[0], 0u);
    EXPECT_EQ(buffer[127], 0x5Au);
    EXPECT_EQ(buffer[128], 0xAAu);
}

TEST(CamPortRecords, SizesAndKeyPositions) {
    EXPECT_EQ(sizeof(_ZP_ENUMITEMEX), 1004u);
    EXPECT_EQ(sizeof(_ZP_ENUMITEM), 1004u);
    EXPECT_EQ(offsetof(_ZP_ENUMITEMEX, adapterMaskText), 868u);
    EXPECT_EQ(offsetof(_ZP_ENUMITEMEX, cmdAddress), 996u);
    EXPECT_EQ(offsetof(_VENDOR_INFO, variantCode), 408u);
    EXPECT_EQ(sizeof(_CMD_HDR) + sizeof(_RSP_HDR), 16u);
    EXPECT_EQ(sizeof(_PROGSTEPS_DATA), 4808u);
    EXPECT_EQ(sizeof(_ZP_REGISTER_CONSTRAINT), 12u);
}

}  // namespace
