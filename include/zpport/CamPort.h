// CCamPort: the base of every camera port. It fixes the camera interface as an ordered
// table of virtual operations, gives each a default and keeps the state that the
// binary-protocol operations share. Concrete ports override what their transport supports.
#ifndef ZPPORT_CAMPORT_H
#define ZPPORT_CAMPORT_H

#include <atomic>
#include <map>
#include <utility>

#include "OSLayer.h"
#include "XTrace.h"
#include "CameraSettings.h"
#include "ZpExport.h"
#include "ZpPortTW.h"

class ZP_EXPORT CCamPort {
public:
    CCamPort();
    // The destructor comes first among the virtual functions: its two table entries precede
    // the operations, whose order below is part of the ABI and must never change.
    virtual ~CCamPort();

    CCamPort(const CCamPort&) = delete;
    CCamPort& operator=(const CCamPort&) = delete;

    // Outer lock, taken by the host around a group of calls; 0 at once while it does not exist.
    unsigned int Lock(unsigned int timeout);
    void Unlock();
    void EnableTrace(unsigned int id, const char* name, unsigned int mode);
    // The error code survives successful operations until the host clears it here.
    void ResetErrorCode() { m_nErrorCode = 0; }

    // SD-card storage behind camera registers 96-100: mode 1 is the card's native four-line bus,
    // any other mode its SPI mode. Results 1/0 unless stated.
    unsigned int OpenFlashMemory(unsigned int mode, unsigned int second);
    unsigned int CloseFlashMemory();  // always 1
    unsigned char WriteFlashCommand(unsigned char cmd, unsigned int arg);  // the card's R1 byte
    // response[0] = R1, then 5 more bytes (16 with longResponse): 6 or 17 bytes in all.
    unsigned int WriteFlashSDCommand(unsigned char cmd, unsigned int arg, unsigned char* response,
                                     int longResponse);
    unsigned int WriteFlashSDACommand(unsigned char cmd, unsigned int arg, unsigned char* response,
                                      int longResponse);
    unsigned int ReadFlashMemorySize(unsigned int* megabytes);
    unsigned int WriteFlashMemoryBlocks(unsigned int block, unsigned int count, void* data);
    // System-data block 0: kind 0 the system word, 1 the camera name, 2 the comment.
    unsigned int ReadSysDataFromFlash(unsigned int kind, char* out);
    unsigned int WriteSysDataToFlash(unsigned int kind, const char* in);
    // SD command checksum: CRC-7 (x^7 + x^3 + 1) in the top seven bits, end bit set.
    static unsigned char CRC7(unsigned char seed, unsigned char* data, int length);

    // Session, status and registers over the binary frame (non-virtual helpers).
    // Camera hardware error 10000..10002 as port error 4..6; 0 for any other code.
    unsigned int ConvertHwErrorCode(unsigned int code);
    // The camera's stored name from its flash card into the item's cameraName; 1/0.
    unsigned int ReadName(_ZP_ENUMITEM* item);

    // Parameters and register constraints (non-virtual helpers).
    // The value as it reaches register `reg`: (value | set mask) & ~clear mask of its constraint.
    unsigned int ApplyRegisterConstraint(unsigned int reg, unsigned int value) const;
    // Sensor model and Bayer layout of a camera type (0: unknown type).
    static unsigned int DetectSensorModel(unsigned int cameraType, int variant, unsigned int colour);
    static unsigned int DetectBayerPattern(unsigned int cameraType, int variant);

    // Memory, recorded segments and firmware information (non-virtual helpers).
    // Number of recorded segments among indices 1-63 (ReadRecordedSegments asks up to 64); 1 when any.
    unsigned int ReadRecordedSegmentCount(unsigned int* count);

    // Flash block transfers and program steps (non-virtual helpers).

