#pragma once

/// The rules, one line each, as a failure names them.
namespace random_programs::rules {

constexpr auto orderInARun
    = "a run is one StartFcn, at most as many TimerFcns as it has tasks, one ErrorFcn after an error, one StopFcn";
constexpr auto runsInOrder = "a run begins when nothing of the one before it is left";
constexpr auto silentBetweenRuns = "nothing runs between the end of a run and the next start";
constexpr auto notNested = "two callbacks of one timer do not nest, but by delete";
constexpr auto onlyWhilePumping = "callbacks run while the script pauses, waits or deletes, or has ended";
constexpr auto neverEarly = "nothing is early";
constexpr auto tasksExecuted = "TasksExecuted counts the TimerFcns of the run, from 1";
constexpr auto running = "Running is true from the start until the StopFcn begins";
constexpr auto lastError = "LastError is the latest error of the latest run, but for those of its ErrorFcn";
constexpr auto startOfRunning = "a start is refused while a run is starting or running";
constexpr auto startOfStopped = "a start is accepted where no run is starting or running";
constexpr auto stopAlwaysSucceeds = "a stop succeeds, and tells whether it has prevented a TimerFcn";
constexpr auto reasons
    = "a StopFcn and a wait are told by what the run has ended, an ErrorFcn what it is called for";
constexpr auto assignments = "an assignment fails where the value or the moment is wrong, and only there";
constexpr auto waitTrue = "wait returns true when the run and all its callbacks have ended";
constexpr auto waitForSeveral = "wait for several is true when all have ended; waitAny gives the first that has";
constexpr auto waitFalse = "wait returns false when its limit has passed before the run has ended";
constexpr auto waitInOwnCallback = "wait fails in the timer's own callbacks, and only there";
constexpr auto whatWaitsRuns = "what waits when pause or wait is called runs before it returns";
constexpr auto deleteRunsWhatWaits = "delete runs what waits before it returns";
constexpr auto deletedIsSilent = "nothing of a deleted timer begins";
constexpr auto deletedSaysSo = "a deleted timer says so, and only that";
constexpr auto errorIsReported = "an error is reported once, at once, and with its text";
constexpr auto overrunOnlyInModeError = "only a fixed rate in busy mode Error fails as it is overtaken";
constexpr auto nothingAfterExit = "nothing goes on after os.exit";
constexpr auto everyRunEnds = "the program ends when every run has that keeps it alive, and stops the others";
constexpr auto exitStatus = "the exit status is 1 after an error, or what os.exit says, else 0";
constexpr auto wellFormed = "a program prints only its trace and its reports";

} // namespace random_programs::rules
