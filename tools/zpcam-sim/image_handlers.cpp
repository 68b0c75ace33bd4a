// Image requests: answered from the camera's recording and live source with segment trains.
#include "handlers.h"

namespace zpsim {

/// \todo Frame range, download and live requests, aborts.
void RegisterImageHandlers(HandlerTable&) {}

}  // namespace zpsim
