#pragma once

#include "host/Export.hpp"

namespace tovrinhost {

class EventLoop;

/// Whether the calling thread is the interpreter thread of this loop.
TOVRINHOST_API bool isInterpreterThread(const EventLoop& loop) noexcept;

/// Makes the calling thread the interpreter thread of a loop, for as long as this object lives; then it is again
/// what it was before.
class TOVRINHOST_API InterpreterThread {
public:
    explicit InterpreterThread(const EventLoop& loop) noexcept;
    InterpreterThread(const InterpreterThread&) = delete;
    InterpreterThread& operator=(const InterpreterThread&) = delete;
    ~InterpreterThread();

private:
    const EventLoop* const m_before; // null for none
};

} // namespace tovrinhost
