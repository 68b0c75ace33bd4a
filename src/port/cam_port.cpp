// CCamPort: construction, the outer lock, tracing and the defaults of the operations
// that a port without a given capability reports as unsupported (0) or accepts (1).
#include <zpport/CamPort.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr unsigned int kWaitWithoutLimit32 = 0xFFFFFFFFu;
constexpr unsigned int kToneTableSize = 4096;

}  // namespace

CCamPort::CCamPort()
    : m_nErrorCode(0),
      m_hLock(nullptr),
      m_dwPortState{},
      m_dwDefaultOn(1),
      m_abyBlock16{},
      m_dwTransferLimit{},
      m_dwConnectionFlag(0),
      m_abyRegisterShadow{},
      m_dwPendingPrepare(0),
      m_dwCameraType(0),
      m_abyBlock12{},
      m_wToneTable{},
      m_dwColorMatrixCache{},
      m_wLastLookupTable{},
      m_dwWords{},
      m_dwPendingRead{},
      m_abyFwInfo{},
      m_pfnAnnouncementCallback(nullptr),
      m_pAnnouncementContext(nullptr),
      m_wFlag(0),
      m_dwTraceChannel(0),
      m_dwSpare(0) {
    std::memset(m_abyRegisterShadow, 0xFF, sizeof(m_abyRegisterShadow));
    for (unsigned int i = 0; i < kToneTableSize; ++i) m_wToneTable[i] = static_cast<unsigned short>(i);
    std::fill(std::begin(m_dwColorMatrixCache), std::end(m_dwColorMatrixCache), 0xFFFFFFFFu);
    std::fill(std::begin(m_wLastLookupTable), std::end(m_wLastLookupTable), 0xFFFF);
}

// The outer lock belongs to the concrete port's open and close; it is not released here.
CCamPort::~CCamPort() = default;

unsigned int CCamPort::Lock(unsigned int timeout) {
    if (m_hLock == nullptr) return 0;
    const uint64_t waitMs = timeout == kWaitWithoutLimit32 ? OS_INFINITE : timeout;
    return static_cast<unsigned int>(OS_SemWait(m_hLock, waitMs));
}

void CCamPort::Unlock() {
    if (m_hLock != nullptr) OS_SemRelease(m_hLock);
}

void CCamPort::EnableTrace(unsigned int id, const char* name, unsigned int mode) {
    m_Trace.EnableTrace(id, name, static_cast<int>(mode));
}

unsigned int CCamPort::WiFiEnumAccessPoints(_ZP_ENUMITEMEX*, _RSP_WIFISCAN_DATA*) {
    return 0;
}
unsigned int CCamPort::WiFiSendCommand(_ZP_ENUMITEMEX*, unsigned int, void*) {
    return 0;
}
unsigned int CCamPort::SetIpAddress(_ZP_ENUMITEMEX*, unsigned int, unsigned int) {
    return 0;
}
unsigned int CCamPort::GetIpAddress(_ZP_ENUMITEMEX*, unsigned int*, unsigned int*) {
    return 0;
}
unsigned int CCamPort::SetDefaultGw(_ZP_ENUMITEMEX*, unsigned int) {
    return 0;
}
unsigned int CCamPort::SetCmdPort(_ZP_ENUMITEMEX*, unsigned int) {
    return 0;
}
unsigned int CCamPort::ReadRegister(unsigned char, unsigned char*) {
    return 0;
}
unsigned int CCamPort::WriteRegister(unsigned char, unsigned char) {
    return 0;
}
unsigned int CCamPort::WriteRegisterBlock(unsigned char, unsigned char*, int, int) {
    return 0;
}
unsigned int CCamPort::ReadRegisterBlock(unsigned char, unsigned char*, int, int) {
    return 0;
}

unsigned int CCamPort::GetBufferTrashSize(unsigned short* size) {
    if (size != nullptr) *size = 0;
    return 1;
}

