#include "tests/random_programs/model/Model.hpp"
#include "tests/random_programs/model/RuleNames.hpp"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

namespace random_programs {

namespace {

using Lines = std::vector<std::string>;

/// As a program prints it: lines that begin with a bar get a time before it, each a millisecond after the one
/// before.
std::string printed(const Lines& lines)
{
    std::ostringstream out;
    int milliseconds = 0;
    for (const std::string& line : lines) {
        if (line.starts_with('|')) {
            out << '@' << std::fixed << std::setprecision(6) << ++milliseconds / 1000.0;
        }
        out << line << '\n';
    }
    return out.str();
}

void expectKept(const Lines& lines, int status = 0)
{
    const auto broken = findBrokenRule(printed(lines), status);
    EXPECT_FALSE(broken) << broken->what() << '\n' << printed(lines);
}

void expectBroken(const char* rule, const Lines& lines, int status = 0)
{
    const auto broken = findBrokenRule(printed(lines), status);
    ASSERT_TRUE(broken) << "nothing is found in\n" << printed(lines);
    EXPECT_EQ(broken->rule, rule) << broken->what();
}

/// The lines with more behind them.
Lines operator+(Lines lines, const Lines& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

const Lines singleShot { "|new|a|SingleShot|Drop|0.001|0.0|1|StartFcn StopFcn ErrorFcn" };
const Lines plainSingleShot { "|new|a|SingleShot|Drop|0.001|0.0|1|" };
const Lines delayedSingleShot { "|new|a|SingleShot|Drop|0.001|0.1|1|" };
const Lines strictFixedRate { "|new|a|FixedRate|Error|0.001|0.0|5|StopFcn ErrorFcn" };
const Lines started { "|call|start|a||false|0|nil", "|done|start|a|nil|true|0|nil" };
const Lines stopped { "|call|stop|a||true|0|nil", "|done|stop|a|nil|true|0|nil" };
const Lines startFcnRun { "|begin|a|StartFcn|true|0|nil", "|end|a|StartFcn||true|0|nil" };
const Lines timerFcnRun { "|begin|a|TimerFcn|true|1|nil", "|end|a|TimerFcn||true|1|nil" };
const Lines stopFcnRun { "|begin|a|StopFcn|false|1|nil", "|end|a|StopFcn||false|1|nil" };
const Lines over { "|over" };
const Lines wholeRun = startFcnRun + timerFcnRun + stopFcnRun;
const Lines paused { "|call|pause|-|0.0|-|-|-", "|done|pause|-|nil|-|-|-" };
const Lines deleted { "|call|delete|a||false|0|nil", "|done|delete|a|nil|deleted|-|-" };
const Lines failed { "|begin|a|TimerFcn|true|1|nil", "|raise|boom", "|end|a|TimerFcn|boom|true|1|nil" };
const Lines reported { R"(tovrin: error in TimerFcn of timer "a": boom)", "stack traceback:", "\t[C]: in ?" };
const Lines errorFcnRun { "|begin|a|ErrorFcn|true|1|boom", "|end|a|ErrorFcn||true|1|boom" };
const Lines stopFcnAfterError { "|begin|a|StopFcn|false|1|boom", "|end|a|StopFcn||false|1|boom" };
const Lines overtaken {
    R"(tovrin: error in timer "a": callback of timer "a" was still running when its next run fell due)"
};

TEST(TraceModelTest, AWholeRunIsKept)
{
    expectKept(singleShot + started + over + wholeRun);
}

TEST(TraceModelTest, AFailedRunIsKept)
{
    expectKept(singleShot + started + over + startFcnRun + failed + reported + errorFcnRun + stopFcnAfterError, 1);
}

TEST(TraceModelTest, ARunHasItsStartFcnFirst)
{
    expectBroken(rules::orderInARun, singleShot + started + over + timerFcnRun);
}

TEST(TraceModelTest, ARunHasOneStartFcn)
{
    expectBroken(rules::orderInARun, singleShot + started + over + startFcnRun + startFcnRun);
}

TEST(TraceModelTest, ARunHasNoMoreTimerFcnsThanTasks)
{
    expectBroken(rules::orderInARun,
        plainSingleShot + started + over + timerFcnRun + Lines { "|begin|a|TimerFcn|true|2|nil" });
}

TEST(TraceModelTest, ARunHasNoTimerFcnAfterAStop)
{
    expectBroken(rules::orderInARun, singleShot + started + stopped + over + startFcnRun + timerFcnRun);
}

TEST(TraceModelTest, ARunHasNoTimerFcnAfterAnError)
{
    expectBroken(rules::orderInARun,
        Lines { "|new|a|FixedRate|Drop|0.001|0.0|5|" } + started + over + failed + reported
            + Lines { "|begin|a|TimerFcn|true|2|boom" });
}

TEST(TraceModelTest, ARunHasItsStopFcnAtItsEnd)
{
    expectBroken(rules::orderInARun,
        Lines { "|new|a|FixedRate|Drop|0.001|0.0|5|StopFcn" } + started + over + timerFcnRun + stopFcnRun);
}

TEST(TraceModelTest, ARunHasOneStopFcn)
{
    expectBroken(rules::orderInARun, singleShot + started + over + wholeRun + stopFcnRun);
}

TEST(TraceModelTest, AnErrorFcnNeedsAnError)
{
    expectBroken(rules::orderInARun,
        singleShot + started + over + startFcnRun + timerFcnRun + Lines { "|begin|a|ErrorFcn|true|1|nil" });
}

TEST(TraceModelTest, AnErrorHasOneErrorFcn)
{
    expectBroken(rules::orderInARun,
        singleShot + started + over + startFcnRun + failed + reported + errorFcnRun + errorFcnRun, 1);
}

TEST(TraceModelTest, AnErrorHasItsErrorFcnBeforeTheStopFcn)
{
    expectBroken(
        rules::orderInARun, singleShot + started + over + startFcnRun + failed + reported + stopFcnAfterError, 1);
}

TEST(TraceModelTest, AnErrorHasAnErrorFcn)
{
    expectBroken(rules::everyRunEnds,
        Lines { "|new|a|SingleShot|Drop|0.001|0.0|1|ErrorFcn" } + started + over + failed + reported, 1);
}

TEST(TraceModelTest, ARunThatIsOvertakenHasItsStopFcnAndThenItsErrorFcn)
{
    const Lines error { "|begin|a|ErrorFcn|false|1|nil", "|end|a|ErrorFcn||false|1|nil" };
    const Lines stop { "|begin|a|StopFcn|false|1|nil", "|end|a|StopFcn||false|1|nil" };
    expectKept(strictFixedRate + started + over + timerFcnRun + stop + error + overtaken, 1);
    expectBroken(rules::orderInARun, strictFixedRate + started + over + timerFcnRun + error, 1);
    expectBroken(rules::everyRunEnds, strictFixedRate + started + over + timerFcnRun + stop + overtaken, 1);
}

TEST(TraceModelTest, ARunThatIsOvertakenIsReported)
{
    expectBroken(rules::everyRunEnds, strictFixedRate + started + over + timerFcnRun + stopFcnRun);
}

TEST(TraceModelTest, ARunIsOvertakenOnlyInBusyModeError)
{
    expectBroken(rules::overrunOnlyInModeError,
        Lines { "|new|a|FixedRate|Queue|0.001|0.0|5|" } + started + over + timerFcnRun + overtaken, 1);
}

TEST(TraceModelTest, ARunBeginsAfterTheOneBeforeIt)
{
    const Lines restarted { "|call|start|a||true|0|nil", "|done|start|a|nil|true|0|nil" };
    expectKept(singleShot + started + stopped + restarted + over + startFcnRun
        + Lines { "|begin|a|StopFcn|true|0|nil", "|end|a|StopFcn||true|0|nil" } + wholeRun);
    expectBroken(
        rules::runsInOrder, singleShot + started + stopped + restarted + over + startFcnRun + startFcnRun);
}

TEST(TraceModelTest, NothingRunsBetweenTwoRuns)
{
    expectBroken(rules::silentBetweenRuns, singleShot + over + timerFcnRun);
}

TEST(TraceModelTest, CallbacksOfATimerDoNotNest)
{
    expectBroken(rules::notNested,
        Lines { "|new|a|FixedRate|Queue|0.001|0.0|5|" } + started + over
            + Lines {
                "|begin|a|TimerFcn|true|1|nil", "|call|pause|-|0.001|-|-|-", "|begin|a|TimerFcn|true|2|nil" });
}

TEST(TraceModelTest, CallbacksRunOnlyInAPumpingCall)
{
    expectBroken(rules::onlyWhilePumping, plainSingleShot + started + timerFcnRun);
    expectBroken(rules::onlyWhilePumping,
        plainSingleShot + started + Lines { "|call|set|a|Period=1|true|0|nil" } + timerFcnRun);
}

TEST(TraceModelTest, ATimerFcnIsNotEarly)
{
    expectBroken(rules::neverEarly, delayedSingleShot + started + over + timerFcnRun);
}

TEST(TraceModelTest, APeriodIsKept)
{
    expectBroken(rules::neverEarly,
        Lines { "|new|a|FixedDelay|Drop|0.1|0.0|5|" } + started + over + timerFcnRun
            + Lines { "|begin|a|TimerFcn|true|2|nil" });
}

TEST(TraceModelTest, APauseIsNotTooShort)
{
    expectBroken(rules::neverEarly, { "|call|pause|-|0.1|-|-|-", "|done|pause|-|nil|-|-|-", "|over" });
}

TEST(TraceModelTest, TheLimitOfAWaitIsKept)
{
    expectBroken(rules::neverEarly,
        delayedSingleShot + started + Lines { "|call|wait|a|0.1|true|0|nil", "|done|wait|a|false|true|0|nil" });
}

TEST(TraceModelTest, TasksExecutedCounts)
{
    expectBroken(
        rules::tasksExecuted, plainSingleShot + started + over + Lines { "|begin|a|TimerFcn|true|2|nil" });
    expectBroken(rules::tasksExecuted,
        plainSingleShot + started + Lines { "|call|pause|-|0.0|-|-|-" } + timerFcnRun
            + Lines { "|done|pause|-|nil|-|-|-", "|call|stop|a||false|0|nil" });
}

TEST(TraceModelTest, RunningIsTrueFromTheStart)
{
    expectBroken(rules::running, singleShot + Lines { "|call|start|a||true|0|nil" });
    expectBroken(
        rules::running, singleShot + Lines { "|call|start|a||false|0|nil", "|done|start|a|nil|false|0|nil" });
}

TEST(TraceModelTest, RunningIsTrueUntilTheStopFcn)
{
    expectBroken(rules::running,
        singleShot + started + Lines { "|call|stop|a||true|0|nil", "|done|stop|a|nil|false|0|nil" });
    expectBroken(rules::running,
        singleShot + started + over + startFcnRun + timerFcnRun + Lines { "|begin|a|StopFcn|true|1|nil" });
}

TEST(TraceModelTest, RunningIsFalseAfterAStopWithoutStopFcn)
{
    expectBroken(rules::running, plainSingleShot + started + stopped);
}

TEST(TraceModelTest, LastErrorIsThatOfTheLatestRun)
{
    const Lines firstRun = Lines { "|new|a|SingleShot|Drop|0.001|0.0|1|" } + started
        + Lines { "|call|pause|-|0.0|-|-|-" } + failed + reported + Lines { "|done|pause|-|nil|-|-|-" };
    expectBroken(rules::lastError, firstRun + Lines { "|call|stop|a||false|1|nil" }, 1);
    expectBroken(
        rules::lastError, firstRun + Lines { "|call|start|a||false|1|boom", "|done|start|a|nil|true|0|boom" }, 1);
}

TEST(TraceModelTest, ARunningTimerIsNotStarted)
{
    expectBroken(rules::startOfRunning,
        singleShot + started + Lines { "|call|start|a||true|0|nil", "|done|start|a|nil|true|0|nil" });
}

TEST(TraceModelTest, AStoppedTimerIsStarted)
{
    const Lines refused { "|call|start|a||false|0|nil", "|failed|start|a|already running|false|0|nil" };
    expectBroken(rules::startOfStopped, singleShot + refused);
}

TEST(TraceModelTest, AStopSucceeds)
{
    expectBroken(rules::stopAlwaysSucceeds,
        singleShot + Lines { "|call|stop|a||false|0|nil", "|failed|stop|a|no|false|0|nil" });
}

TEST(TraceModelTest, AssignmentsFailWhereTheyHaveTo)
{
    expectBroken(rules::assignments,
        singleShot + Lines { "|call|set|a|Period=0.0|false|0|nil", "|done|set|a|nil|false|0|nil" });
    expectBroken(rules::assignments,
        singleShot + Lines { "|call|set|a|Period=0.1|false|0|nil", "|failed|set|a|no|false|0|nil" });
    expectBroken(rules::assignments,
        singleShot + started + Lines { "|call|set|a|StartDelay=0.1|true|0|nil", "|done|set|a|nil|true|0|nil" });
}

TEST(TraceModelTest, AWaitIsTrueAtTheEndOfTheRun)
{
    expectBroken(rules::waitTrue,
        singleShot + started + Lines { "|call|wait|a||true|0|nil" } + startFcnRun + timerFcnRun
            + Lines { "|done|wait|a|true|true|1|nil" });
    expectBroken(rules::waitTrue,
        singleShot + started + Lines { "|call|wait|a||true|0|nil" } + startFcnRun + timerFcnRun
            + Lines { "|begin|a|StopFcn|false|1|nil", "|call|start|a||false|1|nil", "|done|start|a|nil|true|1|nil",
                "|end|a|StopFcn||true|1|nil", "|done|wait|a|true|true|1|nil" });
}

TEST(TraceModelTest, AWaitWithoutLimitIsNotFalse)
{
    expectBroken(rules::waitTrue,
        delayedSingleShot + started + Lines { "|call|wait|a||true|0|nil", "|done|wait|a|false|true|0|nil" });
}

TEST(TraceModelTest, AWaitIsNotFalseAfterTheEndOfTheRun)
{
    expectBroken(
        rules::waitFalse, singleShot + Lines { "|call|wait|a|0.0|false|0|nil", "|done|wait|a|false|false|0|nil" });
}

TEST(TraceModelTest, AWaitFailsInTheTimersOwnCallback)
{
    const Lines inCallback = plainSingleShot + started + over + Lines { "|begin|a|TimerFcn|true|1|nil" };
    expectBroken(rules::waitInOwnCallback,
        inCallback + Lines { "|call|wait|a|0.0|true|1|nil", "|done|wait|a|false|true|1|nil" });
    expectBroken(rules::waitInOwnCallback,
        singleShot + Lines { "|call|wait|a|0.0|false|0|nil", "|failed|wait|a|no|false|0|nil" });
}

TEST(TraceModelTest, WhatWaitsAsAPauseBeginsRunsInIt)
{
    expectBroken(rules::whatWaitsRuns, singleShot + started + paused);
    expectBroken(rules::whatWaitsRuns,
        singleShot + started + stopped + Lines { "|call|pause|-|0.0|-|-|-" } + startFcnRun
            + Lines { "|done|pause|-|nil|-|-|-" } + paused);
}

TEST(TraceModelTest, ADeletionRunsWhatWaits)
{
    expectBroken(rules::deleteRunsWhatWaits,
        singleShot + started + Lines { "|call|delete|a||true|0|nil", "|done|delete|a|nil|deleted|-|-" });
}

TEST(TraceModelTest, NothingOfADeletedTimerBegins)
{
    expectBroken(rules::deletedIsSilent, singleShot + deleted + over + startFcnRun);
}

TEST(TraceModelTest, ADeletedTimerSaysSo)
{
    expectBroken(rules::deletedSaysSo,
        singleShot + deleted + Lines { "|call|stop|a||deleted|-|-", "|done|stop|a|nil|deleted|-|-" });
    expectBroken(rules::deletedSaysSo, singleShot + deleted + Lines { "|call|stop|a||false|0|nil" });
    expectBroken(rules::deletedSaysSo, singleShot + Lines { "|call|stop|a||deleted|-|-" });
}

TEST(TraceModelTest, AnErrorIsReportedAtOnce)
{
    const Lines error = plainSingleShot + started + over + failed;
    expectKept(error + reported, 1);
    expectBroken(rules::errorIsReported, error, 1);
    expectBroken(rules::errorIsReported, error + reported + reported, 1);
    expectBroken(rules::errorIsReported, error + Lines { R"(tovrin: error in TimerFcn of timer "a": other)" }, 1);
    expectBroken(rules::errorIsReported, error + Lines { R"(tovrin: error in StopFcn of timer "a": boom)" }, 1);
    expectBroken(rules::errorIsReported, Lines { "|raise|boom", "|over" }, 1);
}

TEST(TraceModelTest, NothingGoesOnAfterExit)
{
    expectKept({ "|exit|3" }, 3);
    expectBroken(rules::nothingAfterExit, { "|exit|3", "|over" }, 3);
    expectBroken(rules::nothingAfterExit,
        plainSingleShot + started + over
            + Lines { "|begin|a|TimerFcn|true|1|nil", "|exit|3", "|end|a|TimerFcn||true|1|nil" },
        3);
}

TEST(TraceModelTest, AnExitStopsEveryTimer)
{
    const Lines exited = singleShot + started + Lines { "|exit|3" } + startFcnRun;
    expectKept(exited + Lines { "|begin|a|StopFcn|false|0|nil", "|end|a|StopFcn||false|0|nil" }, 3);
    expectBroken(rules::everyRunEnds, exited, 3);
}

TEST(TraceModelTest, TheProgramEndsAfterEveryRun)
{
    expectBroken(rules::everyRunEnds, singleShot + started + over);
    expectBroken(rules::everyRunEnds, singleShot + started + over + startFcnRun + timerFcnRun);
}

TEST(TraceModelTest, TheExitStatusTellsOfErrors)
{
    expectBroken(rules::exitStatus, over, 1);
    expectBroken(rules::exitStatus, plainSingleShot + started + over + failed + reported, 0);
    expectBroken(rules::exitStatus, { "|exit|3" }, 0);
    expectBroken(rules::exitStatus, plainSingleShot + started + over + failed + reported + Lines { "|exit|0" }, 0);
}

TEST(TraceModelTest, AProgramPrintsNothingElse)
{
    expectBroken(rules::wellFormed, { "hello", "|over" });
    expectBroken(rules::wellFormed, singleShot);
    expectBroken(rules::wellFormed, Lines { "|call|stop|b||false|0|nil" });
    expectBroken(rules::wellFormed, singleShot + singleShot);
}

} // namespace

} // namespace random_programs
