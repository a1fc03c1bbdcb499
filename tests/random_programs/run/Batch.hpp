#pragma once

#include "tests/random_programs/run/Worker.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace random_programs {

/// Runs the programs from `from` up to, but without, `to`, in as many processes.
/// \param mostFailures a process that fails goes on behind its failure, until there are as many
/// \returns what failed, the least number first
std::vector<Failure> runBatch(const Programs& programs, std::uint64_t from, std::uint64_t to,
    unsigned int processes, std::size_t mostFailures = 1);

/// Runs a program again and again, until it breaks the rule: what it does depends on the moment.
std::optional<Failure> runUntilItBreaks(const std::string& program, const std::string& rule);

} // namespace random_programs
