#include "embedded_host/diagnosis/ExplanationText.hpp"
#include "tests/diagnosis/MadeUp.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace tovrinhost {

namespace {

using tovrintimer::DropReason;

class ExplanationTextTest : public testing::Test {
protected:
    static constexpr Nanoseconds start = 1000 * ms;

    static Firing poll(std::uint64_t run, Nanoseconds due)
    {
        Firing firing;
        firing.number = 40;
        firing.timer = timerNumber(1);
        firing.wasQueued = true;
        firing.run = run;
        firing.due = start + due;
        return firing;
    }

    static Activity callbackOfHog(Doing doing, Nanoseconds from, Nanoseconds to)
    {
        Activity activity;
        activity.doing = doing;
        activity.from = start + from;
        activity.to = start + to;
        activity.number = 30;
        activity.timer = timerNumber(2);
        activity.run = 3;
        return activity;
    }

    const ExplanationText m_words { describe, start };
};

TEST_F(ExplanationTextTest, AFiringBehindAnotherCallbackNamesItAndWhereItIsDefined)
{
    Firing firing = poll(17, 1700 * ms);
    firing.dispatched = firing.due + (120 * ms / 1000);
    firing.taken = firing.dispatched;
    firing.started = firing.due + (132 * ms);
    firing.stage = Stage::Done;

    EXPECT_EQ(m_words.of(explain(firing, { {}, { callbackOfHog(Doing::Callback, 1600 * ms, 1832 * ms) } })),
        "poll run 17 (FixedRate, Drop, 0.1 s) due 1.700 started 1.832 late 132.0 ms\n"
        "        0.120 ms   0.1 %  the scheduler's wake-up\n"
        "      131.880 ms  99.9 %  behind run 3 of hog (script.lua:5)\n");
}

TEST_F(ExplanationTextTest, AFiringThatMakesUpForDroppedOnesTellsOfThem)
{
    Firing firing = poll(17, 1700 * ms);
    firing.dispatched = firing.taken = firing.due;
    firing.started = firing.due + ms;
    firing.firstDue = start + (1400 * ms);
    firing.missed = 3;
    firing.stage = Stage::Failed;

    EXPECT_EQ(m_words.of(explain(firing, {})),
        "poll run 17 (FixedRate, Drop, 0.1 s) due 1.700 started 1.701 late 1.0 ms, and failed\n"
        "    instead of the firing due 1.400, which was dropped: run 16 had not ended; 3 firings in a row "
        "missed\n"
        "        1.000 ms 100.0 %  the interpreter, on its way from one callback to the next\n");
}

TEST_F(ExplanationTextTest, OfManyPartsTheLongestAreToldInTheirOrder)
{
    Firing firing = poll(1, 0);
    firing.dispatched = firing.taken = firing.due;
    firing.started = firing.due + (104 * ms);
    Circumstances circumstances;
    for (int i = 0; i < 20; ++i) {
        Activity activity = callbackOfHog(Doing::Callback, i * ms, (i + 1) * ms);
        activity.number = static_cast<std::uint64_t>(100 + i);
        activity.run = static_cast<std::uint64_t>(i);
        circumstances.activities.push_back(activity);
    }
    circumstances.activities.push_back(callbackOfHog(Doing::Callback, 20 * ms, 104 * ms));

    EXPECT_EQ(m_words.of(explain(firing, circumstances)),
        "poll run 1 (FixedRate, Drop, 0.1 s) due 0.000 started 0.104 late 104.0 ms\n"
        "       84.000 ms  80.8 %  behind run 3 of hog (script.lua:5)\n"
        "       20.000 ms  19.2 %  20 others, each shorter\n");
}

TEST_F(ExplanationTextTest, AFiringThatNeverRanTellsWhy)
{
    Firing firing = poll(0, 1700 * ms);
    const std::string beginning = "poll next run (FixedRate, Drop, 0.1 s) due 1.700 never ran: ";
    firing.stage = Stage::Discarded;
    EXPECT_EQ(m_words.of({ firing, {} }), beginning + "its timer was stopped, or had an error\n");
    firing.stage = Stage::Refused;
    firing.reason = DropReason::DiscardedByShutdown;
    EXPECT_EQ(m_words.of({ firing, {} }), beginning + "the program ended\n");
    firing.kind = tovrintimer::StopFcnWork;
    firing.timer = timerNumber(99);
    EXPECT_EQ(
        m_words.of({ firing, {} }), "a timer that has gone StopFcn due 1.700 never ran: the program ended\n");
}

TEST_F(ExplanationTextTest, AFiringThatHasNotStartedTellsWhatItWaitsFor)
{
    Firing firing = poll(0, 1700 * ms);
    const auto waitsFor = [&](const Standing& standing) {
        const std::string text = m_words.ofPending(firing, standing);
        const std::string beginning = "poll next run (FixedRate, Drop, 0.1 s) due 1.700 has not started: ";
        EXPECT_EQ(text.substr(0, beginning.size()), beginning);
        return text.substr(std::min(text.size(), beginning.size()));
    };
    Standing standing;
    standing.now = start + ms;
    EXPECT_EQ(waitsFor(standing), "start delay until 1.700\n");
    standing.lastRun = 16;
    EXPECT_EQ(waitsFor(standing), "not due before 1.700\n");
    standing.now = start + (1800 * ms);
    EXPECT_EQ(waitsFor(standing), "the scheduler has not come to it yet\n");

    firing.stage = Stage::Dropped;
    firing.missed = 1;
    EXPECT_EQ(waitsFor(standing), "run 16 had not ended; 1 firing missed so far\n");

    firing.stage = Stage::Waiting;
    standing.activity.doing = Doing::Script;
    standing.activity.from = start;
    EXPECT_EQ(waitsFor(standing),
        "the script has been running its own code since 0.000, and neither pauses nor waits\n");
    standing.waiting = 4;
    standing.activity = callbackOfHog(Doing::Callback, 1600 * ms, 0);
    EXPECT_EQ(waitsFor(standing),
        "run 3 of hog (script.lua:5) has been running since 1.600; 4 callbacks of its timer wait\n");

    firing.stage = Stage::Queued;
    firing.due = std::numeric_limits<Nanoseconds>::max();
    EXPECT_THAT(m_words.ofPending(firing, standing),
        testing::EndsWith(" has not started: its due time lies beyond the end of the clock\n"));
}

} // namespace

} // namespace tovrinhost