unsigned int CCamPort::ReadData(void*, unsigned int) {
    return 0;
}
void CCamPort::BackupSizeY() {}
void CCamPort::RestoreSizeY() {}
unsigned int CCamPort::EraseMemory() {
    return 0;
}
unsigned int CCamPort::ReadADCMemory(void*, unsigned int) {
    return 0;
}
unsigned int CCamPort::WriteADCMemory(void*, unsigned int) {
    return 0;
}
unsigned int CCamPort::PrepareForRead(int) {
    return 1;
}
unsigned int CCamPort::PrepareForRead() {
    return 1;
}
unsigned int CCamPort::StopReading(int, int) {
    return 1;
}
unsigned int CCamPort::WriteQR52Register(unsigned short) {
    return 1;
}
unsigned int CCamPort::GetStatus1(unsigned char*) {
    return 0;
}
unsigned int CCamPort::GetStatus2(unsigned int*) {
    return 0;
}
unsigned int CCamPort::WriteData1(void*, unsigned int) {
    return 0;
}
unsigned int CCamPort::SetFrameSize(unsigned int, unsigned int) {
    return 1;
}

// A null function switches the callback off; the call succeeds either way.
unsigned int CCamPort::SetAnnouncementCallback(ZP_ANNOUNCEMENT_CALLBACK callback, void* context) {
    m_pfnAnnouncementCallback.store(nullptr);
    m_pAnnouncementContext.store(context);
    m_pfnAnnouncementCallback.store(callback);
    return 1;
}

// The setter clears the function before it changes the context, so a context read before and
// after the function that did not change belongs to that function.
ZP_ANNOUNCEMENT_CALLBACK CCamPort::AnnouncementTarget(void** context) const {
    for (;;) {
        void* const before = m_pAnnouncementContext.load();
        const ZP_ANNOUNCEMENT_CALLBACK callback = m_pfnAnnouncementCallback.load();
        void* const after = m_pAnnouncementContext.load();
        if (before == after) {
            *context = after;
            return callback;
        }
    }
}

// Kept for applications: stores the request yet reports 0, as no base read follows it.
unsigned int CCamPort::PreReadImage(unsigned int a, unsigned int b, unsigned int c) {
    m_dwPendingRead[0] = a;
    m_dwPendingRead[1] = b;
    m_dwPendingRead[2] = c;
    return 0;
}

unsigned int CCamPort::ReadImage(unsigned int, unsigned int, unsigned int, unsigned char*, unsigned int, int,
                                 unsigned int, unsigned int*) {
    return 0;
}

unsigned int CCamPort::OpenGrab(unsigned int, int, int) {
    return 1;
}
unsigned int CCamPort::CloseGrab(int) {
    return 1;
}
unsigned int CCamPort::WriteDACs(unsigned int*, unsigned int) {
    return 1;
}
unsigned int CCamPort::ReadWriteEEPROM(unsigned int, void*, unsigned int) {
    return 0;
}
unsigned int CCamPort::ReadWriteSensorRegs(unsigned int, void*, unsigned int) {
    return 0;
}
unsigned int CCamPort::FlushSensor() {
    return 0;
}

unsigned int CCamPort::SetConnectionFlag(unsigned int flag) {
    m_dwConnectionFlag = flag;
    return 1;
}

unsigned int CCamPort::GetAddressList(unsigned int, unsigned int, unsigned int*) {
    return 0;
}
unsigned int CCamPort::GetTotRecFrames(unsigned int*) {
    return 0;
}
unsigned int CCamPort::ConfigureWriteToDisk(unsigned int, char const*, char const*, unsigned int) {
    return 0;
}

unsigned int CCamPort::ReadBkgAndPSCBuffers(void*, void*, void*, unsigned int, void*, void*, void*,
                                            unsigned int) {
    return 0;
}

unsigned int CCamPort::GetErrorCode() {
    return m_nErrorCode;
}

unsigned int CCamPort::SendCmdAndGetRsp(_CMD_HDR*, _RSP_HDR*, int, int, int, int) {
    return 0;
}

// Host-side tables: kept by the port itself, no exchange with the camera.

unsigned int CCamPort::ReadWriteLookupTable(unsigned int write, void* buffer, unsigned int count) {
    if (buffer == nullptr) return 1;
    const size_t bytes = std::min(count, kToneTableSize) * sizeof(m_wToneTable[0]);
    if (write != 0) {
        std::memcpy(m_wToneTable, buffer, bytes);
    } else {
        std::memcpy(buffer, m_wToneTable, bytes);
    }
    return 1;
}

unsigned int CCamPort::ReadFwInfo(void* buffer, unsigned int size) {
    if (buffer == nullptr) return 1;
    std::memcpy(buffer, m_abyFwInfo, std::min<size_t>(size, sizeof(m_abyFwInfo)));
    return 1;
}
