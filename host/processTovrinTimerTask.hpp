#pragma once

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
/// - A task may be dropped without being run. For the modes that go on from inside their task (single shot,
///   fixed spacing, fixed delay) the timer then makes no further callback until it is started again.
/// - A task whose timer has been destroyed does nothing.
/// - What the callback raises leaves the task: it is the host's, which may call `forceScheduleOfErrorFcn`.
/// - What this function itself throws leaves the library's operation; on the scheduler thread it ends the
///   process.
TOVRINHOST_API void processTovrinTimerTask(
    const std::shared_ptr<vorn::VORN>& engine, const std::function<void()>& task);
