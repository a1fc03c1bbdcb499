#pragma once

#include "tests/simulation/kernel/Kernel.hpp"
#include "tests/simulation/program/Script.hpp"

namespace simulation {

struct RunOptions {
    bool trace = false;
    std::uint64_t stepLimit = 1'000'000;
};

/// Runs a script in the simulation, with the library and the host, and holds it against the model.
///
/// After a failure nothing more can be simulated in this process.
Verdict simulate(const Script& script, const RunOptions& options = {});

/// The script of a seed.
Script scriptOf(std::uint64_t seed);

} // namespace simulation
