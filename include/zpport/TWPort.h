// CTWPort: the Ethernet port of the TW cameras. Every command is one ASCII line in a UDP
// datagram to port 1027 of the camera; a listener thread follows the camera's announcements
// and keeps the link alive.
#ifndef ZPPORT_TWPORT_H
#define ZPPORT_TWPORT_H

#include <atomic>

#include "CamPort.h"
#include "OSLayer.h"
#include "ZpExport.h"
#include "ZpPortTW.h"

class ZP_EXPORT CTWPort : public CCamPort {
public:
    CTWPort();
    ~CTWPort() override;

    // Session: open with one enumeration item (1 success, 0 failure), close (no result).
    unsigned int Open(_ZP_ENUMITEMEX* item);
    void Close();

    // Link-wide setting: the adapter address discovery uses. The other arguments are ignored.
    static void LinkInit(unsigned int enumAddress, unsigned int reserved, const char* name);
    static void LinkDeinit();

    // Command lock around each exchange; 0 at once while it does not exist.
    unsigned int KALock(unsigned int timeout);
    void KAUnLock();

    // One ASCII exchange: 1 accepted, 0..255 the camera's other result code, -1 link lost /
    // socket / wait / read failure, -2 no reply within the attempts, -4 short send.
    // A timeout of -1 sends once and expects no reply. reply may be the same buffer as command.
    int SendCmdAndGetRsp(char* command, char* reply, int replySize, char* cameraAddress, int timeout,
                         int attempts, int force);
    using CCamPort::SendCmdAndGetRsp;

    unsigned int GetVendorInfo(_VENDOR_INFO* info);
    void GetControllersVersion(unsigned int& first, unsigned int& second);
    unsigned int GetLatestFrameIndex(unsigned int* index);
    unsigned int ReadSysDataFromFlash(unsigned int which, unsigned int* value);
    void IPAddressToMACAddress(unsigned int address, unsigned int& low, unsigned int& high);

    // Discovery.
    void Enumerate(_ZP_ENUMITEMEX* items, unsigned int* count, unsigned int existing);
    unsigned int GetEnumInfo(_ZP_ENUMITEMEX* item);

    // Overrides of the common interface (table order).
    unsigned int SetIpAddress(_ZP_ENUMITEMEX* item, unsigned int address, unsigned int second) override;
    unsigned int GetIpAddress(_ZP_ENUMITEMEX* item, unsigned int* address, unsigned int* second) override;
    unsigned int ReadRegister(unsigned char reg, unsigned char* value) override;
    unsigned int WriteRegister(unsigned char reg, unsigned char value) override;
    unsigned int ReadData(void* buffer, unsigned int size) override;
    unsigned int GetPortParameter(ZP_PARAM parameter, unsigned int* value) override;
    unsigned int EraseMemory() override;
    unsigned int GetStatus2(unsigned int* status) override;
    unsigned int WriteData2(void* data, unsigned int size) override;
    unsigned int ReadFlashMemoryBlocks(unsigned int first, unsigned int count, void* buffer) override;
    unsigned int ReadCameraInfo(unsigned int item, unsigned int* value1, unsigned int* value2) override;
    unsigned int WriteCameraName(char const* name) override;
    unsigned int Attach() override;
    unsigned int StopGrab(unsigned int* value) override;
    unsigned int Trigger() override;
    unsigned int Reset() override;
    unsigned int ReadWriteCameraComment(unsigned int write, void* comment) override;

    // Exported calls in progress on the port: Close refuses new ones (false) and waits for these
    // to leave before the object may go.
    bool EnterCall() {
        m_nCallsInProgress.fetch_add(1);
        if (m_dwClosing.load() == 0) return true;
        LeaveCall();
        return false;
    }
    void LeaveCall() { m_nCallsInProgress.fetch_sub(1); }