    // Settings, filter and tone-table upload over the binary frame (non-virtual helpers).
    // SendParameter up to five times, 1 ms apart; the first non-zero result, or 0.
    unsigned int SendParameterEx(unsigned int parameter, unsigned int value);
    // 1 without sending when the values are equal, else SendParameterEx(parameter, newValue).
    unsigned int CheckAndSendParameter(unsigned int parameter, unsigned int newValue, unsigned int oldValue);
    // Colour matrix, tone table, threshold and denoise tables from a settings record; 1/0.
    unsigned int SetFilter(_CAMERA_SETTINGS* settings);
    // A 4096-entry tone table in four blocks; model and pixelBits are accepted and not used.
    unsigned int SendLookupTable(unsigned int model, unsigned int pixelBits, unsigned short* table,
                                 unsigned int flags);

    // Operations, in table order. Results: non-zero success, 0 failure (unsupported).
    virtual unsigned int WiFiEnumAccessPoints(_ZP_ENUMITEMEX* item, _RSP_WIFISCAN_DATA* data);
    virtual unsigned int WiFiSendCommand(_ZP_ENUMITEMEX* item, unsigned int command, void* data);
    virtual unsigned int SetIpAddress(_ZP_ENUMITEMEX* item, unsigned int address, unsigned int second);
    virtual unsigned int GetIpAddress(_ZP_ENUMITEMEX* item, unsigned int* address, unsigned int* second);
    virtual unsigned int SetDefaultGw(_ZP_ENUMITEMEX* item, unsigned int gateway);
    virtual unsigned int SetCmdPort(_ZP_ENUMITEMEX* item, unsigned int port);
    virtual unsigned int ReadRegister(unsigned char reg, unsigned char* value);
    virtual unsigned int WriteRegister(unsigned char reg, unsigned char value);
    virtual unsigned int WriteRegisterBlock(unsigned char reg, unsigned char* data, int count, int step);
    virtual unsigned int ReadRegisterBlock(unsigned char reg, unsigned char* data, int count, int step);
    virtual unsigned int GetBufferTrashSize(unsigned short* size);
    virtual unsigned int ReadData(void* buffer, unsigned int size);
    virtual void BackupSizeY();
    virtual void RestoreSizeY();
    virtual unsigned int GetPortParameter(ZP_PARAM parameter, unsigned int* value);
    virtual unsigned int GetPortBrocParameter(ZP_PARAM parameter, unsigned int* value);
    virtual unsigned int EraseMemory();
    virtual unsigned int ReadADCMemory(void* buffer, unsigned int size);
    virtual unsigned int WriteADCMemory(void* buffer, unsigned int size);
    virtual unsigned int PrepareForRead(int value);
    virtual unsigned int PrepareForRead();
    virtual unsigned int StopReading(int a, int b);
    virtual unsigned int WriteQR52Register(unsigned short value);
    virtual unsigned int GetStatus1(unsigned char* status);
    virtual unsigned int GetStatus2(unsigned int* status);
    virtual unsigned int WriteData1(void* data, unsigned int size);
    virtual unsigned int WriteData2(void* data, unsigned int size);
    virtual unsigned int SetFrameSize(unsigned int width, unsigned int height);
    virtual unsigned int ReadFlashMemoryBlocks(unsigned int first, unsigned int count, void* buffer) = 0;
    virtual unsigned int SetAnnouncementCallback(ZP_ANNOUNCEMENT_CALLBACK callback, void* context);
    virtual unsigned int ReadCameraInfo(unsigned int item, unsigned int* value1, unsigned int* value2);
    virtual unsigned int WriteCameraInfo(unsigned int item, unsigned int value1, unsigned int value2);
    virtual unsigned int WriteCameraName(char const* name);
    virtual unsigned int ReadCameraName(char* name);
    virtual unsigned int Attach();
    virtual unsigned int Detach();
    virtual unsigned int GetParameter(int parameter, int& value);
    virtual unsigned int GetBrocParameter(int block, unsigned int* buffer);
    virtual unsigned int SetParameter(int parameter, int value);
    virtual unsigned int PreReadImage(unsigned int a, unsigned int b, unsigned int c);
    virtual unsigned int ReadImage(unsigned int a, unsigned int b, unsigned int c, unsigned char* buffer,
                                   unsigned int size, int d, unsigned int e, unsigned int* f);
    virtual unsigned int ReadToVideo(unsigned int a, unsigned int b, unsigned int c);
    virtual unsigned int StartGrab(unsigned int a, unsigned int b, unsigned int c, unsigned int d,
                                   unsigned int e);
    virtual unsigned int StopGrab(unsigned int* value);
    virtual unsigned int GetTriggerPos(unsigned int* first, unsigned int* second);
    virtual unsigned int GetCameraStatus(unsigned int& status);
    virtual unsigned int Trigger();
    virtual unsigned int Reset();
    virtual unsigned int WriteLongRegister(unsigned int reg, unsigned int value);
    virtual unsigned int ReadLongRegister(unsigned int reg, unsigned int* value);
    virtual unsigned int OpenGrab(unsigned int a, int b, int c);
    virtual unsigned int CloseGrab(int a);
    virtual unsigned int WriteDACs(unsigned int* values, unsigned int count);
    virtual unsigned int ReadWriteEEPROM(unsigned int write, void* buffer, unsigned int size);
    virtual unsigned int ReadWriteSensorRegs(unsigned int write, void* buffer, unsigned int size);
    virtual unsigned int ReadWriteCameraComment(unsigned int write, void* comment);
    virtual unsigned int FlashOperation(unsigned int operation, void* data);
    virtual unsigned int FlushSensor();
    virtual unsigned int SetConnectionFlag(unsigned int flag);
    virtual unsigned int GetAddressList(unsigned int a, unsigned int b, unsigned int* list);
    virtual unsigned int GetTotRecFrames(unsigned int* frames);
    virtual unsigned int ConfigureWriteToDisk(unsigned int mode, char const* path, char const* name,
                                              unsigned int flags);
    virtual unsigned int ReadBkgAndPSCBuffers(void* a, void* b, void* c, unsigned int size1, void* d,
                                              void* e, void* f, unsigned int size2);
    virtual unsigned int WriteClockSpeed(unsigned int a, unsigned int b, unsigned int* c);
    virtual unsigned int ReadWriteLookupTable(unsigned int write, void* buffer, unsigned int count);
    virtual unsigned int Debug(unsigned int code, unsigned int value, void* data);
    virtual unsigned int ReadFwInfo(void* buffer, unsigned int size);
    virtual unsigned int WriteCurrCalib(unsigned int a, unsigned int b, unsigned int c, unsigned int d,
                                        void* data);
    virtual unsigned int ReadMemory(ZP_MEM_TYPE type, unsigned int addressLow, unsigned int addressHigh,
                                    void* buffer, unsigned int length);
    virtual unsigned int WriteMemory(ZP_MEM_TYPE type, unsigned int addressLow, unsigned int addressHigh,
                                     void* buffer, unsigned int length);
    virtual unsigned int SetRegisterConstraints(_ZP_REGISTER_CONSTRAINT* list, unsigned int count);
    virtual unsigned int GetRegisterConstraints(_ZP_REGISTER_CONSTRAINT* list, unsigned int* count);
    virtual unsigned int PlayBackVideo(unsigned int a, unsigned int b, unsigned int c, unsigned int d,
                                       unsigned int e, unsigned int f);
    virtual unsigned int PlayBackVideoStatus(unsigned int* a, unsigned char* b, unsigned char* c);
    virtual unsigned int SetPllPhase(unsigned int a, unsigned int b);
    virtual unsigned int ConfigureSteps(_PROGSTEPS_DATA* program);
    virtual unsigned int ReadRecordedSegments(unsigned char* buffer, unsigned int* count);
    virtual unsigned int SendParameter(unsigned int parameter, unsigned int value);
    virtual unsigned int SendTiming(void* timing);
    virtual unsigned int GetTime(unsigned int* a, int* b, unsigned int* c, int* d, unsigned int* e);
    virtual unsigned int ReadTemperature(unsigned int* first, unsigned int* second);
    virtual unsigned int GetErrorCode();
    virtual unsigned int ReadFwInfoStruct();
    // Binary transport: none in the base, so every exchange fails here.
    virtual unsigned int SendCmdAndGetRsp(_CMD_HDR* command, _RSP_HDR* response, int responseSize,
                                          int timeout, int a, int b);

protected:
    // The callback with its own context, consistent while the host switches callbacks.
    ZP_ANNOUNCEMENT_CALLBACK AnnouncementTarget(void** context) const;

