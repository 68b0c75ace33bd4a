// Names of trace log files: the split of a given name into base and extension, the
// per-id name and the daily name. Pure functions, so that names can be checked for any date.
#ifndef ZPPORT_TRACE_LOG_FILE_NAME_H
#define ZPPORT_TRACE_LOG_FILE_NAME_H

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "os/text_copy.h"
#include "zpport/OSLayer.h"

namespace zptrace {

using zpos::CopyText;

// base := name up to its last "."; extension := the rest from that "." on, or empty.
// The last "." may lie in a directory name ("/tmp/a.b/log" splits into "/tmp/a" and ".b/log").
inline void SplitLogName(const char* name, char* base, std::size_t baseSize, char* extension,
                         std::size_t extensionSize) {
    CopyText(base, baseSize, name);
    char* dot = std::strrchr(base, '.');
    if (dot == nullptr) {
        extension[0] = '\0';
        return;
    }
    CopyText(extension, extensionSize, dot);
    *dot = '\0';
}

// "<base>_<id as %010u><extension>"; false when the name does not fit (it is then cut).
inline bool FormIdLogName(char* out, std::size_t size, const char* base, unsigned int id,
                          const char* extension) {
    const int length = std::snprintf(out, size, "%s_%010u%s", base, id, extension);
    return length >= 0 && static_cast<std::size_t>(length) < size;
}

// The file a line goes to: with mode 2 or more "<base>_<yyyy>-<mm>-<dd><extension>" for the
// given local time (years since 1900, 0-based month), otherwise the log path.
// False when the name does not fit; the caller then writes nothing.
inline bool FormLogFileName(char* out, std::size_t size, const char* logPath, const char* base,
                            const char* extension, int mode, const _OS_SYSTEMTIME& time) {
    const int length = mode >= 2 ? std::snprintf(out, size, "%s_%d-%02d-%02d%s", base, time.wYear + 1900,
                                                 time.wMonth + 1, time.wDay, extension)
                                 : std::snprintf(out, size, "%s", logPath);
    return length >= 0 && static_cast<std::size_t>(length) < size;
}

}  // namespace zptrace

#endif  // ZPPORT_TRACE_LOG_FILE_NAME_H
