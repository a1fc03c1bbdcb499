#include "tests/scripts/ScriptTest.hpp"

#include <sstream>

namespace scripts {

namespace {

using testing::ElementsAre;

/// One callback, by the script's clock: seconds since the timer was started.
struct Callback {
    double start;
    double end;
};

/// What a run of `periodicScript` printed.
struct PeriodicRun {
    std::vector<std::string> order; ///< "StartFcn", "TimerFcn", ...
    std::vector<Callback> callbacks;
    double averagePeriod;
    std::string err;
};

/// Lower bounds are asserted to the millisecond in which the engine keeps time.
constexpr double resolution = 0.001;

class PeriodicModesTest : public ScriptTest {
protected:
    PeriodicRun runTimer(const std::string& settings, double callbackSeconds, const Words& options = {})
    {
        std::ostringstream script;
        script << "local begin\n"
                  "local function say(t, event) print(event.Type) end\n"
                  "local t = timer { StartFcn = say, StopFcn = say, ErrorFcn = say, "
               << settings
               << ",\n TimerFcn = function(t, event)\n"
                  "  local start = now()\n"
                  "  local till = start + "
               << callbackSeconds
               << "\n  while now() < till do end\n"
                  "  print(event.Type)\n"
                  "  print(string.format('callback %.6f %.6f', start - begin, now() - begin))\n"
                  " end }\n"
                  "begin = now()\n"
                  "t:start()\n"
                  "t:wait()\n"
                  "print('average ' .. t.AveragePeriod)\n";
        const Outcome outcome = run(script.str(), options);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        PeriodicRun result { {}, {}, -1.0, outcome.err };
        for (const std::string& line : lines(outcome.out)) {
            Callback callback {};
            if (std::sscanf(line.c_str(), "callback %lf %lf", &callback.start, &callback.end) == 2) {
                result.callbacks.push_back(callback);
            } else if (line.rfind("average ", 0) == 0) {
                result.averagePeriod = std::stod(line.substr(8));
            } else {
                result.order.push_back(line);
            }
        }
        return result;
    }

    static std::string settings(
        const std::string& mode, double period, int tasks, const std::string& busy = "Drop")
    {
        std::ostringstream text;
        text << "ExecutionMode = '" << mode << "', BusyMode = '" << busy << "', Period = " << period
             << ", TasksToExecute = " << tasks;
        return text.str();
    }
};

TEST_F(PeriodicModesTest, FixedRateRunsOncePerPeriod)
{
    retrySlower([&](double factor) -> std::string {
        const double period = 0.1 * factor;
        const PeriodicRun run = runTimer(settings("FixedRate", period, 5), 0);
        EXPECT_THAT(run.order,
            ElementsAre("StartFcn", "TimerFcn", "TimerFcn", "TimerFcn", "TimerFcn", "TimerFcn", "StopFcn"));
        EXPECT_GE(run.averagePeriod, period * 0.99);
        return run.averagePeriod <= period * 1.2 ? "" : "average period " + std::to_string(run.averagePeriod);
    });
}

TEST_F(PeriodicModesTest, DispatchesOfAFixedRateAreNeverCloserThanAPeriod)
{
    const PeriodicRun run
        = runTimer(settings("FixedRate", 0.1, 4), 0, { "--log", "tovrintimer::TimerScheduler=4" });

    std::vector<double> dispatches;
    const auto log = lines(run.err);
    for (const std::string& line : linesWith(run.err, "Transfering WorkItem callback")) {
        int hour = 0;
        int minute = 0;
        double second = 0;
        ASSERT_EQ(std::sscanf(line.c_str(), "%*d-%*d-%*d %d:%d:%lf", &hour, &minute, &second), 3) << line;
        dispatches.push_back(hour * 3600 + minute * 60 + second);
    }
    // Four TimerFcn, then the StopFcn at once, then the program's own.
    ASSERT_GE(dispatches.size(), 5U);
    for (std::size_t i = 1; i < 4; ++i) {
        EXPECT_GE(dispatches[i] - dispatches[i - 1], 0.099);
    }
}

TEST_F(PeriodicModesTest, DropFiresRightAfterTheCallbackThatWasTooLong)
{
    retrySlower([&](double factor) -> std::string {
        const PeriodicRun run = runTimer(settings("FixedRate", 0.05 * factor, 4), 0.12 * factor);
        EXPECT_THAT(run.order, ElementsAre("StartFcn", "TimerFcn", "TimerFcn", "TimerFcn", "TimerFcn", "StopFcn"));
        std::string wrong;
        for (std::size_t i = 1; i < run.callbacks.size(); ++i) {
            const double gap = run.callbacks[i].start - run.callbacks[i - 1].end;
            EXPECT_GE(gap, 0.0) << "callbacks overlap";
            wrong += gap < 0.03 * factor ? "" : "gap of " + std::to_string(gap);
        }
        return wrong;
    });
}

TEST_F(PeriodicModesTest, QueueDispatchesEveryPeriodAndTheCallbacksFollowEachOther)
{
    retrySlower([&](double factor) -> std::string {
        const double period = 0.05 * factor;
        const PeriodicRun run = runTimer(
            settings("FixedRate", period, 4, "Queue"), 0.12 * factor, { "--log", "tovrintimer::workHandler=4" });
        EXPECT_THAT(run.order, ElementsAre("StartFcn", "TimerFcn", "TimerFcn", "TimerFcn", "TimerFcn", "StopFcn"));
        EXPECT_THAT(linesWith(run.err, "fetching"), testing::IsEmpty());
        std::string wrong;
        for (std::size_t i = 1; i < run.callbacks.size(); ++i) {
            const double gap = run.callbacks[i].start - run.callbacks[i - 1].end;
            EXPECT_GE(gap, 0.0) << "callbacks overlap";
            wrong += gap < 0.03 * factor ? "" : "gap of " + std::to_string(gap);
        }
        return wrong;
    });
}

TEST_F(PeriodicModesTest, ErrorEndsTheRunWithStopFcnThenErrorFcn)
{
    for (int i = 0; i < 5; ++i) {
        const PeriodicRun run = runTimer(settings("FixedRate", 0.02, 5, "Error"), 0.06);
        EXPECT_THAT(run.order, ElementsAre("StartFcn", "TimerFcn", "StopFcn", "ErrorFcn"));
    }
}

TEST_F(PeriodicModesTest, ErrorWithoutStopFcnStillBringsItsErrorFcnBeforeTheProgramEnds)
{
    for (int i = 0; i < 20; ++i) {
        const Outcome outcome = run(R"(
timer {
  ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.002,
  TimerFcn = function() local till = now() + 0.008 while now() < till do end print("TimerFcn") end,
  ErrorFcn = function() print("ErrorFcn") end,
}:start()
)");
        EXPECT_EQ(outcome.out, "TimerFcn\nErrorFcn\n");
        EXPECT_EQ(outcome.status, 0);
    }
}

TEST_F(PeriodicModesTest, FixedDelayCountsFromStartToStart)
{
    retrySlower([&](double factor) -> std::string {
        const double period = 0.1 * factor;
        const PeriodicRun run = runTimer(settings("FixedDelay", period, 4), 0.03 * factor);
        EXPECT_THAT(run.order, ElementsAre("StartFcn", "TimerFcn", "TimerFcn", "TimerFcn", "TimerFcn", "StopFcn"));
        std::string wrong;
        for (std::size_t i = 1; i < run.callbacks.size(); ++i) {
            const double distance = run.callbacks[i].start - run.callbacks[i - 1].start;
            EXPECT_GE(distance, period - 2 * resolution);
            wrong += distance < period + 0.02 * factor ? "" : "distance of " + std::to_string(distance);
        }
        return wrong;
    });
}

TEST_F(PeriodicModesTest, FixedSpacingCountsFromEndToStart)
{
    retrySlower([&](double factor) -> std::string {
        const double period = 0.05 * factor;
        const PeriodicRun run = runTimer(settings("FixedSpacing", period, 4), 0.08 * factor);
        EXPECT_THAT(run.order, ElementsAre("StartFcn", "TimerFcn", "TimerFcn", "TimerFcn", "TimerFcn", "StopFcn"));
        std::string wrong;
        for (std::size_t i = 1; i < run.callbacks.size(); ++i) {
            const double gap = run.callbacks[i].start - run.callbacks[i - 1].end;
            EXPECT_GE(gap, period - resolution);
            wrong += gap < period + 0.03 * factor ? "" : "gap of " + std::to_string(gap);
        }
        return wrong;
    });
}

TEST_F(PeriodicModesTest, ARaisedNumberOfTasksIsHonoured)
{
    const Outcome outcome = run(R"(
local t = timer {
  ExecutionMode = "FixedRate", Period = 0.02, TasksToExecute = 5,
  TimerFcn = function(t) if t.TasksExecuted == 2 then t.TasksToExecute = 8 end end,
}
t:start()
t:wait()
print(t.TasksExecuted)
)",
        { "--log", "tovrintimer::WorkItem=4" });

