#pragma once

#include "tests/random_programs/program/Program.hpp"

#include <functional>

namespace random_programs {

/// Whether a program still does what it was found to do.
using StillFails = std::function<bool(const Program& program)>;

/// Makes a program that fails shorter, as long as it still fails.
Program shrink(const Program& program, const StillFails& fails);

} // namespace random_programs
