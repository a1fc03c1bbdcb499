#include "tests/random_programs/tests/Traces.hpp"

#include <gtest/gtest.h>

namespace random_programs {

namespace {

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

TEST(TraceModelTest, ARunIsToldFromTheNextByItsCount)
{
    // The first is overtaken, and gets its StopFcn later than the next has been accepted, which is taken back.
    const Lines restartedInTimerFcn { "|begin|a|TimerFcn|false|2|nil", "|call|start|a||false|2|nil",
        "|done|start|a|nil|true|2|nil", "|end|a|TimerFcn||true|2|nil" };
    const Lines ended { "|begin|b|TimerFcn|true|1|nil", "|exit|0" };
    const std::string error = R"(callback of timer "a" was still running when its next run fell due)";
    const Lines stopFcn { "|begin|a|StopFcn|false|2|" + error, "|end|a|StopFcn||false|2|" + error };
    expectKept(Lines { "|new|a|FixedRate|Error|0.001|0.0|inf|", "|new|b|SingleShot|Drop|0.001|0.0|1|" } + started
            + Lines { "|call|pause|-|0.001|-|-|-" } + timerFcnRun
            + Lines { "|done|pause|-|nil|-|-|-", "|call|start|b||false|0|nil", "|done|start|b|nil|true|0|nil",
                "|call|set|a|StopFcn=function|false|1|nil", "|done|set|a|nil|false|1|nil" }
            + over + restartedInTimerFcn + overtaken + ended + stopFcn,
        1);
}

TEST(TraceModelTest, AnotherDeleteFromOneOfTheLastCallbacksLeavesItToTheFirst)
{
    const Lines startFcn { "|begin|a|StartFcn|true|0|nil", "|call|delete|a||true|0|nil",
        "|done|delete|a|nil|true|0|nil", "|end|a|StartFcn||true|0|nil" };
    const Lines stopFcn { "|begin|a|StopFcn|false|0|nil", "|end|a|StopFcn||false|0|nil" };
    const Lines deleting = singleShot + started + Lines { "|call|delete|a||true|0|nil" };
    const Lines done { "|done|delete|a|nil|deleted|-|-" };
    expectKept(deleting + startFcn + stopFcn + done + over);
    expectBroken(rules::deleteRunsWhatWaits, deleting + startFcn + done + over);
    expectBroken(rules::deletedIsSilent, deleting + startFcn + stopFcn + done + over + stopFcn);
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

} // namespace

} // namespace random_programs