    using ConstraintMap = std::map<unsigned int, std::pair<unsigned int, unsigned int>>;

    unsigned int m_nErrorCode;                  // written only by failing operations
    OS_SEMAPHORE m_hLock;                       // outer lock; made by the concrete port's open
    unsigned int m_dwPortState[5];
    unsigned int m_dwDefaultOn;                 // tone-filter mode (register 0x1111): 0 the 8-bit filter
    unsigned char m_abyBlock16[16];
    unsigned int m_dwTransferLimit[2];
    unsigned int m_dwConnectionFlag;
    unsigned char m_abyRegisterShadow[1024];    // all 0xFF: nothing cached
    unsigned int m_dwPendingPrepare;
    unsigned int m_dwCameraType;
    unsigned char m_abyBlock12[12];
    unsigned short m_wToneTable[4096];          // identity at construction
    unsigned int m_dwColorMatrixCache[9];       // last colour-matrix payload sent
    unsigned short m_wLastLookupTable[4096];    // last lookup table sent; all 0xFFFF: none yet
    unsigned int m_dwWords[4];
    unsigned int m_dwPendingRead[3];            // arguments of the last PreReadImage
    unsigned char m_abyFwInfo[128];             // cached firmware-information block
    // Set by the host at any time while the listener thread calls it: atomics, context written first.
    std::atomic<ZP_ANNOUNCEMENT_CALLBACK> m_pfnAnnouncementCallback;
    std::atomic<void*> m_pAnnouncementContext;
    unsigned short m_wFlag;
    CXTrace m_Trace;
    unsigned int m_dwTraceChannel;              // first argument of every trace call of the port
    unsigned int m_dwSpare;
    ConstraintMap m_RegisterConstraints;        // register -> (clear mask, set mask)

