#include "tests/Sanitizers.hpp"
#include "tests/scripts/ScriptTest.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <limits>
#include <map>

namespace scripts {

namespace {

using Json = nlohmann::json;
using Nanoseconds = std::int64_t;

constexpr int timers = 40;
// Watched, a program falls behind such a load, and what it drops and writes of it takes most of a minute.
constexpr int gapsOfEach = tests::isWatched ? 50 : 250;

/// The callbacks of many timers side by side; `gap(seconds)` is told of each gap between two of one timer.
const char* const manyTimers = R"(
local mode, period, timers, gaps = arg[1], tonumber(arg[2]), tonumber(arg[3]), tonumber(arg[4])
local count, least = 0, math.huge
local function gap(seconds) count = count + 1 least = math.min(least, seconds) end
local function timerFcn()
  local last
  if mode == "FixedSpacing" then
    return function() if last then gap(now() - last) end last = now() end
  end
  return function(_, event)
    local start = event.Due + event.Lateness
    if last then gap(start - last) end
    last = start
  end
end
local all = {}
for i = 1, timers do
  all[i] = timer { ExecutionMode = mode, Period = period, TasksToExecute = gaps + 1, TimerFcn = timerFcn() }:start()
  if all[i].Period ~= period then error("Period is " .. all[i].Period) end
end
for _, t in ipairs(all) do t:wait() end
print("gaps " .. count)
print(string.format("least %.0f", least * 1e9))
)";

/// The period, in nanoseconds, that no gap between two callbacks may fall below by a clock that is finer than the
/// engine's milliseconds.
class GapTest : public ScriptTest, public testing::WithParamInterface<Nanoseconds> {
protected:
    static std::string period() { return std::to_string(static_cast<double>(GetParam()) / 1e9); }

    void expectNoGapBelowPeriod(const std::string& mode)
    {
        const Outcome outcome
            = run(manyTimers, {}, { mode, period(), std::to_string(timers), std::to_string(gapsOfEach) });
        EXPECT_EQ(outcome.err, "");
        EXPECT_THAT(numbersAfter(outcome.out, "gaps"), testing::ElementsAre(timers * gapsOfEach));
        EXPECT_THAT(numbersAfter(outcome.out, "least"), testing::ElementsAre(testing::Ge(GetParam())));
    }
};

TEST_P(GapTest, AFixedDelayLeavesItsPeriodFromStartToStart)
{
    expectNoGapBelowPeriod("FixedDelay");
}

TEST_P(GapTest, AFixedSpacingLeavesItsPeriodFromEndToStart)
{
    expectNoGapBelowPeriod("FixedSpacing");
}

/// When a firing was due and dispatched.
struct Dispatch {
    Nanoseconds due;
    Nanoseconds at;
};

TEST_P(GapTest, AFixedRateLeavesItsPeriodFromDueToDueAndLessTheLatenessFromDispatchToDispatch)
{
    const Outcome outcome = run(manyTimers, { "--trace", "trace.json" },
        { "FixedRate", period(), std::to_string(timers), std::to_string(gapsOfEach) });
    ASSERT_EQ(outcome.err, "");
    std::map<int, std::map<int, Dispatch>> byTimer;
    std::ifstream trace(folder() + "/trace.json");
    for (std::string line; std::getline(trace, line);) {
        if (line.find(R"("cat":"firing")") != std::string::npos) {
            const Json event = Json::parse(line.substr(0, line.rfind('}') + 1));
            const Json& firing = event.at("args");
            if (const int run = firing.at("run"); run > 0) {
                byTimer[event.at("tid")][run] = { firing.at("due"), firing.at("dispatched") };
            }
        }
    }

    int gaps = 0;
    Nanoseconds least = std::numeric_limits<Nanoseconds>::max();
    for (const auto& [timer, runs] : byTimer) {
        for (auto run = std::next(runs.begin()); run != runs.end(); ++run, ++gaps) {
            const Dispatch& before = std::prev(run)->second;
            const Dispatch& dispatch = run->second;
            least = std::min(least, dispatch.due - before.due);
            constexpr Nanoseconds millisecond = 1'000'000;
            const Nanoseconds late = before.at - before.due;
            EXPECT_GE(dispatch.at - before.at, GetParam() - std::min(late, millisecond)) << run->first;
        }
    }
    EXPECT_EQ(gaps, timers * gapsOfEach);
    // And no more than that, where the dispatch was in time: a beat that is kept does not drift.
    const auto wholeMilliseconds = static_cast<Nanoseconds>(std::ceil(static_cast<double>(GetParam()) / 1e6));
    EXPECT_EQ(least, wholeMilliseconds * 1'000'000);
}

INSTANTIATE_TEST_SUITE_P(Periods, GapTest, testing::Values(1'000'000, 1'500'000),
    [](const auto& period) { return std::to_string(period.param / 1000) + "Microseconds"; });

} // namespace

} // namespace scripts
