#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <vector>

// Takes what a connection receives as it arrives, before it is cut into lines: a reader on a
// thread of its own. The connection's thread only moves buffers to it. The lines the reader does
// not keep itself come back, in order, through TakeLines; whoever owns the reader has the
// connection take them (CKestrelStreamSocket::TakeFromSink) on the connection's thread when the
// reader says that lines wait, that a line failed or that it has room again.
class IReceivedBytesSink {
public:
    virtual ~IReceivedBytesSink() = default;
    // A buffer to receive into: one the reader is done with, as long as it was pushed (its
    // bytes are stale), or an empty one.
    virtual std::vector<char> Buffer() = 0;
    // The bytes of one receive, in the order received: the first `used` bytes of `buffer`. The
    // rest is room that a receive did not fill; keeping it in the buffer spares the receiving
    // side clearing it again each time.
    virtual void Push(std::vector<char>&& buffer, std::size_t used) = 0;
    // False while the reader is behind: the connection stops reading until it is told to take
    // from the reader again and there is room.
    virtual bool HasRoom() const = 0;
    // The lines handed back since the last call, oldest first.
    virtual std::vector<std::string> TakeLines() = 0;
    // The first failure of a line that the reader read itself since the last call, or null.
    virtual std::exception_ptr TakeFailure() = 0;
    // True once a line grew past `limit` bytes without its end: nothing after it can be read.
    virtual bool LineLongerThan(std::size_t limit) const = 0;
    // Blocks until every byte pushed so far is read (its lines waiting in TakeLines).
    virtual void Drain() = 0;
    // The next bytes pushed come from a new connection: a line that the last one left
    // unfinished is dropped.
    virtual void Restart() = 0;
};
