#include "tests/simulation/run/Simulation.hpp"

#include <cstdlib>
#include <iostream>

/// Takes bytes for a program, and runs it in the simulation. What fails is printed as a script, for `simulation
/// --script`.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    simulation::Bytes choices(std::vector<std::uint8_t>(data, data + size));
    const simulation::Script script = simulation::randomScript(choices);
    const simulation::Verdict verdict = simulation::simulate(script);
    if (verdict.failed()) {
        std::cerr << "failed: " << verdict.failure << "\n\nthe script:\n" << toText(script);
        std::abort();
    }
    return 0;
}
