#include "embedded_host/diagnosis/Inquiry.hpp"
#include "tests/diagnosis/MadeUp.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

namespace tovrinhost {

namespace {

using testing::ElementsAre;

class InquiryTest : public MadeUpLogTest {
protected:
    InquiryTest()
    {
        for (const std::int64_t timer : { 1, 2 }) {
            m_timers.put(timerNumber(timer), *describe(timerNumber(timer)));
        }
    }

    std::string latestText(std::int64_t timer) { return m_inquiry.text(*m_inquiry.latest(timerNumber(timer))); }

    /// A whole firing, whose callback runs between two moments.
    void fire(const tovrintimer::ObservedWork& fired, std::uint64_t run, Nanoseconds from, Nanoseconds to)
    {
        hand(fired);
        at(from);
        m_log.callbackBegins(m_notes[m_log.count()], madeUpNow, run, 100 * ms);
        at(to);
        m_log.callbackEnds(m_notes[m_log.count()], madeUpNow, false);
    }

    std::vector<tovrintimer::ObservedWork> m_queue; // the soonest first
    TimerTable m_timers;
    Inquiry m_inquiry { m_log, m_timers, [this](const TimerTable::Identity& timer) {
                           std::vector<tovrintimer::ObservedWork> works;
                           std::ranges::copy_if(m_queue, std::back_inserter(works),
                               [&](const auto& work) { return work.timer.second == timer.second; });
                           return works;
                       } };
};

TEST_F(InquiryTest, AFiringBehindAnotherTimersCallbackNamesItAndItsPlace)
{
    at(99);
    m_log.interpreter().turnTo({ Doing::Idle, 0 }, madeUpNow);
    at(100);
    hand(work(1, 2, 100));
    at(101);
    m_log.callbackBegins(m_notes[1], madeUpNow, 3, 100 * ms);
    at(150);
    hand(work(2, 1, 150));
    at(250);
    m_log.callbackEnds(m_notes[1], madeUpNow, false);
    at(251);
    m_log.callbackBegins(m_notes[2], madeUpNow, 17, 100 * ms);

    EXPECT_EQ(latestText(1),
        "poll run 17 (FixedRate, Drop, 0.1 s) due 0.150 started 0.251 late 101.0 ms\n"
        "      100.000 ms  99.0 %  behind run 3 of hog (script.lua:5)\n"
        "        1.000 ms   1.0 %  the interpreter, on its way from one callback to the next\n");
    EXPECT_EQ(latestText(2),
        "hog run 3 (FixedRate, Queue, 0.1 s) due 0.100 started 0.101 late 1.0 ms\n"
        "        1.000 ms 100.0 %  the interpreter's wake-up\n");
}

TEST_F(InquiryTest, AFiringThatTheSchedulerCameToLateWasBehindTheOthers)
{
    at(12);
    m_log.queued(work(3, 1, 10));
    m_log.queued(work(4, 1, 10));
    m_log.dispatched(work(3, 1, 10));
    at(15);
    hostHasIt();
    m_log.handedOver(work(3, 1, 10));
    m_log.dispatched(work(4, 1, 10));
    hostHasIt();
    m_log.handedOver(work(4, 1, 10));
    m_log.callbackBegins(m_notes[2], madeUpNow, 2, ms);

    EXPECT_EQ(latestText(1),
        "poll run 2 (FixedRate, Drop, 0.1 s) due 0.010 started 0.015 late 5.0 ms\n"
        "        2.000 ms  40.0 %  the scheduler's wake-up\n"
        "        3.000 ms  60.0 %  other work dispatched before it (1)\n");
}

TEST_F(InquiryTest, WhatWaitsForAScriptThatDoesNotPauseIsToldSo)
{
    m_log.interpreter().turnTo({ Doing::Script, 0 }, 0);
    at(1);
    hand(work(1, 1, 0));
    hand(work(2, 1, 0));
    at(700);

    EXPECT_EQ(latestText(1),
        "poll next run (FixedRate, Drop, 0.1 s) due 0.000 has not started: the script has been running its own "
        "code "
        "since 0.000, and neither pauses nor waits; 2 callbacks of its timer wait\n");
}

TEST_F(InquiryTest, AFiringThatIsBeingDroppedTellsHowManyAreMissed)
{
    fire(work(1, 1, 0), 4, 0, 1);
    m_log.queued(work(2, 1, 100));
    m_log.dispatched(work(2, 1, 100));
    m_log.dropped(work(2, 1, 100), tovrintimer::DropReason::BusyModeDrop);
    m_queue = { work(3, 1, 101, 2) };
    at(310);

    EXPECT_EQ(latestText(1),
        "poll next run (FixedRate, Drop, 0.1 s) due 0.100 has not started: run 4 had not ended; 3 firings in "
        "a "
        "row missed so far\n");
}

TEST_F(InquiryTest, TheLatestIsTheOneThatRanUntilTheNextOneWaits)
{
    m_queue = { work(1, 1, 100), work(9, 1, 200) };
    EXPECT_EQ(m_inquiry.latest(timerNumber(1))->number, 0U);
    EXPECT_EQ(m_inquiry.latest(timerNumber(1))->stage, Stage::Queued);
    EXPECT_EQ(m_inquiry.latest(timerNumber(1))->due, 100 * ms);
    fire(work(2, 1, 0), 1, 0, 1);
    EXPECT_EQ(m_inquiry.latest(timerNumber(1))->number, 1U);
    m_queue = { work(3, 1, 100) };
    EXPECT_EQ(m_inquiry.latest(timerNumber(1))->number, 1U);
    hand(work(4, 1, 100));
    hand(work(5, 1, 100));
    EXPECT_EQ(m_inquiry.latest(timerNumber(1))->number, 2U);
    EXPECT_FALSE(m_inquiry.latest(timerNumber(2)));
}

TEST_F(InquiryTest, WhatIsQueuedTellsWhatItWaitsFor)
{
    const auto never = std::chrono::duration_cast<tovrintimer::DueTime::duration>(std::chrono::nanoseconds::max());
    m_queue = { work(1, 1, 9000), work(2, 2, never.count() + 1) };

    EXPECT_EQ(latestText(1),
        "poll next run (FixedRate, Drop, 0.1 s) due 9.000 has not started: start delay until 9.000\n");
    EXPECT_THAT(latestText(2), testing::HasSubstr("its due time lies beyond the end of the clock"));
}

TEST_F(InquiryTest, WhatIsQueuedIsFoundByTheNumberOfTheScriptsTimer)
{
    m_queue = { work(1, 1, 100) };
    EXPECT_FALSE(m_inquiry.queuedOf(1)) << "the script has no such timer";
    m_timers.putLive(*describe(timerNumber(1)));
    EXPECT_FALSE(m_inquiry.queuedOf(1)) << "it has not been started";
    m_timers.put(timerNumber(3), *describe(timerNumber(1)));
    m_timers.put(timerNumber(1), *describe(timerNumber(1)));
    EXPECT_EQ(m_inquiry.queuedOf(1)->due, 100 * ms);
    m_timers.removeLive(1);
    EXPECT_FALSE(m_inquiry.queuedOf(1));
}

TEST_F(InquiryTest, RunsAreFoundByTheirNumberAndTheWorstAreSorted)
{
    fire(work(1, 1, 0), 1, 1, 2);
    fire(work(2, 2, 0), 1, 5, 6);
    fire(work(3, 1, 0), 2, 7, 8);
    fire(work(4, 1, 8), 3, 10, 11);

    EXPECT_EQ(m_inquiry.run(timerNumber(1), 2)->number, 3U);
    EXPECT_FALSE(m_inquiry.run(timerNumber(1), 4));
    EXPECT_THAT(m_inquiry.summaries()[1].latenesses, ElementsAre(2 * ms, 7 * ms, 1 * ms));
    const auto worst = m_inquiry.worst(2);
    ASSERT_EQ(worst.size(), 2U);
    EXPECT_EQ(worst[0].number, 3U);
    EXPECT_EQ(worst[1].number, 2U);
}

TEST_F(InquiryTest, TheNextDueMomentIsThatOfTheFirstTimerFcnInTheQueueOrOfTheFirstDropBeforeIt)
{
    EXPECT_FALSE(m_inquiry.nextDue(timerNumber(1)));
    m_queue = { work(9, 1, 50, 0, tovrintimer::StopFcnWork), work(1, 1, 100), work(8, 1, 150) };
    EXPECT_EQ(m_inquiry.nextDue(timerNumber(1)), 100 * ms);
    m_queue.clear();
    m_log.dispatched(work(1, 1, 100));
    m_log.dropped(work(1, 1, 100), tovrintimer::DropReason::BusyModeDrop);
    m_queue = { work(2, 1, 101, 1) };
    EXPECT_EQ(m_inquiry.nextDue(timerNumber(1)), 100 * ms);
    m_log.dispatched(work(2, 1, 101, 1));
    m_log.dropped(work(2, 1, 101, 1), tovrintimer::DropReason::BusyModeDrop);
    m_queue = { work(3, 1, 102, 2) };
    EXPECT_EQ(m_inquiry.nextDue(timerNumber(1)), 100 * ms);
}

} // namespace

} // namespace tovrinhost
