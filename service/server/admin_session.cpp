#include "admin_session.h"

namespace portico {

void AdminSession::onLine(std::string_view line) {
    const Command command = ParseCommand(line);
    if (const auto* system = std::get_if<SystemCommand>(&command)) {
        if (handleCommonCommand(*system)) {
            return;
        }
    }
    sendSyntaxError();
}

} // namespace portico
