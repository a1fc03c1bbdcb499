#pragma once

#include "c_interface/Settings.hpp"
#include "c_interface/WallTimes.hpp"
#include "c_interface/tovrintimer.h"
#include "embedded_host/diagnosis/FiringLog.hpp"
#include "embedded_host/timers/ScriptTimer.hpp"

namespace tovrin_c {

/// The function for this callback.
const tovrin_callback& functionOf(const Callbacks& callbacks, tovrinhost::Callback kind);

/// What the function of the callback that begins is told, but for handles. The texts are those of the timer and of
/// its run.
tovrin_event describe(const tovrinhost::ScriptTimer& timer, const tovrinhost::ScriptRun& run,
    const tovrinhost::FiringLog::Beginning& firing, WallTimes& wallTimes);

} // namespace tovrin_c
