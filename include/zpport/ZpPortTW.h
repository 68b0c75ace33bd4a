/*
 * The C interface of the camera port library: the records exchanged with the
 * host and the camera. Every record has fixed byte positions (little-endian,
 * 32-bit words unless noted); the static assertions below pin them down.
 */
#ifndef ZPPORT_ZPPORTTW_H
#define ZPPORT_ZPPORTTW_H

#include <stddef.h>

#include "CameraSettings.h"
#include "ZpExport.h"
#include "ZpParam.h"

ZP_EXTERN_C_BEGIN

/* One camera found by discovery; filled by enumeration, handed back to open. 1004 bytes. */
typedef struct _ZP_ENUMITEMEX {
    unsigned int infoTag;            /*   0: 356 for an item made by the Ethernet port */
    unsigned int portId;             /*   4: 0x2001 + index in the caller's array */
    unsigned int cameraType;         /*   8: camera class code */
    unsigned int typeFlag;           /*  12: 1 when the vendor record's camera-type byte is set */
    unsigned int interfaceType;      /*  16: 4 for an Ethernet camera */
    unsigned int serialNumber;       /*  20 */
    unsigned int viWord18;           /*  24 */
    unsigned int viWord22;           /*  28 */
    unsigned int fwVersion;          /*  32: first controller version word */
    unsigned int reserved36;         /*  36: 0 */
    unsigned int linkFlag;           /*  40 */
    unsigned int viByte204;          /*  44 */
    unsigned int bigSerial;          /*  48: 1 when serialNumber > 2999999999 */
    unsigned int viWord184;          /*  52 */
    unsigned int reserved56;         /*  56: 0 */
    unsigned int modelNumber;        /*  60 */
    unsigned int reserved64;         /*  64: 0 */
    unsigned int viWord196;          /*  68 */
    unsigned int mtu;                /*  72: MTU of the local adapter */
    unsigned int word76;             /*  76: always 64 */
    unsigned int reserved80[3];      /*  80..91: 0 */
    unsigned int reserved92;         /*  92: 0 */
    unsigned int viByte205;          /*  96 */
    unsigned int reserved100[2];     /* 100..107 */
    unsigned int reserved108;        /* 108: 0 */
    unsigned int macLow;             /* 112: camera MAC, low 32 bits */
    unsigned int macHigh;            /* 116: camera MAC, high 16 bits */
    unsigned int ipAddress;          /* 120: host byte order, first dotted byte most significant */
    unsigned int extraWord;          /* 124 */
    unsigned int reserved128;        /* 128 */
    unsigned int cmdPort;            /* 132: UDP command port */
    unsigned int adapterMac;         /* 136: local adapter MAC, low 32 bits */
    unsigned int adapterMacHigh;     /* 140: local adapter MAC, high 16 bits */
    unsigned int adapterIp;          /* 144 */
    unsigned int adapterMask;        /* 148 */
    char cameraName[128];            /* 152 */
    unsigned int fwVersion2;         /* 280: second controller version word */
    unsigned int reserved284[2];     /* 284..291 */
    unsigned int word292;            /* 292: always 3 */
    unsigned int reserved296[15];    /* 296..355 */
    char macText[128];               /* 356: "%02X-%02X-%02X-%02X-%02X-%02X" */
    char ipText[128];                /* 484: dotted decimal */
    char adapterMacText[128];        /* 612 */
    char adapterIpText[128];         /* 740 */
    char adapterMaskText[128];       /* 868 */
    unsigned char cmdAddress;        /* 996: camera address used in command lines */
    unsigned char reserved997[3];    /* 997..999 */
    unsigned char byte1000;          /* 1000: always 1 */
    unsigned char byte1001;          /* 1001: always 0 */
    unsigned char reserved1002[2];   /* 1002..1003 */
} _ZP_ENUMITEMEX, _ZP_ENUMITEM;

