/*
 * BORDER_DATA: the 1024-byte metadata record that comes with every frame.
 *
 * Cameras send the record with its multi-byte fields big-endian;
 * ChangeBorderEndianess turns it into host order (and back). Values in the
 * comments below are in host order. Fields whose meaning is not defined are
 * named after their offset (ByteNNN, WordNNN, DwordNNN) and carried through
 * unchanged apart from the byte-order conversion. The layout is a wire and
 * file format: every offset is checked at compile time at the end of the
 * record. The record is packed, so read and write its multi-byte fields by
 * value; a pointer or reference to one may be misaligned.
 */
#ifndef ZPPORT_BORDERDATA_H
#define ZPPORT_BORDERDATA_H

#include <stddef.h>
#include <stdint.h>

#include "ZpExport.h"

/* Bit of BORDER_DATA.Flags set when a hub is present. */
#define BORDER_FLAG_HUB_PRESENT 0x00008000u

/* Size of the record, of its tone table and of its model text. */
#define BORDER_DATA_SIZE 1024
#define BORDER_TONE_ENTRIES 256
#define BORDER_MODEL_TEXT_SIZE 8
#define BORDER_NAME_SIZE 51

#pragma pack(push, 1)
typedef struct BORDER_DATA {
    char ModelText[8];            /*   0 camera model, NUL-padded ("TW-7000") */
    uint8_t SensorType;           /*   8 1 = colour sensor, 2 = any other sensor */
    uint8_t SessionID;            /*   9 recording session number */
    uint8_t CameraID;             /*  10 camera number */
    uint8_t FrameRateIndex;       /*  11 0 for rate 0; 1..12 = position (from 1) of FrameRate among the
                                         standard rates; 14 = not a standard rate */
    uint8_t Byte12;               /*  12 meaning not defined */
    uint8_t RecordMode;           /*  13 1 = Stop, 2 = Trigger, 3 = Trigger2 */
    uint8_t WhiteBalance;         /*  14 0 = Daylight, 1 = Tungsten, 2 = HMI, 3 = other, 4 = Unity */
    uint8_t Byte15;               /*  15 meaning not defined */
    uint8_t Byte16;               /*  16 meaning not defined */
    uint8_t IrigPresent;          /*  17 1 when an IRIG time is present */
    float WhiteBalanceRed;        /*  18 red gain */
    float WhiteBalanceGreen;      /*  22 green gain */
    float WhiteBalanceBlue;       /*  26 blue gain */
    uint16_t FrameNumber;         /*  30 frame number (16 bits only) */
    uint8_t TriggerFrame;         /*  32 1 when this frame is the trigger frame */
    uint8_t ClockSeconds;         /*  33 real-time clock stamp of the frame: seconds, BCD */
    uint8_t ClockMinutes;         /*  34 minutes, BCD */
    uint8_t ClockHours;           /*  35 hours, BCD */
    uint8_t ClockDay;             /*  36 day of month, BCD */
    uint8_t ClockMonth;           /*  37 month, BCD */
    uint8_t Year;                 /*  38 two-digit year of the century 2000, BCD; also the IRIG year */
    uint8_t IrigDayOfYear[3];     /*  39 IRIG day of year: hundreds, tens, units (one digit 0..9 each) */
    uint8_t IrigHours[2];         /*  42 IRIG hours: tens, units */
    uint8_t IrigMinutes[2];       /*  44 IRIG minutes: tens, units */
    uint8_t IrigSeconds[2];       /*  46 IRIG seconds: tens, units */
    uint32_t IrigMicroseconds;    /*  48 microseconds within the IRIG second */
    uint16_t ElapsedMinutes;      /*  52 time since the start of recording, minutes part */
    uint32_t ElapsedMicroseconds; /* 54 time since the start of recording, microseconds part */
    uint16_t Words58[30];         /*  58 thirty 16-bit words, meaning not defined */
    uint8_t Byte118;              /* 118 meaning not defined */
    uint32_t Exposure;            /* 119 exposure time */
    int32_t Temperature;          /* 123 camera temperature */
    uint8_t Byte127;              /* 127 meaning not defined */
    char CameraName[51];          /* 128 camera name, NUL-terminated */
    char SessionName[51];         /* 179 session name, NUL-terminated */
    uint8_t CorrectionLayout;     /* 230 Bayer layout for CorrectTP2Data: 1 = gains only (green origin),
                                         other = gains with correction terms (blue origin) */
    uint32_t SerialNumber;        /* 231 camera serial number */
    uint16_t Width;               /* 235 image width in pixels */
    uint16_t Height;              /* 237 image height in lines */
    uint32_t Flags;               /* 239 BORDER_FLAG_HUB_PRESENT (bit 15); other bits not defined */
    uint8_t Byte243;              /* 243 meaning not defined; never byte-swapped */
    uint32_t Dword244;            /* 244 meaning not defined */
    float RedCorrectionA;         /* 248 red correction term A (divided by 65535 when applied) */
    float RedCorrectionB;         /* 252 red correction term B */
    float GreenCorrectionA;       /* 256 green correction term A */
    uint32_t Dword260;            /* 260 meaning not defined; not used by the correction */
    float GreenCorrectionB;       /* 264 green correction term B */
    float BlueCorrectionA;        /* 268 blue correction term A */
    float BlueCorrectionB;        /* 272 blue correction term B */
    uint32_t Dword276;            /* 276 meaning not defined */
    uint32_t Dword280;            /* 280 meaning not defined */
    uint32_t Dword284;            /* 284 meaning not defined */
    uint8_t Format;               /* 288 0 = other, 1 = Type2, 2 = JPEG, 3 = TIF, 4 = AVI */
    uint16_t Width2;              /* 289 second copy of Width */
    uint16_t Height2;             /* 291 second copy of Height */
    uint16_t Word293;             /* 293 meaning not defined */
    uint16_t Word295;             /* 295 meaning not defined */
    uint8_t Bytes297[2];          /* 297 meaning not defined; never byte-swapped */
    uint16_t Word299;             /* 299 meaning not defined */
    uint16_t Word301;             /* 301 meaning not defined */
    uint16_t ToneTable[256];      /* 303 tone table, 256 entries of 16 bits (default k -> k * 257) */
    uint32_t FrameRate;           /* 815 frames per second */
    uint8_t Scratch[32];          /* 819 cleared by every byte-order conversion */
    uint16_t Word851;             /* 851 meaning not defined */
    uint8_t Byte853;              /* 853 meaning not defined */
    uint32_t Dword854;            /* 854 meaning not defined */
    uint32_t Dword858;            /* 858 meaning not defined */
    uint8_t DravikBlock[6];       /* 862 'D', 'v', 0, Dravik model code (low byte), 'v', 'D' */
    uint8_t Zero868[151];         /* 868 zero */
    uint8_t Byte1019;             /* 1019 meaning not defined */
    char EndMarker[4];            /* 1020 "EoBD", no terminating NUL */
} BORDER_DATA;
#pragma pack(pop)

