#pragma once

#include <cstddef>
#include <memory>

namespace virtual_time::platform {

// What differs between operating systems; one source file for each of them.

/// A stack, and where on it a function goes on.
///
/// Threading: all contexts belong to the one thread that made them.
class Context {
public:
    using Body = void (*)(void* argument);

    /// The stack that is running already.
    Context();

    /// \param body never returns \throws std::bad_alloc if there is no memory for the stack
    Context(Body body, void* argument, std::size_t stackSize);
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    ~Context();

    /// Suspends this context, which is the running one, and goes on with the other.
    /// \param forGood nobody comes back to this one
    void switchTo(Context& next, bool forGood);

private:
    struct State;

    std::unique_ptr<State> m_state;
};

} // namespace virtual_time::platform
