#pragma once

#include "tests/random_programs/run/Worker.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace random_programs {

/// Runs the programs from `from` up to, but without, `to`, in as many processes; each of them ends with its first
/// failure.
/// \returns what failed, the least number first
std::vector<Failure> runBatch(const Programs& programs, std::uint64_t from, std::uint64_t to, unsigned int processes);

/// Runs a program again and again, until it breaks the rule: what it does depends on the moment.
std::optional<Failure> runUntilItBreaks(const std::string& program, const std::string& rule);

} // namespace random_programs
