/*
 * Camera settings record handed to PoWriteData (selector 0) and filled by
 * PoReadFlashMemoryBlocks, and the short recording request carried by the same
 * call with a length of 1. Every field is a 32-bit little-endian word at a fixed
 * byte position; words named wordNNN are read by the binary upload, reservedNNN
 * are copied through untouched.
 */
#ifndef ZPPORT_CAMERASETTINGS_H
#define ZPPORT_CAMERASETTINGS_H

#include <stddef.h>

#include "ZpExport.h"

ZP_EXTERN_C_BEGIN

/* Full settings record: 1024 bytes. */
typedef struct _CAMERA_SETTINGS {
    unsigned int recordLength;   /*    0: 1024; written by the read-back */
    unsigned int exposure;       /*    4: exposure time, ns */
    unsigned int syncInFlags;    /*    8: configurable input: 0x01 enabled, 0x04 option 2; 0x60 pre-trigger */
    unsigned int trigInFlags;    /*   12: trigger input: 0x01 enabled, 0x04 function 2 */
    unsigned int word16;         /*   16: used by the binary upload */
    unsigned int word20;         /*   20: used by the binary upload */
    unsigned int roiWidth;       /*   24: binned pixels */
    unsigned int roiHeight;      /*   28: binned pixels */
    unsigned int colorFormat;    /*   32: 2 colour, 0 monochrome (read-back) */
    unsigned int binning;        /*   36: binning factor minus one */
    unsigned int pixelCount;     /*   40: roiWidth x roiHeight (read-back) */
    unsigned int bitsPerPixel;   /*   44: 24 colour, 8 monochrome (read-back) */
    unsigned int sensorWidth;    /*   48: sensor pixels (read-back) */
    unsigned int sensorHeight;   /*   52: sensor pixels (read-back) */
    unsigned int word56;         /*   56: used by the binary upload */
    unsigned int reserved60[80]; /*   60..379 */
    unsigned int word380;        /*  380: used by the binary upload */
    unsigned int word384;        /*  384: used by the binary upload */
    unsigned int period;         /*  388: frame period, ns */
    unsigned int word392;        /*  392: used by the binary upload */
    unsigned int reserved396;    /*  396..399 */
    unsigned int word400;        /*  400: used by the binary upload */
    unsigned int reserved404[2]; /*  404..411 */
    unsigned int word412;        /*  412: used by the binary upload */
    unsigned int reserved416;    /*  416..419 */
    unsigned int cameraState;    /*  420: camera state (read-back) */
    unsigned int netPerform;     /*  424: download rate limit, 100..65535 */
    unsigned int syncInMode;     /*  428: configurable input mode */
    unsigned int burstLength;    /*  432: burst length, frames (low 16 bits sent) */
    unsigned int wbRed;          /*  436: white balance, at most 262080 */
    unsigned int wbGreen;        /*  440: white balance, at most 262080 */
    unsigned int wbBlue;         /*  444: white balance, at most 262080 */
    unsigned int word448;        /*  448: used by the binary upload */
    unsigned int frames;         /*  452: frames of a recording; 0 means 1 */
    unsigned int preTrigger;     /*  456: frames before the trigger */
    unsigned int reserved460;    /*  460..463 */
    unsigned int word464;        /*  464: used by the binary upload */
    unsigned int reserved468[3]; /*  468..479 */
    unsigned int trigInTime;     /*  480: trigger input time, ns */
    unsigned int trigDelay;      /*  484: trigger delay, ns */
    unsigned int reserved488[13]; /*  488..539 */
    unsigned int word540;         /*  540: used by the binary upload */
    unsigned int word544;         /*  544: used by the binary upload */
    unsigned int reserved548[2];  /*  548..555 */
    unsigned int word556;         /*  556: used by the binary upload */
    unsigned int word560;         /*  560: used by the binary upload */
    unsigned int word564;         /*  564: used by the binary upload */
    unsigned int word568;         /*  568: used by the binary upload */
    unsigned int reserved572[35]; /*  572..711 */
    unsigned int word712;         /*  712: used by the binary upload */
    unsigned int word716;         /*  716: used by the binary upload */
    unsigned int word720;         /*  720: used by the binary upload */
    unsigned int word724;         /*  724: used by the binary upload */
    unsigned int word728;         /*  728: used by the binary upload */
    unsigned int reserved732;     /*  732..735 */
    unsigned int word736;         /*  736: used by the binary upload */
    unsigned int word740;         /*  740: used by the binary upload */
    unsigned int word744;         /*  744: used by the binary upload */
    unsigned int word748;         /*  748: used by the binary upload */
    unsigned int reserved752[12]; /*  752..799 */
    unsigned int word800;         /*  800: used by the binary upload */
    unsigned int reserved804[2];  /*  804..811 */
    unsigned int word812;         /*  812: used by the binary upload */
    unsigned int word816;         /*  816: used by the binary upload */
    unsigned int exposureCopy;    /*  820: copy of exposure (read-back) */
    unsigned int periodCopy;      /*  824: copy of period (read-back) */
    unsigned int word828;         /*  828: used by the binary upload */
    unsigned int word832;         /*  832: used by the binary upload */
    unsigned int word836;         /*  836: used by the binary upload */
    unsigned int word840;         /*  840: used by the binary upload */
    unsigned int reserved844;     /*  844..847 */
    unsigned int word848;         /*  848: used by the binary upload */
    unsigned int word852;         /*  852: used by the binary upload */
    unsigned int word856;         /*  856: used by the binary upload */
    unsigned int reserved860[3];  /*  860..871 */
    unsigned int word872;         /*  872: used by the binary upload */
    unsigned int reserved876;     /*  876..879 */
    unsigned int word880;         /*  880: used by the binary upload */
    unsigned int reserved884;     /*  884..887 */
    unsigned int word888;         /*  888: used by the binary upload */
    unsigned int reserved892;     /*  892..895 */
    unsigned int word896;         /*  896: used by the binary upload */
    unsigned int word900;         /*  900: used by the binary upload */
    unsigned int word904;         /*  904: used by the binary upload */
    unsigned int word908;         /*  908: used by the binary upload */
    unsigned int reserved912[9];  /*  912..947 */
    unsigned int netSpeed;        /*  948: fast network port speed code */
    unsigned int reserved952[18]; /*  952..1023 */
} _CAMERA_SETTINGS;

