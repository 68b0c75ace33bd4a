// Exit statuses of zpcam and the error that carries one from the failing step up to main().
#ifndef ZPCAM_EXIT_CODES_H
#define ZPCAM_EXIT_CODES_H

#include <stdexcept>
#include <string>

namespace zpcam {

// One status per kind of failure, so that scripts can tell them apart (listed in `zpcam --help`).
enum ExitCode : int {
    kExitOk = 0,
    kExitUsage = 2,          // bad arguments or options
    kExitNotFound = 3,       // no camera (or more than one) answers to the serial number or name given
    kExitCamera = 4,         // the camera did not open, answer or accept a command
    kExitFile = 5,           // a file could not be read or written, or its contents are wrong
    kExitInterrupted = 130,  // stopped by Ctrl-C (SIGINT) or SIGTERM
};

// Text for the exit statuses, shown at the end of `zpcam --help`.
inline const char* ExitCodeHelp() {
    return "Exit status:\n"
           "  0  success\n"
           "  2  usage error (bad arguments or options)\n"
           "  3  camera not found (no camera, or more than one, answers to the serial number or name)\n"
           "  4  camera error (the camera did not open, answer or accept a command)\n"
           "  5  file error (a file cannot be read or written, or a settings file is wrong)\n"
           "  130  interrupted (Ctrl-C); the saved frames are complete and --resume goes on\n";
}

// Thrown by a failing step; main() prints "zpcam: <message>" and exits with the status.
class ToolError : public std::runtime_error {
public:
    ToolError(ExitCode code, const std::string& message) : std::runtime_error(message), m_code(code) {}
    ExitCode Code() const { return m_code; }

private:
    ExitCode m_code;
};

}  // namespace zpcam

#endif  // ZPCAM_EXIT_CODES_H
