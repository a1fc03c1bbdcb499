#pragma once

#include <cstdint>

namespace tovrin_c {

/// What the system lets a thread wait for together with other things, and what is ready while something waits in a
/// host's queue. There is one for each operating system.
///
/// Threading: one thread at a time.
class ReadySignal {
public:
    /// \throws std::system_error
    ReadySignal();
    ReadySignal(const ReadySignal&) = delete;
    ReadySignal& operator=(const ReadySignal&) = delete;
    ~ReadySignal();

    /// A file descriptor, or a handle.
    std::intptr_t native() const noexcept { return m_native; }

    void set() noexcept;
    void clear() noexcept;

private:
    const std::intptr_t m_native;
};

} // namespace tovrin_c
