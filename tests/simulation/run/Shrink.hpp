#pragma once

#include "tests/simulation/kernel/Kernel.hpp"
#include "tests/simulation/program/Script.hpp"

#include <functional>
#include <string>

namespace simulation {

/// What a failure is about, without the circumstances: its first line, without numbers.
std::string gist(const std::string& failure);

/// Makes a script that fails shorter, as long as it fails with the same gist. Where a step is left out the threads
/// meet differently, so that each shorter script is tried under several seeds of the schedule.
/// \param run tells how a script ends
Script shrink(const Script& script, const std::function<Verdict(const Script&)>& run);

} // namespace simulation
