#include "tests/simulation/fuzz/Bytes.hpp"
#include "tests/simulation/run/Simulation.hpp"

#include <cstdlib>
#include <iostream>

/// Takes bytes for a program, and runs it in the simulation. What fails is printed as a program, for `simulation
/// --program`.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    simulation::Bytes choices(std::vector<std::uint8_t>(data, data + size));
    const simulation::Program program = simulation::randomProgram(choices);
    const simulation::Verdict verdict = simulation::simulate(program);
    if (verdict.failed()) {
        std::cerr << "failed: " << verdict.failure << "\n\nthe program:\n" << toText(program);
        std::abort();
    }
    return 0;
}