ZP_STATIC_ASSERT(sizeof(_ZP_ENUMITEMEX) == 1004, "_ZP_ENUMITEMEX size");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, infoTag) == 0, "infoTag");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, portId) == 4, "portId");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, cameraType) == 8, "cameraType");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, typeFlag) == 12, "typeFlag");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, interfaceType) == 16, "interfaceType");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, serialNumber) == 20, "serialNumber");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, viWord18) == 24, "viWord18");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, viWord22) == 28, "viWord22");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, fwVersion) == 32, "fwVersion");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, reserved36) == 36, "reserved36");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, linkFlag) == 40, "linkFlag");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, viByte204) == 44, "viByte204");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, bigSerial) == 48, "bigSerial");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, viWord184) == 52, "viWord184");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, reserved56) == 56, "reserved56");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, modelNumber) == 60, "modelNumber");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, reserved64) == 64, "reserved64");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, viWord196) == 68, "viWord196");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, mtu) == 72, "mtu");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, word76) == 76, "word76");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, reserved80) == 80, "reserved80");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, reserved92) == 92, "reserved92");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, viByte205) == 96, "viByte205");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, reserved100) == 100, "reserved100");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, reserved108) == 108, "reserved108");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, macLow) == 112, "macLow");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, macHigh) == 116, "macHigh");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, ipAddress) == 120, "ipAddress");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, extraWord) == 124, "extraWord");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, reserved128) == 128, "reserved128");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, cmdPort) == 132, "cmdPort");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, adapterMac) == 136, "adapterMac");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, adapterMacHigh) == 140, "adapterMacHigh");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, adapterIp) == 144, "adapterIp");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, adapterMask) == 148, "adapterMask");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, cameraName) == 152, "cameraName");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, fwVersion2) == 280, "fwVersion2");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, reserved284) == 284, "reserved284");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, word292) == 292, "word292");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, reserved296) == 296, "reserved296");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, macText) == 356, "macText");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, ipText) == 484, "ipText");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, adapterMacText) == 612, "adapterMacText");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, adapterIpText) == 740, "adapterIpText");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, adapterMaskText) == 868, "adapterMaskText");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, cmdAddress) == 996, "cmdAddress");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, reserved997) == 997, "reserved997");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, byte1000) == 1000, "byte1000");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, byte1001) == 1001, "byte1001");
ZP_STATIC_ASSERT(offsetof(_ZP_ENUMITEMEX, reserved1002) == 1002, "reserved1002");

/* Vendor, version and class of an open camera; magic "VINF", version word 512. */
typedef struct _VENDOR_INFO {
    unsigned short version;          /*   0: 512 */
    char magic[4];                   /*   2: "VINF", not terminated */
    unsigned char reserved6[2];      /*   6 */
    unsigned int serialNumber;       /*   8 */
    unsigned char cameraTypeByte;    /*  12 */
    unsigned char reserved13;        /*  13 */
    unsigned short word14;           /*  14 */
    unsigned short word16;           /*  16 */
    unsigned short word18;           /*  18 */
    unsigned short classCode;        /*  20 */
    unsigned short word22;           /*  22 */
    char text[4][40];                /*  24, 64, 104, 144 */
    unsigned short words184[10];     /* 184..203 (words184[6] is the word at 196) */
    unsigned char byte204;           /* 204 */
    unsigned char byte205;           /* 205 */
    unsigned short word206;          /* 206 */
    unsigned short word208;          /* 208 */
    unsigned char reserved210[106];  /* 210..315 */
    unsigned short word316;          /* 316 */
    unsigned char reserved318[90];   /* 318..407 */
    unsigned short variantCode;      /* 408 */
    unsigned char reserved410[2];    /* 410..411: pads to the alignment of the 32-bit word */
} _VENDOR_INFO;

