#include "tests/random_programs/tests/Traces.hpp"

#include <gtest/gtest.h>

namespace random_programs {

namespace {

TEST(TraceOfActionsTest, TasksExecutedCounts)
{
    expectBroken(
        rules::tasksExecuted, plainSingleShot + started + over + Lines { "|begin|a|TimerFcn|true|2|nil" });
    expectBroken(rules::tasksExecuted,
        plainSingleShot + started + Lines { "|call|pause|-|0.0|-|-|-" } + timerFcnRun
            + Lines { "|done|pause|-|nil|-|-|-", "|call|stop|a||false|0|nil" });
}

TEST(TraceOfActionsTest, RunningIsTrueFromTheStart)
{
    expectBroken(rules::running, singleShot + Lines { "|call|start|a||true|0|nil" });
    expectBroken(
        rules::running, singleShot + Lines { "|call|start|a||false|0|nil", "|done|start|a|nil|false|0|nil" });
}

TEST(TraceOfActionsTest, RunningIsTrueUntilTheStopFcn)
{
    expectBroken(rules::running,
        singleShot + started + Lines { "|call|stop|a||true|0|nil", "|done|stop|a|true|false|0|nil" });
    expectBroken(rules::running,
        singleShot + started + over + startFcnRun + timerFcnRun + Lines { "|begin|a|StopFcn|true|1|nil" });
}

TEST(TraceOfActionsTest, RunningIsFalseAfterAStopWithoutStopFcn)
{
    expectBroken(rules::running, plainSingleShot + started + stopped);
}

TEST(TraceOfActionsTest, LastErrorIsThatOfTheLatestRun)
{
    const Lines firstRun = Lines { "|new|a|SingleShot|Drop|0.001|0.0|1|" } + started
        + Lines { "|call|pause|-|0.0|-|-|-" } + failed + reported + Lines { "|done|pause|-|nil|-|-|-" };
    expectBroken(rules::lastError, firstRun + Lines { "|call|stop|a||false|1|nil" }, 1);
    expectBroken(
        rules::lastError, firstRun + Lines { "|call|start|a||false|1|boom", "|done|start|a|nil|true|0|boom" }, 1);
}

TEST(TraceOfActionsTest, ARunningTimerIsNotStarted)
{
    expectBroken(rules::startOfRunning,
        singleShot + started + Lines { "|call|start|a||true|0|nil", "|done|start|a|nil|true|0|nil" });
}

TEST(TraceOfActionsTest, AStoppedTimerIsStarted)
{
    const Lines refused { "|call|start|a||false|0|nil", "|failed|start|a|already running|false|0|nil" };
    expectBroken(rules::startOfStopped, singleShot + refused);
}

TEST(TraceOfActionsTest, AStopSucceeds)
{
    expectBroken(rules::stopAlwaysSucceeds,
        singleShot + Lines { "|call|stop|a||false|0|nil", "|failed|stop|a|no|false|0|nil" });
}

TEST(TraceOfActionsTest, AStopTellsWhetherItHasPreventedATimerFcn)
{
    expectBroken(rules::stopAlwaysSucceeds,
        singleShot + started + Lines { "|call|stop|a||true|0|nil", "|done|stop|a|false|true|0|nil" });
    expectBroken(rules::stopAlwaysSucceeds,
        singleShot + Lines { "|call|stop|a||false|0|nil", "|done|stop|a|true|false|0|nil" });
    expectBroken(rules::stopAlwaysSucceeds,
        plainSingleShot + started + over
            + Lines {
                "|begin|a|TimerFcn|true|1|nil", "|call|stop|a||true|1|nil", "|done|stop|a|true|false|1|nil" });
}

TEST(TraceOfActionsTest, AStopFcnAndAWaitAreToldTheReason)
{
    const Lines beforeStop
        = singleShot + started + over + startFcnRun + timerFcnRun + Lines { "|begin|a|StopFcn|false|1|nil" };
    expectKept(beforeStop + Lines { "|told|a|StopFcn|tasks done", "|end|a|StopFcn||false|1|nil" });
    expectBroken(rules::reasons, beforeStop + Lines { "|told|a|StopFcn|stopped" });
    expectBroken(rules::reasons,
        singleShot + started + Lines { "|exit|3" } + startFcnRun
            + Lines { "|begin|a|StopFcn|false|0|nil", "|told|a|StopFcn|stopped" },
        3);
    const Lines waiting = plainSingleShot + started + Lines { "|call|wait|a||true|0|nil" } + timerFcnRun;
    expectKept(waiting + Lines { "|done|wait|a|true tasks done|false|1|nil" } + over);
    expectBroken(rules::reasons, waiting + Lines { "|done|wait|a|true stopped|false|1|nil" });
    expectBroken(rules::waitTrue, waiting + Lines { "|done|wait|a|true|false|1|nil" });
}

TEST(TraceOfActionsTest, AnErrorFcnIsToldWhatItIsCalledFor)
{
    const Lines beforeError = Lines { "|new|a|SingleShot|Drop|0.001|0.0|1|ErrorFcn StopFcn" } + started + over
        + failed + reported + Lines { "|begin|a|ErrorFcn|true|1|boom" };
    const Lines after = Lines { "|end|a|ErrorFcn||true|1|boom" } + stopFcnAfterError;
    expectKept(beforeError + Lines { "|told|a|ErrorFcn|TimerFcn: boom" } + after, 1);
    expectBroken(rules::reasons, beforeError + Lines { "|told|a|ErrorFcn|TimerFcn: other" } + after, 1);
    expectBroken(rules::reasons, beforeError + Lines { "|told|a|ErrorFcn|StartFcn: boom" } + after, 1);
}

TEST(TraceOfActionsTest, AWaitForSeveralEndsWithAllOrTheFirst)
{
    const Lines two = plainSingleShot + Lines { "|new|b|SingleShot|Drop|0.001|0.1|1|" } + started
        + Lines { "|call|start|b||false|0|nil", "|done|start|b|nil|true|0|nil" };
    const auto asked = [&two](const std::string& verb, const std::string& limit) {
        return two + Lines { "|call|" + verb + "|-|b a " + limit + "|-|-|-" } + timerFcnRun;
    };
    expectBroken(rules::waitForSeveral, asked("waitAll", "") + Lines { "|done|waitAll|-|true|-|-|-" });
    expectBroken(rules::neverEarly, asked("waitAll", "5.0") + Lines { "|done|waitAll|-|false|-|-|-" });
    expectBroken(rules::neverEarly, asked("waitAll", "") + Lines { "|done|waitAll|-|false|-|-|-" });
    expectBroken(rules::waitForSeveral, asked("waitAll", "") + Lines { "|failed|waitAll|-|no|-|-|-" });
    expectBroken(rules::waitForSeveral, asked("waitAny", "0.0") + Lines { "|done|waitAny|-|nil|-|-|-" });
    expectBroken(rules::waitForSeveral, asked("waitAny", "") + Lines { "|done|waitAny|-|b|-|-|-" });
    expectBroken(rules::waitForSeveral, asked("waitAny", "") + Lines { "|done|waitAny|-|c|-|-|-" });
    expectBroken(rules::waitForSeveral,
        plainSingleShot
            + Lines {
                "|new|b|SingleShot|Drop|0.001|0.1|1|", "|call|waitAny|-|b a |-|-|-", "|done|waitAny|-|a|-|-|-" });
}

TEST(TraceOfActionsTest, AProgramEndsWhenOnlyTimersAreLeftThatDoNotKeepItAlive)
{
    const Lines background = delayedSingleShot + started
        + Lines { "|call|set|a|KeepsAlive=false|true|0|nil", "|done|set|a|nil|true|0|nil" };
    expectKept(background + over);
    expectKept(background + over + Lines { "|ending" });
    expectBroken(rules::everyRunEnds, background + Lines { "|ending" });
    expectBroken(rules::everyRunEnds, delayedSingleShot + started + over + Lines { "|ending" });
    expectBroken(rules::everyRunEnds,
        Lines { "|new|a|SingleShot|Drop|0.001|0.1|1|StopFcn" } + started
            + Lines { "|call|set|a|KeepsAlive=false|true|0|nil", "|done|set|a|nil|true|0|nil" } + over);
}

TEST(TraceOfActionsTest, ATimerOfAShortFormRunsFromTheCallOn)
{
    const std::string made = "|made|timer-1|SingleShot|Drop|1.0|0.002|inf||";
    expectKept(Lines { made + "0.000|true|0|nil", "|over", "|begin|timer-1|TimerFcn|true|1|nil",
                   "|end|timer-1|TimerFcn||true|1|nil" }
        + Lines {});
    expectBroken(
        rules::neverEarly, Lines { made + "0.002|true|0|nil", "|over", "|begin|timer-1|TimerFcn|true|1|nil" });
    expectBroken(rules::running, { made + "0.001|false|0|nil" });
    expectBroken(rules::everyRunEnds, { made + "0.001|true|0|nil", "|over" });
}

TEST(TraceOfActionsTest, ANumberOfTasksEndsTheRunOrIsRefused)
{
    const Lines five { "|new|a|FixedDelay|Drop|0.001|0.0|2|" };
    const Lines lowered { "|call|set|a|TasksToExecute=1.0|true|1|nil", "|done|set|a|nil|true|1|nil" };
    const Lines inFirst = five + started + over + Lines { "|begin|a|TimerFcn|true|1|nil" };
    const Lines end { "|end|a|TimerFcn||true|1|nil" };
    expectKept(inFirst + lowered + end);
    expectBroken(rules::orderInARun, inFirst + lowered + end + Lines { "|begin|a|TimerFcn|true|2|nil" });
    expectBroken(rules::everyRunEnds, inFirst + end);
    const Lines inLast
        = inFirst + end + Lines { "|begin|a|TimerFcn|true|2|nil", "|call|set|a|TasksToExecute=3.0|true|2|nil" };
    expectBroken(rules::assignments, inLast + Lines { "|done|set|a|nil|true|2|nil" });
    expectBroken(rules::assignments,
        inFirst + Lines { "|call|set|a|TasksToExecute=3.0|true|1|nil", "|failed|set|a|no|true|1|nil" });
}

TEST(TraceOfActionsTest, AnErrorFcnsErrorIsNotLastError)
{
    const Lines firstError = Lines { "|new|a|SingleShot|Drop|0.001|0.0|1|ErrorFcn StopFcn" } + started + over
        + failed + reported
        + Lines { "|begin|a|ErrorFcn|true|1|boom", "|raise|bang", "|end|a|ErrorFcn|bang|true|1|boom",
              R"(tovrin: error in ErrorFcn of timer "a": bang)" };
    expectKept(firstError + stopFcnAfterError, 1);
    expectBroken(rules::lastError, firstError + Lines { "|begin|a|StopFcn|false|1|bang" }, 1);
}

TEST(TraceOfActionsTest, AssignmentsFailWhereTheyHaveTo)
{
    expectBroken(rules::assignments,
        singleShot + Lines { "|call|set|a|Period=0.0|false|0|nil", "|done|set|a|nil|false|0|nil" });
    expectBroken(rules::assignments,
        singleShot + Lines { "|call|set|a|Period=0.1|false|0|nil", "|failed|set|a|no|false|0|nil" });
    expectBroken(rules::assignments,
        singleShot + started + Lines { "|call|set|a|StartDelay=0.1|true|0|nil", "|done|set|a|nil|true|0|nil" });
}

TEST(TraceOfActionsTest, AWaitIsTrueAtTheEndOfTheRun)
{
    expectBroken(rules::waitTrue,
        singleShot + started + Lines { "|call|wait|a||true|0|nil" } + startFcnRun + timerFcnRun
            + Lines { "|done|wait|a|true tasks done|true|1|nil" });
    expectBroken(rules::waitTrue,
        singleShot + started + Lines { "|call|wait|a||true|0|nil" } + startFcnRun + timerFcnRun
            + Lines { "|begin|a|StopFcn|false|1|nil", "|call|start|a||false|1|nil", "|done|start|a|nil|true|1|nil",
                "|end|a|StopFcn||true|1|nil", "|done|wait|a|true tasks done|true|1|nil" });
}

TEST(TraceOfActionsTest, AWaitWithoutLimitIsNotFalse)
{
    expectBroken(rules::waitTrue,
        delayedSingleShot + started + Lines { "|call|wait|a||true|0|nil", "|done|wait|a|false|true|0|nil" });
}

TEST(TraceOfActionsTest, AWaitIsNotFalseAfterTheEndOfTheRun)
{
    expectBroken(
        rules::waitFalse, singleShot + Lines { "|call|wait|a|0.0|false|0|nil", "|done|wait|a|false|false|0|nil" });
}

TEST(TraceOfActionsTest, AWaitFailsInTheTimersOwnCallback)
{
    const Lines inCallback = plainSingleShot + started + over + Lines { "|begin|a|TimerFcn|true|1|nil" };
    expectBroken(rules::waitInOwnCallback,
        inCallback + Lines { "|call|wait|a|0.0|true|1|nil", "|done|wait|a|false|true|1|nil" });
    expectBroken(rules::waitInOwnCallback,
        singleShot + Lines { "|call|wait|a|0.0|false|0|nil", "|failed|wait|a|no|false|0|nil" });
}

TEST(TraceOfActionsTest, WhatWaitsAsAPauseBeginsRunsInIt)
{
    expectBroken(rules::whatWaitsRuns, singleShot + started + paused);
    expectBroken(rules::whatWaitsRuns,
        singleShot + started + stopped + Lines { "|call|pause|-|0.0|-|-|-" } + startFcnRun
            + Lines { "|done|pause|-|nil|-|-|-" } + paused);
}

TEST(TraceOfActionsTest, ADeletionRunsWhatWaits)
{
    expectBroken(rules::deleteRunsWhatWaits,
        singleShot + started + Lines { "|call|delete|a||true|0|nil", "|done|delete|a|nil|deleted|-|-" });
}

TEST(TraceOfActionsTest, NothingOfADeletedTimerBegins)
{
    expectBroken(rules::deletedIsSilent, singleShot + deleted + over + startFcnRun);
}

TEST(TraceOfActionsTest, ADeletedTimerSaysSo)
{
    expectBroken(rules::deletedSaysSo,
        singleShot + deleted + Lines { "|call|stop|a||deleted|-|-", "|done|stop|a|nil|deleted|-|-" });
    expectBroken(rules::deletedSaysSo, singleShot + deleted + Lines { "|call|stop|a||false|0|nil" });
    expectBroken(rules::deletedSaysSo, singleShot + Lines { "|call|stop|a||deleted|-|-" });
}

TEST(TraceOfActionsTest, AnErrorIsReportedAtOnce)
{
    const Lines error = plainSingleShot + started + over + failed;
    expectKept(error + reported, 1);
    expectBroken(rules::errorIsReported, error, 1);
    expectBroken(rules::errorIsReported, error + reported + reported, 1);
    expectBroken(rules::errorIsReported, error + Lines { R"(tovrin: error in TimerFcn of timer "a": other)" }, 1);
    expectBroken(rules::errorIsReported, error + Lines { R"(tovrin: error in StopFcn of timer "a": boom)" }, 1);
    expectBroken(rules::errorIsReported, Lines { "|raise|boom", "|over" }, 1);
}

TEST(TraceOfActionsTest, NothingGoesOnAfterExit)
{
    expectKept({ "|exit|3" }, 3);
    expectBroken(rules::nothingAfterExit, { "|exit|3", "|over" }, 3);
    expectBroken(rules::nothingAfterExit,
        plainSingleShot + started + over
            + Lines { "|begin|a|TimerFcn|true|1|nil", "|exit|3", "|end|a|TimerFcn||true|1|nil" },
        3);
}

TEST(TraceOfActionsTest, AnExitStopsEveryTimer)
{
    const Lines exited = singleShot + started + Lines { "|exit|3" } + startFcnRun;
    expectKept(exited + Lines { "|begin|a|StopFcn|false|0|nil", "|end|a|StopFcn||false|0|nil" }, 3);
    expectBroken(rules::everyRunEnds, exited, 3);
}

TEST(TraceOfActionsTest, TheProgramEndsAfterEveryRun)
{
    expectBroken(rules::everyRunEnds, singleShot + started + over);
    expectBroken(rules::everyRunEnds, singleShot + started + over + startFcnRun + timerFcnRun);
}

TEST(TraceOfActionsTest, TheExitStatusTellsOfErrors)
{
    expectBroken(rules::exitStatus, over, 1);
    expectBroken(rules::exitStatus, plainSingleShot + started + over + failed + reported, 0);
    expectBroken(rules::exitStatus, { "|exit|3" }, 0);
    expectBroken(rules::exitStatus, plainSingleShot + started + over + failed + reported + Lines { "|exit|0" }, 0);
}

TEST(TraceOfActionsTest, AProgramPrintsNothingElse)
{
    expectBroken(rules::wellFormed, { "hello", "|over" });
    expectBroken(rules::wellFormed, singleShot);
    expectBroken(rules::wellFormed, Lines { "|call|stop|b||false|0|nil" });
    expectBroken(rules::wellFormed, singleShot + singleShot);
}

} // namespace

} // namespace random_programs
