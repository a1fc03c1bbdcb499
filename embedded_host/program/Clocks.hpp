#pragma once

#include "embedded_host/plan/PlanOptions.hpp"
#include "embedded_host/program/Run.hpp"

namespace tovrinhost {

// There are two programs: tovrin, in real time, and tovrin-virtual beside it, made of the same sources over
// virtual threads and clocks. What the command line asks of the first and only the second can do, it does.

/// Runs a script by the clock that the options ask for.
int runByItsClock(const RunOptions& options);

/// Writes what would fire when.
int planInVirtualTime(const PlanOptions& options);

/// Keeps the words of the command line, for the program that may have to take over.
void rememberWords(int argc, const char* const* argv);

} // namespace tovrinhost