ZP_STATIC_ASSERT(sizeof(_VENDOR_INFO) == 412, "_VENDOR_INFO size");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, version) == 0, "version");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, magic) == 2, "magic");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, reserved6) == 6, "reserved6");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, serialNumber) == 8, "serialNumber");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, cameraTypeByte) == 12, "cameraTypeByte");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, reserved13) == 13, "reserved13");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, word14) == 14, "word14");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, word16) == 16, "word16");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, word18) == 18, "word18");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, classCode) == 20, "classCode");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, word22) == 22, "word22");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, text) == 24, "text");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, text[1]) == 64, "text[1]");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, text[2]) == 104, "text[2]");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, text[3]) == 144, "text[3]");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, words184) == 184, "words184");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, words184[6]) == 196, "words184[6]");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, byte204) == 204, "byte204");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, byte205) == 205, "byte205");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, word206) == 206, "word206");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, word208) == 208, "word208");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, reserved210) == 210, "reserved210");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, word316) == 316, "word316");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, reserved318) == 318, "reserved318");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, variantCode) == 408, "variantCode");
ZP_STATIC_ASSERT(offsetof(_VENDOR_INFO, reserved410) == 410, "reserved410");

/* Header of a binary command frame; argument words (or data bytes) follow from byte 8. */
typedef struct _CMD_HDR {
    unsigned short reserved0;        /* 0: 0 */
    unsigned char part;              /* 2: 0 whole exchange, 16 first part, 32 second part */
    unsigned char command;           /* 3: command code */
    unsigned short length;           /* 4: frame length in bytes, header included */
    unsigned short reserved6;        /* 6: 0 */
} _CMD_HDR;

ZP_STATIC_ASSERT(sizeof(_CMD_HDR) == 8, "_CMD_HDR size");
ZP_STATIC_ASSERT(offsetof(_CMD_HDR, reserved0) == 0, "_CMD_HDR reserved0");
ZP_STATIC_ASSERT(offsetof(_CMD_HDR, part) == 2, "_CMD_HDR part");
ZP_STATIC_ASSERT(offsetof(_CMD_HDR, command) == 3, "_CMD_HDR command");
ZP_STATIC_ASSERT(offsetof(_CMD_HDR, length) == 4, "_CMD_HDR length");
ZP_STATIC_ASSERT(offsetof(_CMD_HDR, reserved6) == 6, "_CMD_HDR reserved6");

/* Header of a binary response frame: the command header with the camera's status in byte 0. */
typedef struct _RSP_HDR {
    unsigned char status;            /* 0: camera status code */
    unsigned char reserved1;         /* 1 */
    unsigned char part;              /* 2 */
    unsigned char command;           /* 3 */
    unsigned short length;           /* 4 */
    unsigned short reserved6;        /* 6 */
} _RSP_HDR;

ZP_STATIC_ASSERT(sizeof(_RSP_HDR) == 8, "_RSP_HDR size");
ZP_STATIC_ASSERT(offsetof(_RSP_HDR, status) == 0, "_RSP_HDR status");
ZP_STATIC_ASSERT(offsetof(_RSP_HDR, reserved1) == 1, "_RSP_HDR reserved1");
ZP_STATIC_ASSERT(offsetof(_RSP_HDR, part) == 2, "_RSP_HDR part");
ZP_STATIC_ASSERT(offsetof(_RSP_HDR, command) == 3, "_RSP_HDR command");
ZP_STATIC_ASSERT(offsetof(_RSP_HDR, length) == 4, "_RSP_HDR length");
ZP_STATIC_ASSERT(offsetof(_RSP_HDR, reserved6) == 6, "_RSP_HDR reserved6");

/* One register constraint: bits of clearMask are forced to 0, bits of setMask to 1. */
typedef struct _ZP_REGISTER_CONSTRAINT {
    unsigned int reg;                /* 0: register number */
    unsigned int clearMask;          /* 4 */
    unsigned int setMask;            /* 8 */
} _ZP_REGISTER_CONSTRAINT;

