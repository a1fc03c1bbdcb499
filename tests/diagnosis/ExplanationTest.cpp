#include "embedded_host/diagnosis/Explanation.hpp"
#include "tests/diagnosis/MadeUp.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <ostream>
#include <random>
#include <vector>

namespace tovrinhost {

void PrintTo(const Part& part, std::ostream* stream)
{
    *stream << "cause " << static_cast<int>(part.cause) << ", " << part.length << " ns, at "
            << static_cast<int>(part.activity.doing) << " of " << part.activity.number;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

MATCHER_P2(Took, cause, length, "")
{
    return arg.cause == cause && arg.length == length;
}

MATCHER_P3(Behind, doing, number, length, "")
{
    return arg.cause == Cause::Queue && arg.activity.doing == doing && arg.activity.number == number
        && arg.length == length;
}

Firing lateFiring()
{
    Firing firing;
    firing.number = 9;
    firing.wasQueued = true;
    firing.due = 100 * ms;
    firing.dispatched = 102 * ms;
    firing.taken = 103 * ms;
    firing.started = 150 * ms;
    return firing;
}

Activity activity(Doing doing, Nanoseconds from, Nanoseconds to, std::uint64_t number = 0)
{
    Activity made;
    made.doing = doing;
    made.from = from * ms;
    made.to = to * ms;
    made.number = number;
    return made;
}

Nanoseconds sumOf(const Explanation& explanation)
{
    return std::accumulate(explanation.parts.begin(), explanation.parts.end(), Nanoseconds { 0 },
        [](Nanoseconds sum, const Part& part) { return sum + part.length; });
}

TEST(ExplanationTest, AFiringThatHadTheThreadsToItselfWaitedForTheirWakeUps)
{
    const auto explanation = explain(lateFiring(), { {}, { activity(Doing::Idle, 0, 150) } });

    EXPECT_THAT(explanation.parts,
        ElementsAre(
            Took(Cause::WakeUp, 2 * ms), Took(Cause::Dispatching, 1 * ms), Behind(Doing::Idle, 0U, 47 * ms)));
}

TEST(ExplanationTest, TheSchedulerIsAwakeFromTheFirstWorkThatItTookAfterTheDueTime)
{
    Firing firing = lateFiring();
    firing.dispatched = 110 * ms;
    firing.taken = 110 * ms;

    const auto explanation
        = explain(firing, { { { 107 * ms, 109 * ms }, { 104 * ms, 106 * ms }, { 90 * ms, 99 * ms } }, {} });

    EXPECT_THAT(explanation.parts,
        ElementsAre(
            Took(Cause::WakeUp, 4 * ms), Took(Cause::OtherDispatches, 6 * ms), Behind(Doing::Host, 0U, 40 * ms)));
    EXPECT_EQ(explanation.parts[1].others, 2U);
}

TEST(ExplanationTest, ASchedulerThatWasAtOtherWorkAsItFellDueNeededNoWakeUp)
{
    const auto explanation = explain(lateFiring(), { { { 95 * ms, 101 * ms } }, {} });

    EXPECT_THAT(explanation.parts[0], Took(Cause::OtherDispatches, 2 * ms));
}

TEST(ExplanationTest, WorkThatWasNeverQueuedWaitedForNoScheduler)
{
    Firing firing = lateFiring();
    firing.wasQueued = false;

    EXPECT_THAT(explain(firing, { { { 95 * ms, 101 * ms } }, {} }).parts[0], Took(Cause::Asking, 2 * ms));
}

TEST(ExplanationTest, TheQueueIsSplitByWhatTheInterpreterWasAtAndTheSameCountsOnce)
{
    const auto explanation = explain(lateFiring(),
        { {},
            { activity(Doing::Script, 0, 105), activity(Doing::Callback, 105, 120, 4),
                activity(Doing::Callback, 120, 130, 5), activity(Doing::Callback, 130, 140, 4),
                activity(Doing::Idle, 149, 200) } });

    EXPECT_THAT(explanation.parts,
        ElementsAre(Took(Cause::WakeUp, 2 * ms), Took(Cause::Dispatching, 1 * ms),
            Behind(Doing::Script, 0U, 2 * ms), Behind(Doing::Callback, 4U, 25 * ms),
            Behind(Doing::Callback, 5U, 10 * ms), Behind(Doing::Host, 0U, 9 * ms),
            Behind(Doing::Idle, 0U, 1 * ms)));
}

TEST(ExplanationTest, AFiringThatWasNotLateOrHasNotStartedHasNoParts)
{
    Firing punctual = lateFiring();
    punctual.started = punctual.due;
    Firing waiting = lateFiring();
    waiting.started = 0;

    EXPECT_THAT(explain(punctual, {}).parts, IsEmpty());
    EXPECT_THAT(explain(waiting, {}).parts, IsEmpty());
}

/// Moments in any order, some of them missing, and surroundings that overlap or leave gaps.
TEST(ExplanationTest, ThePartsOfAnyLatenessSumUpToIt)
{
    constexpr int timelines = 20'000;
    const std::random_device::result_type seed = std::random_device()();
    std::mt19937 random(seed);
    const auto upTo
        = [&](std::int64_t most) { return std::uniform_int_distribution<std::int64_t>(0, most)(random); };
    const auto some = [&](auto make) {
        std::vector<decltype(make())> made(static_cast<std::size_t>(upTo(6)));
        std::generate(made.begin(), made.end(), make);
        return made;
    };
    constexpr std::int64_t end = 1'000'000;
    for (int i = 0; i < timelines; ++i) {
        Firing firing;
        firing.number = 3;
        firing.wasQueued = upTo(3) > 0;
        firing.due = 1 + upTo(end);
        const bool inOrder = upTo(1) == 0;
        for (Nanoseconds* moment : { &firing.dispatched, &firing.taken, &firing.started }) {
            *moment = upTo(7) == 0 ? 0 : inOrder ? firing.due + upTo(end) : 1 + upTo(2 * end);
        }
        Circumstances circumstances;
        circumstances.dispatches = some([&] {
            const Nanoseconds from = upTo(2 * end);
            return Circumstances::Dispatch { from, from + upTo(end / 4) };
        });
        circumstances.activities = some([&] {
            Activity made;
            made.doing = static_cast<Doing>(upTo(static_cast<int>(Doing::Callback)));
            made.from = upTo(2 * end);
            made.to = made.from + upTo(end / 2);
            made.number = static_cast<std::uint64_t>(upTo(2));
            return made;
        });
        std::sort(circumstances.activities.begin(), circumstances.activities.end(),
            [](const Activity& a, const Activity& b) { return a.from < b.from; });

        const Explanation explanation = explain(firing, circumstances);

        const Nanoseconds lateness = firing.started == 0 ? 0 : std::max<Nanoseconds>(0, firing.lateness());
        ASSERT_EQ(sumOf(explanation), lateness) << "seed " << seed << ", timeline " << i;
        for (const Part& part : explanation.parts) {
            ASSERT_GT(part.length, 0) << "seed " << seed << ", timeline " << i;
        }
    }
}

} // namespace

} // namespace tovrinhost
