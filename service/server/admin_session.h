#pragma once

// An admin connection: receives the service statistics line on connect and every second, and
// answers "S,LEVEL1 COUNTS" with the update and trade lines sent to all Level 1 clients.

#include "connection.h"

namespace portico {

class AdminSession : public Connection {
    Q_OBJECT
public:
    using Connection::Connection;

protected:
    void onLine(std::string_view line) override;
};

} // namespace portico
