#pragma once

#include "tests/simulation/VirtualTime.hpp"
#include "tests/simulation/program/Program.hpp"

namespace simulation {

struct RunOptions {
    bool trace = false;
    std::uint64_t stepLimit = 1'000'000;
};

/// Runs a program in the simulation, with the library and the host, and holds it against the model.
///
/// After a failure nothing more can be simulated in this process.
Verdict simulate(const Program& program, const RunOptions& options = {});

/// The program of a seed.
Program programOf(std::uint64_t seed);

} // namespace simulation
