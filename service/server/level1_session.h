#pragma once

// A Level 1 connection: watches and unwatches symbols, chooses its update fields, and receives
// fundamental ('F'), summary ('P'), update ('Q') and time ('T') lines.

#include <set>
#include <string>
#include <vector>

#include "connection.h"
#include "update_fields.h"

namespace portico {

class Level1Session : public Connection {
    Q_OBJECT
public:
    Level1Session(QTcpSocket* socket, ServerContext& context, QObject* parent = nullptr);
    ~Level1Session() override;

    // A live update of a symbol this session watches.
    void sendUpdate(const QuoteState& state, std::string_view contents);
    // "T,YYYYMMDD HH:MM:SS" with the exchange time.
    void sendTime(Micros now);

protected:
    void onStart() override;
    void onLine(std::string_view line) override;

private:
    void watch(const std::string& symbol);
    void selectFields(const std::string& names);
    void afterUpdateLine();

    std::vector<UpdateField> m_fields;
    std::uint64_t m_updateLines = 0;
};

} // namespace portico
