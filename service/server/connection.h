#pragma once

// One client connection: cuts the received bytes into lines, queues output (dripping it out
// slowly under the drip fault), counts bytes, and tells its owner when it is gone.
//
// Bounds: a line over 64 KiB is dropped whole, up to its line end. While a session does not take
// input (by default: while more than kOutputBound bytes of its output wait to be written, as
// when the client does not read), nothing more is read from the socket, so that a client that
// sends without reading is held back by TCP instead of growing the service's memory.

#include <QObject>
#include <QTcpSocket>
#include <QTimer>

#include <cstdint>
#include <string>
#include <string_view>

#include "commands.h"
#include "line_writer.h"
#include "work_scheduler.h"

namespace portico {

class ServerContext;

class Connection : public QObject, public ScheduledWork {
    Q_OBJECT
public:
    // Output waiting to be written above which a connection stops reading input.
    static constexpr std::uint64_t kOutputBound = 4u << 20;
    static constexpr std::size_t kMaxLineBytes = 64 * 1024;

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
    // Closes at once, dropping queued output.
    void abortConnection();

signals:
    void closed(portico::Connection* connection);

protected:
    virtual void onStart() {}
    virtual void onLine(std::string_view line) = 0;
    // Called whenever queued output has drained somewhat.
    virtual void onOutputDrained() {}
    // Whether more input lines are taken now; see the bounds above.
    virtual bool acceptsInput() const { return pendingBytes() < kOutputBound; }
    // Goes on with input held back while acceptsInput() was false.
    void resumeInput();
    // Has the work scheduler call workStep() in a coming round.
    void requestWork();
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
    std::string m_input; // read from the socket, not yet cut into lines
    std::size_t m_inputOffset = 0;
    std::string m_partial;
    bool m_discarding = false; // inside an overlong line, dropping bytes until its end
    bool m_reading = false;    // inside readLines()
    bool m_inputHeld = false;  // readLines() stopped because no input was taken
    bool m_closing = false;
    bool m_closedSignalled = false;
    int m_id;
    std::uint64_t m_bytesReceived = 0;
    std::uint64_t m_bytesSent = 0;
};

} // namespace portico
