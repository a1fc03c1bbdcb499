#pragma once

#include "host/Export.hpp"

namespace tovrinhost {

/// Is told what the interpreter thread turns to.
///
/// Threading: the interpreter thread.
class TOVRINHOST_API InterpreterObserver {
public:
    virtual ~InterpreterObserver() = default;

    /// It sleeps until there is something to do, and no longer.
    virtual void sleeps() noexcept = 0;
    virtual void wakes() noexcept = 0;

    /// Running code pauses or waits, and goes on.
    /// \param line where; 0 if nobody knows
    virtual void pumpingBegins(int line) noexcept = 0;
    virtual void pumpingEnds() noexcept = 0;
};

} // namespace tovrinhost
