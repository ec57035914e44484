#include "admin_session.h"

#include "server_context.h"
#include "update_fields.h"

namespace portico {

void AdminSession::onLine(std::string_view line) {
    const Command command = ParseCommand(line);
    if (const auto* system = std::get_if<SystemCommand>(&command)) {
        if (handleCommonCommand(*system)) {
            return;
        }
        if (system->name == "LEVEL1 COUNTS") {
            m_out.clear();
            WriteLevel1Counts(m_out, m_context.updatesSent, m_context.tradesSent);
            send(m_out.view());
            return;
        }
    }
    sendSyntaxError();
}

} // namespace portico
