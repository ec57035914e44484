#include "connection.h"

#include <sys/socket.h>

#include "server_context.h"
#include "work_scheduler.h"

namespace portico {

namespace {
constexpr int kDripPeriodMs = 10;
// Read from the socket at a time; what the socket holds for us beyond it stays in the kernel.
constexpr std::size_t kReadBytes = 16 * 1024;
constexpr qint64 kSocketReadBuffer = 64 * 1024;
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

Connection::~Connection() {
    if (m_context.scheduler) {
        m_context.scheduler->cancel(this);
    }
}

void Connection::start() {
    m_socket->setReadBufferSize(kSocketReadBuffer);
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
        resumeInput();
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

void Connection::abortConnection() {
    m_closing = true;
    m_dripQueue.clear();
    m_dripQueue.shrink_to_fit();
    // A reset rather than an orderly close: what the kernel still holds for the client is
    // dropped with the connection instead of waiting for a reader that does not come.
    const linger reset{1, 0};
    ::setsockopt(static_cast<int>(m_socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &reset,
                 sizeof(reset));
    m_socket->abort();
    finishClosing();
}

void Connection::requestWork() {
    if (m_context.scheduler && !m_closedSignalled) {
        m_context.scheduler->request(this);
    }
}

void Connection::resumeInput() {
    if (m_inputHeld && acceptsInput()) {
        readLines();
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
    resumeInput();
}

void Connection::readLines() {
    if (m_reading) {
        return;
    }
    m_reading = true;
    m_inputHeld = false;
    while (!m_closing && !m_closedSignalled) {
        if (!acceptsInput()) {
            m_inputHeld = true;
            break;
        }
        if (m_inputOffset == m_input.size()) {
            m_input.resize(kReadBytes);
            const qint64 n = m_socket->read(m_input.data(), static_cast<qint64>(m_input.size()));
            m_input.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
            m_inputOffset = 0;
            if (n <= 0) {
                break;
            }
            m_bytesReceived += static_cast<std::uint64_t>(n);
        }
        const std::string_view data = std::string_view(m_input).substr(m_inputOffset);
        const std::size_t end = data.find_first_of("\r\n");
        if (end == std::string_view::npos) {
            m_inputOffset = m_input.size();
            if (!m_discarding) {
                m_partial.append(data);
                if (m_partial.size() > kMaxLineBytes) {
                    // An overlong line is dropped whole, up to its line end.
                    std::string().swap(m_partial);
                    m_discarding = true;
                }
            }
            continue;
        }
        m_inputOffset += end + 1;
        if (!m_discarding) {
            m_partial.append(data.substr(0, end));
            if (m_partial.size() <= kMaxLineBytes && !m_partial.empty()) {
                const std::string line = std::move(m_partial);
                m_partial.clear();
                onLine(line);
            }
        }
        m_partial.clear();
        m_discarding = false;
    }
    m_reading = false;
}

void Connection::finishClosing() {
    if (m_closedSignalled) {
        return;
    }
    m_closedSignalled = true;
    if (m_dripTimer) {
        m_dripTimer->stop();
    }
    if (m_context.scheduler) {
        m_context.scheduler->cancel(this);
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