ZP_STATIC_ASSERT(sizeof(_ZP_REGISTER_CONSTRAINT) == 12, "_ZP_REGISTER_CONSTRAINT size");
ZP_STATIC_ASSERT(offsetof(_ZP_REGISTER_CONSTRAINT, reg) == 0, "reg");
ZP_STATIC_ASSERT(offsetof(_ZP_REGISTER_CONSTRAINT, clearMask) == 4, "clearMask");
ZP_STATIC_ASSERT(offsetof(_ZP_REGISTER_CONSTRAINT, setMask) == 8, "setMask");

/* A camera program of up to 60 acquisition steps of 80 bytes each. 4808 bytes. */
#define ZP_PROGSTEPS_MAX 60
#define ZP_PROGSTEP_SIZE 80

typedef struct _PROGSTEPS_DATA {
    unsigned int header;             /* 0: passed through; the camera's value after a read-back */
    unsigned int control;            /* 4: first step (bits 0-7), step count (8-15), flags */
    unsigned char steps[ZP_PROGSTEPS_MAX][ZP_PROGSTEP_SIZE]; /* 8: step i at 8 + 80 i */
} _PROGSTEPS_DATA;

ZP_STATIC_ASSERT(sizeof(_PROGSTEPS_DATA) == 4808, "_PROGSTEPS_DATA size");
ZP_STATIC_ASSERT(offsetof(_PROGSTEPS_DATA, header) == 0, "header");
ZP_STATIC_ASSERT(offsetof(_PROGSTEPS_DATA, control) == 4, "control");
ZP_STATIC_ASSERT(offsetof(_PROGSTEPS_DATA, steps) == 8, "steps");
ZP_STATIC_ASSERT(offsetof(_PROGSTEPS_DATA, steps[59]) == 4728, "last step");

/* Memory selector of the block transfers; the library passes the value through unchanged. */
typedef enum ZP_MEM_TYPE {
    ZP_MEM_TYPE_FORCE_32BIT = 0x7FFFFFFF
} ZP_MEM_TYPE;

ZP_STATIC_ASSERT(sizeof(ZP_MEM_TYPE) == 4, "ZP_MEM_TYPE size");

/* Result of a wireless access-point scan; its layout is not published, only pointers pass. */
typedef struct _RSP_WIFISCAN_DATA _RSP_WIFISCAN_DATA;

/* Announcement callback: context given at registration, then the announcement text. */
typedef void (*ZP_ANNOUNCEMENT_CALLBACK)(void* context, char* text);

/* ---- Exported port functions ----
 * A port handle is the address of a port made by PoOpen; the host never looks inside it.
 * Unless stated otherwise a call returns 0 on success, 1 when the port operation fails or is not
 * supported and 2 for a null handle. */
typedef void* ZP_PORT_HANDLE;

#define ZP_PO_SUCCESS 0u
#define ZP_PO_FAILURE 1u
#define ZP_PO_NULL_HANDLE 2u
#define ZP_PO_FLASH_129 5001u
#define ZP_PO_FLASH_130 5002u

/* Loader entry kept for hosts of other platforms: does nothing, returns 1. */
ZP_EXPORT unsigned int DllMain(void* module, unsigned int reason, void* reserved);

/* Link set-up: remember the adapter address that discovery uses; both return 0. */
ZP_EXPORT unsigned int PoLinkInit(unsigned int adapterAddress);
ZP_EXPORT unsigned int PoLinkDeinit(void);

/* Discovery with a temporary port: always 0, whatever it found. */
ZP_EXPORT unsigned int PoEnumerate(_ZP_ENUMITEMEX* items, unsigned int* count, unsigned int option);

/* 0 and the handle in *out on success; else the port's error code if set, else 1 (out untouched). */
ZP_EXPORT unsigned int PoOpen(_ZP_ENUMITEMEX* item, ZP_PORT_HANDLE* out);

