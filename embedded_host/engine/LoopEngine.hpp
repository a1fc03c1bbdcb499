#pragma once

#include "embedded_host/engine/EventLoop.hpp"
#include "host/vorn/VORN.hpp"

namespace tovrinhost {

/// An engine that works off an event loop, whatever it is that it evaluates: all that timers and their runs know
/// of it.
///
/// Threading: `interrupt`, any thread; the loop, as it says.
class TOVRINHOST_API LoopEngine : public vorn::VORN {
public:
    EventLoop& loop() { return m_loop; }

    /// Makes the code that runs, and each pumping call, give up, until the loop's interruption is cleared.
    virtual void interrupt(Interruption why) { m_loop.interrupt(why); }

private:
    EventLoop m_loop;
};

} // namespace tovrinhost
