#pragma once

#include <functional>
#include <memory>

namespace tovrinhost::platform {

// What differs between operating systems; one source file for each of them.

/// Makes standard output appear line by line, also where it is a pipe or a file.
void setUpStandardOutput();

/// Calls a function for each Ctrl-C, on a thread of its own, for as long as it lives.
class InterruptWatcher {
public:
    /// One at a time in the process.
    explicit InterruptWatcher(std::function<void()> onInterrupt);
    InterruptWatcher(const InterruptWatcher&) = delete;
    InterruptWatcher& operator=(const InterruptWatcher&) = delete;
    ~InterruptWatcher();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace tovrinhost::platform
