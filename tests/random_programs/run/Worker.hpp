#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace random_programs {

/// Programs by their number.
using Programs = std::function<std::string(std::uint64_t number)>;

struct Failure {
    std::uint64_t number = 0;
    std::string rule;
    std::string how;
    std::string output;
};

/// A child process that runs programs, and holds each against the model. A program that fails, crashes or hangs is
/// its last.
class Worker {
public:
    /// Runs the programs from `first` up to, but without, `end`, each `step`th.
    Worker(const Programs& programs, std::uint64_t first, std::uint64_t end, std::uint64_t step);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker();

    /// \returns the one that failed, nothing if none did
    std::optional<Failure> await();

private:
    struct Progress; // in memory that parent and child share

    [[noreturn]] void work(
        const Programs& programs, std::uint64_t first, std::uint64_t end, std::uint64_t step) const;

    const int m_output;
    Progress* const m_progress;
    pid_t m_child = -1;
};

} // namespace random_programs