/* Recording request: the first 16 bytes of the buffer when the length argument is 1. */
typedef struct _RECORDING_REQUEST {
    unsigned int frames;     /*  0: frames to record; 0 means 1 */
    unsigned int preTrigger; /*  4: frames before the trigger */
    unsigned int flags;      /*  8: ZP_RECORD_ARM_ONLY: arm without the record command */
    unsigned int mode;       /* 12: ZP_RECORD_MODE_NONE: only reset the cached frame range */
} _RECORDING_REQUEST;

#define ZP_RECORD_ARM_ONLY 0x40u
#define ZP_RECORD_MODE_NONE 4u
#define ZP_WB_MAX 262080u

ZP_EXTERN_C_END

ZP_STATIC_ASSERT(sizeof(_CAMERA_SETTINGS) == 1024, "_CAMERA_SETTINGS size");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, recordLength) == 0, "recordLength");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, exposure) == 4, "exposure");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, syncInFlags) == 8, "syncInFlags");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, trigInFlags) == 12, "trigInFlags");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word16) == 16, "word16");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word20) == 20, "word20");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, roiWidth) == 24, "roiWidth");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, roiHeight) == 28, "roiHeight");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, colorFormat) == 32, "colorFormat");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, binning) == 36, "binning");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, pixelCount) == 40, "pixelCount");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, bitsPerPixel) == 44, "bitsPerPixel");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, sensorWidth) == 48, "sensorWidth");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, sensorHeight) == 52, "sensorHeight");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word56) == 56, "word56");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word380) == 380, "word380");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word384) == 384, "word384");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, period) == 388, "period");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word392) == 392, "word392");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word400) == 400, "word400");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word412) == 412, "word412");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, cameraState) == 420, "cameraState");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, netPerform) == 424, "netPerform");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, syncInMode) == 428, "syncInMode");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, burstLength) == 432, "burstLength");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, wbRed) == 436, "wbRed");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, wbGreen) == 440, "wbGreen");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, wbBlue) == 444, "wbBlue");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word448) == 448, "word448");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, frames) == 452, "frames");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, preTrigger) == 456, "preTrigger");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word464) == 464, "word464");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, trigInTime) == 480, "trigInTime");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, trigDelay) == 484, "trigDelay");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word540) == 540, "word540");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word544) == 544, "word544");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word556) == 556, "word556");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word560) == 560, "word560");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word564) == 564, "word564");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word568) == 568, "word568");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word712) == 712, "word712");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word716) == 716, "word716");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word720) == 720, "word720");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word724) == 724, "word724");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word728) == 728, "word728");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word736) == 736, "word736");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word740) == 740, "word740");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word744) == 744, "word744");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word748) == 748, "word748");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word800) == 800, "word800");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word812) == 812, "word812");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word816) == 816, "word816");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, exposureCopy) == 820, "exposureCopy");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, periodCopy) == 824, "periodCopy");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word828) == 828, "word828");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word832) == 832, "word832");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word836) == 836, "word836");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word840) == 840, "word840");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word848) == 848, "word848");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word852) == 852, "word852");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word856) == 856, "word856");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word872) == 872, "word872");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word880) == 880, "word880");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word888) == 888, "word888");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word896) == 896, "word896");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word900) == 900, "word900");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word904) == 904, "word904");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, word908) == 908, "word908");
ZP_STATIC_ASSERT(offsetof(_CAMERA_SETTINGS, netSpeed) == 948, "netSpeed");
ZP_STATIC_ASSERT(sizeof(_RECORDING_REQUEST) == 16, "_RECORDING_REQUEST size");
ZP_STATIC_ASSERT(offsetof(_RECORDING_REQUEST, preTrigger) == 4, "preTrigger");
ZP_STATIC_ASSERT(offsetof(_RECORDING_REQUEST, flags) == 8, "flags");
ZP_STATIC_ASSERT(offsetof(_RECORDING_REQUEST, mode) == 12, "mode");

#endif /* ZPPORT_CAMERASETTINGS_H */
