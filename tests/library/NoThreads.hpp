#pragma once

namespace tovrintimer {

/// As long as it exists, the system refuses to start any thread.
class NoThreads {
public:
    /// \throws std::system_error if the system does not lend itself to it
    NoThreads();
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;
    ~NoThreads();
};

} // namespace tovrintimer
