// CXTrace: the per-port text log and the tables that turn command codes,
// result codes and parameter numbers into text.
#ifndef ZPPORT_XTRACE_H
#define ZPPORT_XTRACE_H

#include "ZpExport.h"

class ZP_EXPORT CXTrace {
public:
    CXTrace();

    // Single-file log: name as given, its extension split off for the daily names.
    void EnableTrace(const char* name, int mode);
    // Per-id log "<base>_<id as %010u><ext>"; mode 0 off, 1 one file, 2+ one file per day.
    void EnableTrace(unsigned int id, const char* name, int mode);
    int IsLogEnabled() const;
    const char* LogPath() const;

    // One line: "hh:mm:ss:mmm CCCC LABEL message\r\n", appended with open-write-close.
    void Trace(unsigned int channel, int level, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    // Register words as "HH,LL" pairs, 24 to a line.
    void TraceRegs(unsigned int channel, int level, unsigned short* registers, int count);
    // Debugger-output hook; formats the message and writes it nowhere on this platform.
    void OutDebug(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // Description tables; each writes into the caller's buffer (128 characters are enough).
    void GetTWCommandDescr(int code, char* text);
    void GetKAVCommandDescr(int code, char* text);
    void GetKAVCommandErrorDescr(int code, char* text);
    void GetParameterDescr(int parameter, char* text);
    void GetHardwareErrorString(int code, char* text);
    void BuildStringFromGEError(int code, char* text);
    // Printable forms of a command line and of a binary frame (buffers of 2048 characters).
    void GetTWCommandString(char* line, char* text);
    void GetKAVCommandString(void* frame, int length, char* text);

private:
    void WriteToLogFile(const char* line);

    char m_szLogPath[512];
    char m_szBasePath[512];
    char m_szExtension[256];
    int m_nMode;
};

#endif  // ZPPORT_XTRACE_H