/* Lifetime, error code, outer lock and trace: 0; 2 for a null handle. */
ZP_EXPORT unsigned int PoClose(ZP_PORT_HANDLE handle);
ZP_EXPORT unsigned int PoResetErrorCode(ZP_PORT_HANDLE handle);
ZP_EXPORT unsigned int PoGetErrorCode(ZP_PORT_HANDLE handle, unsigned int* code);
ZP_EXPORT unsigned int PoLock(ZP_PORT_HANDLE handle, unsigned int timeout, unsigned int* result);
ZP_EXPORT unsigned int PoUnlock(ZP_PORT_HANDLE handle);
ZP_EXPORT unsigned int PoEnablePortLog(ZP_PORT_HANDLE handle, unsigned int id, const char* name,
                                       unsigned int mode);

/* Calls with their own argument handling: 0 success, 1 failure, 2 null handle. */
ZP_EXPORT unsigned int PoWriteData(ZP_PORT_HANDLE handle, int which, void* data, unsigned int size);
ZP_EXPORT unsigned int PoPrepareForRead(ZP_PORT_HANDLE handle, int which, int value);
ZP_EXPORT unsigned int PoGetStatus(ZP_PORT_HANDLE handle, int which, unsigned int* status);
ZP_EXPORT unsigned int PoWriteQR52Register(ZP_PORT_HANDLE handle, int value);

/* 0 success, 5001 / 5002 when the port reports 129 / 130, 1 otherwise, 2 for a null handle. */
ZP_EXPORT unsigned int PoReadFlashMemoryBlocks(ZP_PORT_HANDLE handle, unsigned int first,
                                               unsigned int count, void* buffer);
/* Sends nothing: 0, or 2 for a null handle. */
ZP_EXPORT unsigned int PoWriteFlashMemoryBlocks(ZP_PORT_HANDLE handle, unsigned int first,
                                                unsigned int count, void* buffer);

/* The camera's SD card: 0 success, 1 failure, 2 for a null handle. */
ZP_EXPORT unsigned int PoOpenFlashMemory(ZP_PORT_HANDLE handle, unsigned int mode, unsigned int second);
ZP_EXPORT unsigned int PoCloseFlashMemory(ZP_PORT_HANDLE handle);
ZP_EXPORT unsigned int PoReadFlashMemorySize(ZP_PORT_HANDLE handle, unsigned int* megabytes);

/* Ethernet-port queries: 0 success, 1 failure, 2 for a null handle. */
ZP_EXPORT unsigned int PoGetVendorInfo(ZP_PORT_HANDLE handle, _VENDOR_INFO* info);
ZP_EXPORT unsigned int PoGetLatestFrameIndex(ZP_PORT_HANDLE handle, unsigned int* index);

/* Address set-up of an enumerated camera through a temporary port: 0 success, 1 failure. */
ZP_EXPORT unsigned int PoSetIpAddress(_ZP_ENUMITEMEX* item, unsigned int address, unsigned int mask);
ZP_EXPORT unsigned int PoGetIpAddress(_ZP_ENUMITEMEX* item, unsigned int* address, unsigned int* mask);

/* Not supported by the Ethernet port: touch no camera and always return 1. */
ZP_EXPORT unsigned int PoSetCmdPort(_ZP_ENUMITEMEX* item, unsigned int port);
ZP_EXPORT unsigned int PoSetDefaultGw(_ZP_ENUMITEMEX* item, unsigned int gateway);
ZP_EXPORT unsigned int PoWiFiEnumAccessPoints(_ZP_ENUMITEMEX* item, _RSP_WIFISCAN_DATA* data);
ZP_EXPORT unsigned int PoWiFiSendCommand(_ZP_ENUMITEMEX* item, unsigned int command, void* data);

/* Image reads return the operation's own result (1 success, 0 failure); 2 for a null handle. */
ZP_EXPORT unsigned int PoPreReadImage(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b,
                                      unsigned int c);
