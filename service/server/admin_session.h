#pragma once

// An admin connection: receives the service statistics line on connect and every second.

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
