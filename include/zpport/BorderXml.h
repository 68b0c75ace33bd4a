/*
 * Border data XML files: a readable, line-based form of BORDER_DATA records, one <Frame> per record.
 *
 * The file is a line format rather than parsed XML: its first line contains "<BorderData>", every
 * field is one line "<Tag>value</Tag>", a line containing "</Frame>" ends a frame (frames are
 * numbered from 0), and a line containing "</BorderData>" ends the content. The value of a line is
 * the text between its first ">" and its last "<"; nothing is escaped. Lines longer than 511
 * characters are read in pieces of 511 characters, each piece handled as a line of its own.
 *
 * Tags, in the order in which they are looked for and written (the first tag found in a line wins):
 * CameraID, CameraName, Date (MM/DD/YY of the BCD clock), Time (HH:MM:SS of the BCD clock),
 * ElapsedMicroseconds, ElapsedMinutes, Exposure, Format, FrameNumber, FrameRate, Height, Width,
 * HubPresent, IrigPresent, IrigDays, IrigHours, IrigMinutes, IrigSeconds, IrigMicroseconds, Legacy
 * (ignored), RecordMode, SensorType, SerialNumber, SessionID, SessionName, Temperature, TriggerFrame,
 * WhiteBalance, WhiteBalanceRed, WhiteBalanceGreen, WhiteBalanceBlue.
 *
 * Fields the format does not carry; a record read from a file has them at their defaults:
 * ModelText, Byte12, Byte15, Byte16, Words58, Byte118, Byte127, CorrectionLayout, the bits of Flags
 * other than BORDER_FLAG_HUB_PRESENT, Byte243, Dword244, the correction terms, Dword260, Dword276,
 * Dword280, Dword284, Word293, Word295, Bytes297, Word299, Word301, ToneTable, Scratch, Word851,
 * Byte853, Dword854, Dword858, DravikBlock, Zero868, Byte1019 and EndMarker. FrameRateIndex, Width2
 * and Height2 are not written either: the reader derives them from FrameRate, Width and Height.
 *
 * Fields carried only in part: Format 0..4 (any other value reads back as 0), RecordMode 1..3 (others
 * read back as 3), SensorType 1 or 2 (others read back as 2), WhiteBalance 0..4 (others read back as
 * 3), IrigPresent and TriggerFrame as 0 or 1 (any non-zero value reads back as 1), IRIG digits 0..9
 * (others are written as 0), names up to their first NUL and at most 50 characters (a line break in a
 * name is written as a space; a name that holds a tag such as "</Frame>" confuses the reader), and
 * NaN gains without their payload. Every other carried value, including clock bytes that are not
 * valid BCD, reads back exactly.
 */
#ifndef ZPPORT_BORDERXML_H
#define ZPPORT_BORDERXML_H

#include <stdio.h>

#include "BorderData.h"
#include "ZpExport.h"

/* Result of the border XML functions when a file cannot be opened or written. */
#define BORDER_XML_FAILED 0xFFFFFFFFu

#ifdef __cplusplus

/* Reads the record of frame number `frame` (from 0) of the file at `path` into `border`, in host
   order. The record is first set to the default record, of which at most `size` bytes (never more
   than 1024, nothing when size <= 0) are copied; the frame's fields are then written over it, so
   `border` must always point to a full record. Integer values are read with "%d" and truncated to
   the field's width; a value "%d" cannot read stores 0. White-balance gains are read with "%f"; a
   gain "%f" cannot read stores the gain last read in the same call, or 0.0 when none was.
   Returns 0 when the file was opened, whether or not the frame was found (a first line without
   "<BorderData>" or a frame past the end leaves the defaults), and BORDER_XML_FAILED when it could
   not be opened or `path` or `border` is null. */
ZP_EXPORT unsigned int ReadBorderDataFromXml(const char* path, int frame, BORDER_DATA* border, int size);

/* Copies the text after the first ">" of `line` into `value` (at most `size` bytes including the
   terminator) and cuts it at its last "<". Returns the position of that "<" in `value` (now the
   terminator), or null when the copied text holds no "<". `value` is empty when `line` has no ">";
   with size <= 0 nothing is written. */
ZP_EXPORT char* ExtractDataFromXMLString(const char* line, char* value, int size);

/* Writes `count` records (host order) to a new file at `path`: "<BorderData>", one frame per record
   and "</BorderData>". Returns 0, or BORDER_XML_FAILED when `path` is null, `borders` is null with
   a positive count, or the file cannot be created or written completely (a partial file may then
   remain). A count <= 0 writes a file without frames. */
ZP_EXPORT unsigned int WriteBorderDataToXml(const char* path, const BORDER_DATA* borders, int count);

/* Streaming form of WriteBorderDataToXml for a file opened by the caller: the first line, one frame
   per call, and the last line. Each returns 0, or BORDER_XML_FAILED when an argument is null or the
   stream reports a write error. */
ZP_EXPORT unsigned int WriteBorderXmlBegin(FILE* file);
ZP_EXPORT unsigned int WriteBorderFrameToXml(FILE* file, const BORDER_DATA* border);
ZP_EXPORT unsigned int WriteBorderXmlEnd(FILE* file);

#endif /* __cplusplus */

#endif /* ZPPORT_BORDERXML_H */
