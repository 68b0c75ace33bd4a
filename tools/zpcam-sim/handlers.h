// Command dispatch: each protocol area registers its handlers into one table.
#ifndef ZPCAM_SIM_HANDLERS_H
#define ZPCAM_SIM_HANDLERS_H

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "camera_model.h"
#include "protocol.h"

namespace zpsim {

// Datagrams the server sends, after the reply, to a port on the requester's address
// (the segment train of an image request).
struct DataTrain {
    std::uint16_t port = 0;
    std::vector<std::string> datagrams;
};

// What a handler answers: the result code and the data from reply position 7 on.
struct HandlerResult {
    std::uint8_t result = kResultOk;
    std::string data;
    std::optional<DataTrain> train;
};

// Result code 11 with the answer data; the bad-argument code with none.
HandlerResult Ok(std::string data = {});
HandlerResult Bad();

// Hex fields of the given widths, read one after the other from a command's arguments; nothing
// unless every field is hexadecimal and the widths add up to the whole text.
std::optional<std::vector<std::uint32_t>> HexFields(const std::string& args,
                                                    std::initializer_list<std::size_t> widths);

using Handler = std::function<HandlerResult(CameraModel&, const Command&)>;

class HandlerTable {
public:
    void Register(std::uint8_t code, Handler handler) { m_handlers[code] = std::move(handler); }
    // Nothing when no handler is registered for the command code.
    std::optional<HandlerResult> Dispatch(CameraModel& model, const Command& command) const;

private:
    std::map<std::uint8_t, Handler> m_handlers;
};

// Session, state and identity commands (open, close, status, vendor information, counters, address).
void RegisterSessionHandlers(HandlerTable& table);

// Settings commands and the queries that read them back.
void RegisterSettingsHandlers(HandlerTable& table);

// Image requests: frame range, download and live frames, aborts, download format and size.
void RegisterImageHandlers(HandlerTable& table);

// The table with every protocol area the simulator knows.
HandlerTable MakeDefaultHandlers();

}  // namespace zpsim

#endif  // ZPCAM_SIM_HANDLERS_H
