#pragma once

#include "tests/simulation/run/Simulation.hpp"

#include <functional>
#include <optional>
#include <string>

namespace simulation {

/// Runs the function in a child process, and returns the text that it returns.
/// \returns nothing if the child crashed or took longer than `seconds`; `how` says so then
std::optional<std::string> runApart(
    const std::function<std::string()>& function, unsigned int seconds, std::string* how = nullptr);

/// Simulates a program in a child process: it may fail, crash or hang.
Verdict simulateApart(const Program& program, const RunOptions& options = {});

/// Looks for a seed of the schedule, the program's own first, under which it fails with this gist.
std::optional<std::uint64_t> findSchedule(const Program& program, const std::string& gistOfFailure);

struct Batch {
    std::uint64_t seeds = 0; ///< that have been run
    std::uint64_t steps = 0;
    std::optional<std::uint64_t> failedSeed; ///< the first that failed
};

/// Simulates the seeds from `from` up to, but without, `to`, in as many child processes; stops at the first
/// failure.
Batch simulateSeeds(std::uint64_t from, std::uint64_t to, unsigned int processes);

} // namespace simulation
