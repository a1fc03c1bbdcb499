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
        singleShot + started + Lines { "|call|stop|a||true|0|nil", "|done|stop|a|nil|false|0|nil" });
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
            + Lines { "|done|wait|a|true|true|1|nil" });
    expectBroken(rules::waitTrue,
        singleShot + started + Lines { "|call|wait|a||true|0|nil" } + startFcnRun + timerFcnRun
            + Lines { "|begin|a|StopFcn|false|1|nil", "|call|start|a||false|1|nil", "|done|start|a|nil|true|1|nil",
                "|end|a|StopFcn||true|1|nil", "|done|wait|a|true|true|1|nil" });
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
