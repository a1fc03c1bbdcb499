#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace virtual_time {

/// A stack of its own on which a function runs until it hands over to another fiber.
///
/// Threading: all fibers run on the one thread that made them, one at a time. What C++ keeps for each thread about
/// exceptions on their way is kept for each fiber.
/// Ownership: a fiber that is destroyed before its function has returned leaves what stood on its stack as it is.
class Fiber {
public:
    /// The stack that is running already.
    Fiber();

    /// \param body never returns: at its end it hands over for the last time, with `leaveFor`
    Fiber(std::function<void()> body, std::size_t stackSize);
    Fiber(const Fiber&) = delete;
    Fiber& operator=(const Fiber&) = delete;
    ~Fiber();

    /// Suspends this fiber, which is the running one, and goes on with the other.
    void switchTo(Fiber& next);

    /// The same for good.
    void leaveFor(Fiber& next);

private:
    struct State;

    void go(Fiber& next, bool forGood);

    std::unique_ptr<State> m_state;
};

} // namespace virtual_time
