#pragma once

#include "feed/feed_platform.h"

#include <QObject>

#include <memory>

class QSocketNotifier;

// The event-driven TCP socket over Qt's event loop: a non-blocking POSIX socket watched by
// socket notifiers. Connect completion, arriving data, peer close and incoming connections become
// the notifications of IPlatformSocketEvents, delivered from the event loop of the thread that
// made the socket. Each read notification makes exactly one OnReceive call. An exception that
// escapes a notification is logged there and the notification abandoned.
class CQtStreamSocket : public QObject, public IPlatformSocket {
    Q_OBJECT

public:
    explicit CQtStreamSocket(IPlatformSocketEvents& events);
    ~CQtStreamSocket() override;

    bool Create() override;
    bool Connect(const std::string& address, std::uint32_t port) override;
    int Send(const void* bytes, int length, int flags) override;
    int Receive(void* buffer, int length, int flags) override;
    std::intptr_t Accept() override;
    void Close() override;
    void SetReading(bool reading) override;
    int LastError() const override { return m_lastError; }

private:
    enum class EState { Closed, Created, Connecting, Connected, Failed };

    void MakeNotifiers();
    void DropNotifiers();
    void OnReadable();
    void OnWritable();
    // Runs one notification, keeping exceptions inside the event loop boundary.
    template <typename Notify> void Dispatch(const char* what, Notify&& notify);
    void PostConnectResult(int error);

    IPlatformSocketEvents& m_events;
    int m_fd = -1;
    EState m_state = EState::Closed;
    int m_lastError = 0;
    // Set while a read notification runs; tells whether the handler took any bytes.
    bool m_inRead = false;
    bool m_readTookBytes = false;
    // False while the receiver asked for no more bytes.
    bool m_reading = true;
    std::unique_ptr<QSocketNotifier> m_readNotifier;
    std::unique_ptr<QSocketNotifier> m_writeNotifier;
};