ZP_STATIC_ASSERT(sizeof(float) == 4, "BORDER_DATA needs 32-bit floats");
ZP_STATIC_ASSERT(sizeof(BORDER_DATA) == BORDER_DATA_SIZE, "BORDER_DATA must be 1024 bytes");

#define ZP_BORDER_AT(field, offset) \
    ZP_STATIC_ASSERT(offsetof(BORDER_DATA, field) == (offset), "BORDER_DATA." #field " offset")
ZP_BORDER_AT(ModelText, 0);
ZP_BORDER_AT(SensorType, 8);
ZP_BORDER_AT(SessionID, 9);
ZP_BORDER_AT(CameraID, 10);
ZP_BORDER_AT(FrameRateIndex, 11);
ZP_BORDER_AT(Byte12, 12);
ZP_BORDER_AT(RecordMode, 13);
ZP_BORDER_AT(WhiteBalance, 14);
ZP_BORDER_AT(Byte15, 15);
ZP_BORDER_AT(Byte16, 16);
ZP_BORDER_AT(IrigPresent, 17);
ZP_BORDER_AT(WhiteBalanceRed, 18);
ZP_BORDER_AT(WhiteBalanceGreen, 22);
ZP_BORDER_AT(WhiteBalanceBlue, 26);
ZP_BORDER_AT(FrameNumber, 30);
ZP_BORDER_AT(TriggerFrame, 32);
ZP_BORDER_AT(ClockSeconds, 33);
ZP_BORDER_AT(ClockMinutes, 34);
ZP_BORDER_AT(ClockHours, 35);
ZP_BORDER_AT(ClockDay, 36);
ZP_BORDER_AT(ClockMonth, 37);
ZP_BORDER_AT(Year, 38);
ZP_BORDER_AT(IrigDayOfYear, 39);
ZP_BORDER_AT(IrigHours, 42);
ZP_BORDER_AT(IrigMinutes, 44);
ZP_BORDER_AT(IrigSeconds, 46);
ZP_BORDER_AT(IrigMicroseconds, 48);
ZP_BORDER_AT(ElapsedMinutes, 52);
ZP_BORDER_AT(ElapsedMicroseconds, 54);
ZP_BORDER_AT(Words58, 58);
ZP_BORDER_AT(Byte118, 118);
ZP_BORDER_AT(Exposure, 119);
ZP_BORDER_AT(Temperature, 123);
ZP_BORDER_AT(Byte127, 127);
ZP_BORDER_AT(CameraName, 128);
ZP_BORDER_AT(SessionName, 179);
ZP_BORDER_AT(CorrectionLayout, 230);
ZP_BORDER_AT(SerialNumber, 231);
ZP_BORDER_AT(Width, 235);
ZP_BORDER_AT(Height, 237);
ZP_BORDER_AT(Flags, 239);
ZP_BORDER_AT(Byte243, 243);
ZP_BORDER_AT(Dword244, 244);
ZP_BORDER_AT(RedCorrectionA, 248);
ZP_BORDER_AT(RedCorrectionB, 252);
ZP_BORDER_AT(GreenCorrectionA, 256);
ZP_BORDER_AT(Dword260, 260);
ZP_BORDER_AT(GreenCorrectionB, 264);
ZP_BORDER_AT(BlueCorrectionA, 268);
ZP_BORDER_AT(BlueCorrectionB, 272);
ZP_BORDER_AT(Dword276, 276);
ZP_BORDER_AT(Dword280, 280);
ZP_BORDER_AT(Dword284, 284);
ZP_BORDER_AT(Format, 288);
ZP_BORDER_AT(Width2, 289);
ZP_BORDER_AT(Height2, 291);
ZP_BORDER_AT(Word293, 293);
ZP_BORDER_AT(Word295, 295);
ZP_BORDER_AT(Bytes297, 297);
ZP_BORDER_AT(Word299, 299);
ZP_BORDER_AT(Word301, 301);
ZP_BORDER_AT(ToneTable, 303);
ZP_BORDER_AT(FrameRate, 815);
ZP_BORDER_AT(Scratch, 819);
ZP_BORDER_AT(Word851, 851);
ZP_BORDER_AT(Byte853, 853);
ZP_BORDER_AT(Dword854, 854);
ZP_BORDER_AT(Dword858, 858);
ZP_BORDER_AT(DravikBlock, 862);
ZP_BORDER_AT(Zero868, 868);
ZP_BORDER_AT(Byte1019, 1019);
ZP_BORDER_AT(EndMarker, 1020);
#undef ZP_BORDER_AT

#ifdef __cplusplus

/* In-place byte swap: size 4 reverses every group of four bytes when length is a non-zero multiple
   of 4; size 2 exchanges every pair when length is non-zero and even; anything else does nothing. */
ZP_EXPORT void Change_Endianess(int size, void* data, unsigned int length);
/* Swaps every multi-byte field between camera and host order and clears Scratch. Applying it twice
   restores the record except for Scratch. */
ZP_EXPORT void ChangeBorderEndianess(BORDER_DATA* border);
/* Fills the record with the defaults; with keepModel 0 the model text becomes "KAV_BD1".
   The Dravik block and the zero area up to offset 1018 are cleared. Returns 0. */
ZP_EXPORT int SetDefaultBorder(BORDER_DATA* border, int keepModel);
/* Writes the Dravik block for a model index 0..37 (not checked); returns that model's Dravik code
   (-1 when it has none). */
ZP_EXPORT int FillDravikFields(BORDER_DATA* border, unsigned int modelIndex);
/* The lowest model index whose Dravik code equals dravikCode, else 0. */
ZP_EXPORT int DravikModelToKAV(int dravikCode);
/* White-balances a Width x Height 8-bit raw frame in place; the record is in camera byte order and
   is converted to host order and back (so Scratch ends up zero). */
ZP_EXPORT void CorrectTP2Data(void* frame, BORDER_DATA* border);

/* IRIG time and date of a record in host order. size is not used: the time text needs at least
   20 bytes, the date text 16. */
/* "hh:mm:ss:mmm:uuu"; returns the number of characters written. */
ZP_EXPORT int ExtractIRIGTime(BORDER_DATA* border, char* text, int size);
/* Returns the microseconds. */
ZP_EXPORT int ExtractIRIGTime(BORDER_DATA* border, int& hours, int& minutes, int& seconds, int& microseconds);
/* year = 2000 + the BCD year; returns the year. */
ZP_EXPORT int ExtractIRIGDate(BORDER_DATA* border, int& year, int& dayOfYear);
/* "(dd/mm/yy" with no closing parenthesis; returns the number of characters written. The printed
   year is only right up to 15 and the month is 13 past the end of the year, as hosts expect. */
ZP_EXPORT int ExtractIRIGDate(BORDER_DATA* border, char* text, int size);

#endif /* __cplusplus */

#endif /* ZPPORT_BORDERDATA_H */
