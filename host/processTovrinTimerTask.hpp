#pragma once

/// \file
/// Declares `processTovrinTimerTask`.

#include "host/vorn/VORN.hpp"

#include <functional>
#include <memory>

/// The timer re-entrancy checker: runs a callback task in the engine's context, at a time that the host chooses.
///
/// Called on the scheduler thread, or on a host thread inside `createAndStartWork`,
/// `forceStopWorkAndScheduleStopFcn` or `forceScheduleOfErrorFcn`; never with a lock held.
///
/// - The task is passed by reference: a host that runs it later keeps a copy.
/// - Each task is for one run at most. It blocks the thread that runs it until the callback has finished.
/// - A task may also be run right here, inside this function. That has its price. On the scheduler thread all
///   other timers wait for the callback, and an error of the task ends the process unless the host catches it
///   here. A fixed rate without a StopFcn looks for its end before its last callback has been counted: no callback
///   comes any more, but the timer counts as running until it is stopped. And a fixed delay asks for its next
///   callback before it is evaluated: those of a short period may overtake the first one, which runs on the
///   starting thread.
/// - A task may be dropped without being run. For the modes that go on from inside their task (single shot,
///   fixed spacing, fixed delay) the timer then makes no further callback until it is started again.
/// - A task whose timer has been destroyed does nothing.
/// - What the callback raises leaves the task: it is the host's, which may call `forceScheduleOfErrorFcn`.
/// - What this function itself throws leaves the library's operation; on the scheduler thread it ends the
///   process.
TOVRINHOST_API void processTovrinTimerTask(
    const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task);
