#pragma once

#include "tests/simulation/kernel/Kernel.hpp"
#include "tests/simulation/program/Script.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace simulation {

/// What a failure is about, without the circumstances: its first line, without numbers.
std::string gist(const std::string& failure);

/// Looks for a seed of the schedule under which a script fails with this gist.
using FindSchedule
    = std::function<std::optional<std::uint64_t>(const Script& script, const std::string& gistOfFailure)>;

/// Makes a script that fails shorter, as long as it fails with the same gist. Where a step is left out the threads
/// meet differently, so that each shorter script is tried under several seeds of the schedule.
Script shrink(const Script& script, const std::string& failure, const FindSchedule& find);

} // namespace simulation