ZP_EXPORT unsigned int PoReadImage(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b, unsigned int c,
                                   unsigned char* buffer, unsigned int size, int d, unsigned int e,
                                   unsigned int* f);

/* Forwarding calls: 0 when the port operation succeeds (any non-zero result), 1 when it returns 0,
 * 2 for a null handle. */
ZP_EXPORT unsigned int PoReset(ZP_PORT_HANDLE handle);
ZP_EXPORT unsigned int PoEraseMemory(ZP_PORT_HANDLE handle);
ZP_EXPORT unsigned int PoStopReading(ZP_PORT_HANDLE handle, int a, int b);
ZP_EXPORT unsigned int PoReadData(ZP_PORT_HANDLE handle, void* buffer, unsigned int size);
ZP_EXPORT unsigned int PoReadADCMemory(ZP_PORT_HANDLE handle, void* buffer, unsigned int size);
ZP_EXPORT unsigned int PoWriteADCMemory(ZP_PORT_HANDLE handle, void* buffer, unsigned int size);
ZP_EXPORT unsigned int PoGetBufferTrashSize(ZP_PORT_HANDLE handle, unsigned short* size);
ZP_EXPORT unsigned int PoTrigger(ZP_PORT_HANDLE handle);
ZP_EXPORT unsigned int PoSetFrameSize(ZP_PORT_HANDLE handle, unsigned int width, unsigned int height);
ZP_EXPORT unsigned int PoWriteCameraName(ZP_PORT_HANDLE handle, char const* name);
ZP_EXPORT unsigned int PoSetAnnouncementCallback(ZP_PORT_HANDLE handle, ZP_ANNOUNCEMENT_CALLBACK callback,
                                                 void* context);
ZP_EXPORT unsigned int PoGetPortParameter(ZP_PORT_HANDLE handle, ZP_PARAM parameter, unsigned int* value);
ZP_EXPORT unsigned int PoGetPortBrocParameter(ZP_PORT_HANDLE handle, ZP_PARAM parameter,
                                              unsigned int* value);
ZP_EXPORT unsigned int PoReadInfo(ZP_PORT_HANDLE handle, unsigned int item, unsigned int* value1,
                                  unsigned int* value2);
ZP_EXPORT unsigned int PoReadToVideo(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b, unsigned int c);
ZP_EXPORT unsigned int PoStartGrab(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b, unsigned int c,
                                   unsigned int d, unsigned int e);
ZP_EXPORT unsigned int PoStopGrab(ZP_PORT_HANDLE handle, unsigned int* value);
ZP_EXPORT unsigned int PoGetTriggerPos(ZP_PORT_HANDLE handle, unsigned int* first, unsigned int* second);
ZP_EXPORT unsigned int PoOpenGrab(ZP_PORT_HANDLE handle, unsigned int a, int b, int c);
ZP_EXPORT unsigned int PoCloseGrab(ZP_PORT_HANDLE handle, int a);
ZP_EXPORT unsigned int PoWriteDACs(ZP_PORT_HANDLE handle, unsigned int* values, unsigned int count);
ZP_EXPORT unsigned int PoReadWriteEEPROM(ZP_PORT_HANDLE handle, unsigned int write, void* buffer,
                                         unsigned int size);
ZP_EXPORT unsigned int PoReadWriteSensorRegs(ZP_PORT_HANDLE handle, unsigned int write, void* buffer,
                                             unsigned int size);
ZP_EXPORT unsigned int PoReadWriteCameraComment(ZP_PORT_HANDLE handle, unsigned int write, void* comment);
ZP_EXPORT unsigned int PoFlashOperation(ZP_PORT_HANDLE handle, unsigned int operation, void* data);
ZP_EXPORT unsigned int PoFlushSensor(ZP_PORT_HANDLE handle);
ZP_EXPORT unsigned int PoSetConnectionFlag(ZP_PORT_HANDLE handle, unsigned int flag);
ZP_EXPORT unsigned int PoAttach(ZP_PORT_HANDLE handle);
ZP_EXPORT unsigned int PoGetAddressList(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b,
                                        unsigned int* list);