    EXPECT_EQ(outcome.out, "8\n");
    EXPECT_EQ(linesWith(outcome.err, "TasksToExecute changed, affecting callback ctr 3").size(), 1U)
        << outcome.err;
    EXPECT_EQ(linesWith(outcome.err, "TasksToExecute changed").size(), 1U) << outcome.err;
}

TEST_F(PeriodicModesTest, ANumberOfTasksBelowWhatIsDoneIsIgnored)
{
    const Outcome outcome = run(R"(
local t = timer {
  ExecutionMode = "FixedDelay", Period = 0.005, TasksToExecute = 5,
  TimerFcn = function(t) if t.TasksExecuted == 3 then t.TasksToExecute = 2 end end,
}
t:start()
t:wait()
print(t.TasksExecuted)
)",
        { "--log", "tovrintimer::WorkItem=4" });

    EXPECT_EQ(outcome.out, "5\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(PeriodicModesTest, TwoHundredTimersOfMixedModesLoseNothing)
{
    const Outcome outcome = run(R"(
local modes = { "FixedRate", "FixedDelay", "FixedSpacing", "SingleShot" }
local all, wrong, stops = {}, 0, 0
for i = 1, 200 do
  local inside, runs = false, 0
  local mode = modes[i % 4 + 1]
  all[i] = {
    expected = mode == "SingleShot" and 1 or 20, runs = function() return runs end,
    timer = timer {
      ExecutionMode = mode, BusyMode = i % 8 < 4 and "Drop" or "Queue", Period = 0.1 + i * 0.001, StartDelay = i * 0.001, TasksToExecute = 20,
      TimerFcn = function() if inside then wrong = wrong + 1 end inside = true runs = runs + 1 if runs % 7 == 0 then pause(0.001) end inside = false end,
      StopFcn = function() stops = stops + 1 end,
    },
  }
  all[i].timer:start()
end
for _, entry in ipairs(all) do
  entry.timer:wait()
  if entry.runs() ~= entry.expected or entry.timer.TasksExecuted ~= entry.expected or entry.timer.Running then
    wrong = wrong + 1
  end
end
print(wrong, stops)
)");

    EXPECT_EQ(outcome.out, "0\t200\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

} // namespace

} // namespace scripts