    // What the settings and filter upload must know of the camera model. The base leaves every
    // fact at its neutral value; a port with a binary transport fills them when it opens.
    struct ModelFacts {
        unsigned int modelCode = 0;
        unsigned int clock = 0;              // sensor clock in Hz
        unsigned int revision = 0;           // firmware revision
        unsigned int featureWord = 0;        // bits 0x800 and 0x200 drop some parameters
        unsigned char featureFlags[8] = {};  // bit 0x08 of byte 5: the extended parameters
        unsigned int capability = 0;         // bit 0x800000: 11/12-bit tone path
        char variant = 0;                    // 'L' sets bit 30 of the filter flags
        bool modelOption = false;
        bool gainKeep = false;
        bool twelveBit = false;
        bool tenOrTwelveBit = false;
        bool denoiseSupported = false;
        bool denoiseScale = false;
        bool halfBlocks = false;             // tone-table blocks sent as two half commands
    };
    ModelFacts m_Model;
    unsigned int m_dwParameter17 = 0xFFFFFFFFu;  // cached parameter 17; all ones: not read yet
    unsigned char m_abyLastSettings[1024] = {};   // the last record uploaded completely
    unsigned int m_dwSettingsValid = 0;

    // Steps of WriteData2: the changed fields as parameters, then the filter flags (written back
    // into the record) when they changed. False as soon as a send fails.
    bool SendChangedParameters(const unsigned char* record);
    bool SendFilterFlags(unsigned char* record);
};

#endif  // ZPPORT_CAMPORT_H