    // Adapter address given to LinkInit; 0 means every adapter.
    static unsigned int m_nEnumIPAdd;
    // Receive buffer asked for the image data socket: a whole frame can queue while the thread waits.
    static constexpr int kDataReceiveBufferSize = 6786048;

protected:
    // Listener set-up and shut-down; the listener thread owns the socket once it runs.
    bool StartListener();
    void StopListener();
    static void* AnnouncementsThread(void* port);
    void ListenLoop(int socket);
    int TakeAnnouncement(int socket, char* buffer, unsigned int cameraAddress);
    void KeepAlive(char* buffer, unsigned int& failures);
    void Announce(char* buffer, const char* sender);
    void DestroyLocks();
    unsigned int SendOpenSequence();

    // An ordinary command to the port's camera: the line is formatted into buffer, which then
    // receives the reply. Returns the link's result.
    int Command(char* buffer, int timeout, const char* format, ...) __attribute__((format(printf, 4, 5)));
    int SendLine(char* buffer, int timeout);
    // Settings upload steps (settings_upload.cpp); false or 0 when a command failed.
    unsigned int RequestRecording(const _RECORDING_REQUEST& request);
    unsigned int UploadSettings(_CAMERA_SETTINGS& settings);
    bool UploadLinkSettings(_CAMERA_SETTINGS& settings, const _CAMERA_SETTINGS& old);
    bool UploadAcquisition(const _CAMERA_SETTINGS& settings, const _CAMERA_SETTINGS& old);
    bool UploadInputs(const _CAMERA_SETTINGS& settings, const _CAMERA_SETTINGS& old);
    int ReadReply(int socket, char* reply, int replySize);
    // Image download: one transfer (0 or a negative step code; size becomes the image length),
    // one segment train into the buffer (1 when complete), and the steps of ReadData.
    int MyReadData(void* buffer, unsigned int* size, unsigned char address, char* cameraAddress,
                   unsigned int liveMode, unsigned int frameNumber, unsigned short attempt);
    int ImageFunction(int socket, char* buffer, int size, int& imageLength, int timeout);
    bool PrepareDownload(unsigned int readFlags);
    bool RetryDownload(unsigned short attempt, bool live, unsigned int readFlags, void* buffer,
                       unsigned int size);
    bool DeliverImage(void* buffer, unsigned int size, unsigned int imageLength, bool live,
                      unsigned int readFlags);
    unsigned int FinishDownload();

    std::atomic<int> m_nAnnSocket;                 // announcement socket; 0 when there is none
    char m_szCameraAddress[32];                    // dotted text, destination of every command
    std::atomic<unsigned char> m_byCameraAddress;  // bus address, first two digits of a line
    std::atomic<unsigned char> m_byCameraState;    // last state reported; 0x11 after link loss
    std::atomic<unsigned int> m_dwStopListener;
    std::atomic<unsigned int> m_dwLinkLost;
    std::atomic<OS_SEMAPHORE> m_hKALock;  // command lock; made at the end of a good open
    unsigned int m_dwAdapterAddress;   // host adapter of the multicast join
    unsigned int m_dwOptionFlag;       // option value 1 at open: command 0x71 is sent
    unsigned int m_dwState[6];         // upload and download state words (named in tw_port_internal.h)
    unsigned int m_dwFwVersion[2];     // controller versions kept by discovery
    unsigned char* m_pDownloadBuffer;  // JPEG header buffer, made on first use; freed by the destructor
    OS_THREAD m_hListener;             // announcement listener thread, null when none
    unsigned char m_abySettings[1024];  // last settings record applied completely (all zero at first)
    unsigned int m_dwLastLiveFrame;     // last live frame index; 0xFFFFFFFF: none
    unsigned char m_abyBorder[1024];    // border block of the last image received
    unsigned short m_wLiveSelector;     // live data-port selector; no setter, stays 0
    std::atomic<unsigned int> m_dwTransferActive;  // a download is in progress
    unsigned char m_byLookupConversion;  // converts raw frames through the tone table; no setter, stays 0
    std::atomic<int> m_nCallsInProgress{0};         // exported calls inside the port
    std::atomic<unsigned int> m_dwClosing{0};        // set by Close: downloads end, calls are refused
    std::atomic<unsigned int> m_dwCappedBufferTraced{0};  // the small data receive buffer was traced
};

#endif  // ZPPORT_TWPORT_H
