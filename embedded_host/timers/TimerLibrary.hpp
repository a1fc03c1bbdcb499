#pragma once

#include "embedded_host/engine/Interpreter.hpp"
#include "embedded_host/timers/TimerSet.hpp"

namespace tovrinhost {

/// Makes `timer`, `pause`, `now` and the short forms known to scripts, `timercb` to the engine, and lets `os.exit`
/// leave in an orderly way.
///
/// Lifetime: `timers` and `exitCode` must outlive the interpreter.
/// \param exitCode set by `os.exit`, which also interrupts the event loop
void openTimerLibrary(Interpreter& interpreter, TimerSet& timers, int& exitCode);

} // namespace tovrinhost
