#pragma once

// One client connection: cuts the received bytes into lines, queues output (dripping it out
// slowly under the drip fault), counts bytes, and tells its owner when it is gone.

#include <QObject>
#include <QTcpSocket>
#include <QTimer>

#include <cstdint>
#include <string>
#include <string_view>

#include "commands.h"
#include "line_writer.h"

namespace portico {

class ServerContext;

class Connection : public QObject {
    Q_OBJECT
public:
    Connection(QTcpSocket* socket, ServerContext& context, QObject* parent = nullptr);
    ~Connection() override;

    // Begins serving: greeting, then reading. Called once the connection is accepted.
    void start();
    int id() const { return m_id; }
    std::uint64_t bytesReceived() const { return m_bytesReceived; }
    std::uint64_t bytesSent() const { return m_bytesSent; }

    void send(std::string_view bytes);
    // Output not yet handed to the kernel.
    std::uint64_t pendingBytes() const;
    // Closes once all queued output has been written.
    void closeWhenFlushed();

signals:
    void closed(portico::Connection* connection);

protected:
    virtual void onStart() {}
    virtual void onLine(std::string_view line) = 0;
    // Called whenever queued output has drained somewhat.
    virtual void onOutputDrained() {}
    // The commands every port understands; false when the command is not one of them.
    bool handleCommonCommand(const SystemCommand& command);
    void sendSyntaxError();

    ServerContext& m_context;
    LineWriter m_out;

private:
    void readLines();
    void dripOut();
    void finishClosing();

    QTcpSocket* m_socket; // owned, a child of this
    QTimer* m_dripTimer = nullptr;
    std::string m_dripQueue;
    std::size_t m_dripOffset = 0;
    std::string m_partial;
    bool m_discarding = false; // inside an overlong line, dropping bytes until its end
    bool m_closing = false;
    bool m_closedSignalled = false;
    int m_id;
    std::uint64_t m_bytesReceived = 0;
    std::uint64_t m_bytesSent = 0;
};

} // namespace portico
