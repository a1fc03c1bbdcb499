#pragma once

#include "tests/simulation/VirtualTime.hpp"
#include "tests/simulation/program/Program.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace simulation {

/// What a failure is about, without the circumstances: its first line, without numbers.
std::string gist(const std::string& failure);

/// Looks for a seed of the schedule under which a program fails with this gist.
using FindSchedule
    = std::function<std::optional<std::uint64_t>(const Program& program, const std::string& gistOfFailure)>;

/// Makes a program that fails shorter, as long as it fails with the same gist. Where a step is left out the
/// threads meet differently, so that each shorter program is tried under several seeds of the schedule.
Program shrink(const Program& program, const std::string& failure, const FindSchedule& find);

} // namespace simulation
