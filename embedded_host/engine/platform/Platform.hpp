#pragma once

#include <memory>

namespace tovrinhost::platform {

// What differs between operating systems; one source file for each of them.

/// Has something done in the midst of a thread's work, between any two of its instructions.
///
/// On Linux a signal brings it there; on Windows the thread stands still while it is done. Either way the action
/// meets what a signal handler meets: it must not take a lock, allocate memory or throw.
///
/// Threading: made and destroyed on the thread in question; `interject`, any thread, while the object lives.
class Interjection {
public:
    using Action = void (*)(void* context);

    Interjection(Action action, void* context);
    Interjection(const Interjection&) = delete;
    Interjection& operator=(const Interjection&) = delete;
    ~Interjection();

    /// The action has been done, or is done before the thread's next instruction.
    void interject() noexcept;

private:
    struct State;
    const std::unique_ptr<State> m_state;
};

} // namespace tovrinhost::platform
