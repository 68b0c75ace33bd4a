// Ctrl-C for long-running subcommands: the signal only sets a flag, which the loops check between
// camera calls, so cameras are closed and no file is left half written under its final name.
#ifndef ZPCAM_INTERRUPT_H
#define ZPCAM_INTERRUPT_H

#include <csignal>

namespace zpcam {

// Installs the SIGINT and SIGTERM handler.
void CatchInterrupt();
bool Interrupted();

}  // namespace zpcam

#endif  // ZPCAM_INTERRUPT_H