ZP_EXPORT unsigned int PoGetTotRecFrames(ZP_PORT_HANDLE handle, unsigned int* frames);
ZP_EXPORT unsigned int PoConfigureWriteToDisk(ZP_PORT_HANDLE handle, unsigned int mode, char const* path,
                                              char const* name, unsigned int flags);
ZP_EXPORT unsigned int PoReadRegister(ZP_PORT_HANDLE handle, unsigned int reg, unsigned int* value);
ZP_EXPORT unsigned int PoWriteRegister(ZP_PORT_HANDLE handle, unsigned int reg, unsigned int value);
ZP_EXPORT unsigned int PoReadBkgAndPSCBuffers(ZP_PORT_HANDLE handle, void* a, void* b, void* c,
                                              unsigned int size1, void* d, void* e, void* f,
                                              unsigned int size2);
ZP_EXPORT unsigned int PoWriteClockSpeed(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b,
                                         unsigned int* c);
ZP_EXPORT unsigned int PoReadWriteLookupTable(ZP_PORT_HANDLE handle, unsigned int write, void* buffer,
                                              unsigned int count);
ZP_EXPORT unsigned int PoDebug(ZP_PORT_HANDLE handle, unsigned int code, unsigned int value, void* data);
ZP_EXPORT unsigned int PoReadFwInfo(ZP_PORT_HANDLE handle, void* buffer, unsigned int size);
ZP_EXPORT unsigned int PoWriteCurrCalib(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b,
                                        unsigned int c, unsigned int d, void* data);
ZP_EXPORT unsigned int PoReadMemory(ZP_PORT_HANDLE handle, ZP_MEM_TYPE type, unsigned int addressLow,
                                    unsigned int addressHigh, void* buffer, unsigned int length);
ZP_EXPORT unsigned int PoWriteMemory(ZP_PORT_HANDLE handle, ZP_MEM_TYPE type, unsigned int addressLow,
                                     unsigned int addressHigh, void* buffer, unsigned int length);
ZP_EXPORT unsigned int PoSetRegisterConstraints(ZP_PORT_HANDLE handle, _ZP_REGISTER_CONSTRAINT* list,
                                                unsigned int count);
ZP_EXPORT unsigned int PoGetRegisterConstraints(ZP_PORT_HANDLE handle, _ZP_REGISTER_CONSTRAINT* list,
                                                unsigned int* count);
ZP_EXPORT unsigned int PoPlayBackVideo(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b, unsigned int c,
                                       unsigned int d, unsigned int e, unsigned int f);
ZP_EXPORT unsigned int PoPlayBackVideoStatus(ZP_PORT_HANDLE handle, unsigned int* a, unsigned char* b,
                                             unsigned char* c);
ZP_EXPORT unsigned int PoSetPllPhase(ZP_PORT_HANDLE handle, unsigned int a, unsigned int b);
ZP_EXPORT unsigned int PoConfigureSteps(ZP_PORT_HANDLE handle, _PROGSTEPS_DATA* program);
ZP_EXPORT unsigned int PoReadRecordedSegments(ZP_PORT_HANDLE handle, unsigned char* buffer,
                                              unsigned int* count);
ZP_EXPORT unsigned int PoSetPortParameter(ZP_PORT_HANDLE handle, unsigned int parameter, unsigned int value);
ZP_EXPORT unsigned int PoSendTiming(ZP_PORT_HANDLE handle, void* timing);
ZP_EXPORT unsigned int PoGetTime(ZP_PORT_HANDLE handle, unsigned int* a, int* b, unsigned int* c, int* d,
                                 unsigned int* e);

ZP_EXTERN_C_END

#endif /* ZPPORT_ZPPORTTW_H */
