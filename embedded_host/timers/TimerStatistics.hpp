#pragma once

#include "embedded_host/diagnosis/Diagnosis.hpp"
#include "embedded_host/timers/ScriptTimer.hpp"

#include <lua.h>

namespace tovrinhost {

/// Pushes what t:statistics() gives: a table of what has become of the timer's firings, all its runs together.
///
///     { Runs, Drops, Errors, Busy, Lateness = { Last, Median, P99, Max } }
///
/// Lateness is in seconds; its Median and P99 are of those of the timer's runs that the log still holds. Busy is
/// the share of the time since the timer was made that was spent in its callbacks.
void pushStatistics(lua_State* state, const ScriptTimer& timer, Diagnosis& diagnosis);

} // namespace tovrinhost
