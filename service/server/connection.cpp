#include "connection.h"

#include <sys/socket.h>

#include "server_context.h"

namespace portico {

namespace {
constexpr std::size_t kMaxLineBytes = 64 * 1024;
constexpr int kDripPeriodMs = 10;
} // namespace

Connection::Connection(QTcpSocket* socket, ServerContext& context, QObject* parent)
    : QObject(parent), m_context(context), m_socket(socket), m_id(context.nextConnectionId++) {
    socket->setParent(this);
    connect(socket, &QTcpSocket::disconnected, this, &Connection::finishClosing);
    connect(socket, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError) {
        if (m_socket->state() != QAbstractSocket::ConnectedState) {
            finishClosing();
        }
    });
}

Connection::~Connection() = default;

void Connection::start() {
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_socket->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, 4 << 20);
    if (m_context.options.faults.dripBytes > 0) {
        m_dripTimer = new QTimer(this);
        m_dripTimer->setInterval(kDripPeriodMs);
        connect(m_dripTimer, &QTimer::timeout, this, &Connection::dripOut);
        m_dripTimer->start();
    }
    connect(m_socket, &QTcpSocket::readyRead, this, &Connection::readLines);
    connect(m_socket, &QTcpSocket::bytesWritten, this, [this](qint64 written) {
        m_bytesSent += static_cast<std::uint64_t>(written);
        onOutputDrained();
    });
    onStart();
    readLines();
}

void Connection::send(std::string_view bytes) {
    if (m_closing || m_closedSignalled || bytes.empty() ||
        m_socket->state() != QAbstractSocket::ConnectedState) {
        return;
    }
    if (m_dripTimer) {
        m_dripQueue.append(bytes);
        return;
    }
    if (m_socket->bytesToWrite() == 0) {
        // Nothing queued: hand the bytes to the kernel directly, saving the copy into the
        // socket's buffer; only what the kernel does not take now is queued there.
        const ssize_t sent = ::send(static_cast<int>(m_socket->socketDescriptor()), bytes.data(),
                                    bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent > 0) {
            m_bytesSent += static_cast<std::uint64_t>(sent);
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
    }
    if (!bytes.empty()) {
        // Errors, if any, are reported by the socket itself.
        m_socket->write(bytes.data(), static_cast<qint64>(bytes.size()));
    }
}

std::uint64_t Connection::pendingBytes() const {
    const std::uint64_t queued = m_dripQueue.size() - m_dripOffset;
    return queued + static_cast<std::uint64_t>(m_socket->bytesToWrite());
}

void Connection::closeWhenFlushed() {
    if (m_closing) {
        return;
    }
    m_closing = true;
    if (!m_dripTimer || m_dripOffset >= m_dripQueue.size()) {
        m_socket->disconnectFromHost();
    }
}

void Connection::dripOut() {
    const std::size_t left = m_dripQueue.size() - m_dripOffset;
    const std::size_t count =
        std::min(left, static_cast<std::size_t>(m_context.options.faults.dripBytes));
    if (count > 0) {
        m_socket->write(m_dripQueue.data() + m_dripOffset, static_cast<qint64>(count));
        m_dripOffset += count;
        if (m_dripOffset == m_dripQueue.size()) {
            m_dripQueue.clear();
            m_dripOffset = 0;
        } else if (m_dripOffset > (1u << 20)) {
            m_dripQueue.erase(0, m_dripOffset);
            m_dripOffset = 0;
        }
    }
    if (m_closing && m_dripQueue.empty()) {
        m_socket->disconnectFromHost();
        return;
    }
    onOutputDrained();
}

void Connection::readLines() {
    char buffer[16384];
    while (!m_closing && m_socket->bytesAvailable() > 0) {
        const qint64 n = m_socket->read(buffer, sizeof(buffer));
        if (n <= 0) {
            break;
        }
        m_bytesReceived += static_cast<std::uint64_t>(n);
        std::string_view data(buffer, static_cast<std::size_t>(n));
        while (!data.empty()) {
            const std::size_t end = data.find_first_of("\r\n");
            if (end == std::string_view::npos) {
                if (!m_discarding) {
                    m_partial.append(data);
                    if (m_partial.size() > kMaxLineBytes) {
                        // An overlong line is dropped whole, up to its line end.
                        m_partial.clear();
                        m_discarding = true;
                    }
                }
                break;
            }
            if (!m_discarding) {
                m_partial.append(data.substr(0, end));
                if (m_partial.size() <= kMaxLineBytes && !m_partial.empty()) {
                    const std::string line = std::move(m_partial);
                    m_partial.clear();
                    onLine(line);
                    if (m_closing) {
                        return;
                    }
                }
            }
            m_partial.clear();
            m_discarding = false;
            data.remove_prefix(end + 1);
        }
    }
}

void Connection::finishClosing() {
    if (m_closedSignalled) {
        return;
    }
    m_closedSignalled = true;
    if (m_dripTimer) {
        m_dripTimer->stop();
    }
    emit closed(this);
}

bool Connection::handleCommonCommand(const SystemCommand& command) {
    if (command.name == "SET PROTOCOL") {
        send("S,CURRENT PROTOCOL," + command.argument + "\r\n");
        return true;
    }
    if (command.name == "SET CLIENT NAME") {
        return true;
    }
    return false;
}

void Connection::sendSyntaxError() {
    send("E,!SYNTAX_ERROR!,\r\n");
}

} // namespace portico
