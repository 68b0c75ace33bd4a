// Settings commands: each stores its values in the camera model; the queries answer from there.
#include "handlers.h"

namespace zpsim {

/// \todo Settings commands and their read-back queries.
void RegisterSettingsHandlers(HandlerTable&) {}

}  // namespace zpsim
