#include "embedded_host/diagnosis/FiringLog.hpp"
#include "tests/diagnosis/MadeUp.hpp"

#include <gtest/gtest.h>

#include <thread>

namespace tovrinhost {

namespace {

using tovrintimer::DropReason;

class FiringLogTest : public MadeUpLogTest { };

TEST_F(FiringLogTest, AFiringIsFollowedFromTheQueueToTheEndOfItsCallback)
{
    m_log.queued(work(1, 1, 100));
    EXPECT_EQ(m_log.find(1)->stage, Stage::Queued);
    at(101);
    m_log.dispatched(work(1, 1, 100));
    EXPECT_EQ(m_log.find(1)->stage, Stage::Dispatched);
    at(102);
    EXPECT_EQ(hostHasIt(), 1U);
    EXPECT_EQ(m_log.find(1)->stage, Stage::Waiting);
    at(103);
    m_log.handedOver(work(1, 1, 100));
    at(110);
    const auto beginning = m_log.callbackBegins(m_notes[1], madeUpNow, 17, 100 * ms);
    EXPECT_EQ(m_log.find(1)->stage, Stage::Running);
    at(115);
    EXPECT_EQ(m_log.callbackEnds(m_notes[1], madeUpNow, false), 5 * ms);

    EXPECT_EQ(beginning.due, 100 * ms);
    EXPECT_EQ(beginning.started, 110 * ms);
    EXPECT_EQ(beginning.missed, 0U);
    const auto firing = m_log.find(1);
    ASSERT_TRUE(firing);
    EXPECT_EQ(firing->stage, Stage::Done);
    EXPECT_TRUE(firing->wasQueued);
    EXPECT_EQ(firing->timer.second, 1);
    EXPECT_EQ(firing->due, 100 * ms);
    EXPECT_EQ(firing->dispatched, 101 * ms);
    EXPECT_EQ(firing->taken, 102 * ms);
    EXPECT_EQ(firing->started, 110 * ms);
    EXPECT_EQ(firing->ended, 115 * ms);
    EXPECT_EQ(firing->run, 17U);
    EXPECT_EQ(m_log.count(), 1U);
}

TEST_F(FiringLogTest, WorkThatIsDispatchedAtOnceWasNeverQueued)
{
    m_log.dispatched(work(1, 1, 100));

    EXPECT_FALSE(m_log.find(1)->wasQueued);
}

TEST_F(FiringLogTest, ATaskThatNobodyHasToldOfHasNoNumber)
{
    EXPECT_EQ(hostHasIt(), 0U);
    hand(work(1, 1, 100));
    EXPECT_EQ(hostHasIt(), 0U);

    EXPECT_EQ(m_log.callbackBegins(m_notes[0], madeUpNow, 1, ms).due, 0);
    m_log.callbackEnds(m_notes[0], madeUpNow, false);
    m_log.discarded(m_notes[0]);
}

TEST_F(FiringLogTest, ATaskBelongsToWhatItsOwnThreadDispatches)
{
    m_log.dispatched(work(1, 1, 100));
    std::thread([&] { EXPECT_EQ(hostHasIt(), 0U); }).join();
    EXPECT_EQ(hostHasIt(), 1U);
}

TEST_F(FiringLogTest, TheAttemptsAfterADropAreOneFiringWhichCountsThePeriodsThatPassed)
{
    m_log.queued(work(1, 1, 100));
    m_log.dispatched(work(1, 1, 100));
    m_log.dropped(work(1, 1, 100), DropReason::BusyModeDrop);
    EXPECT_EQ(m_log.find(1)->stage, Stage::Dropped);
    m_log.queued(work(2, 1, 101, 1));
    EXPECT_FALSE(m_log.find(1));
    m_log.dispatched(work(2, 1, 101, 1));
    m_log.dropped(work(2, 1, 101, 1), DropReason::BusyModeDrop);
    at(350);
    hand(work(3, 1, 350, 2));
    const auto beginning = m_log.callbackBegins(m_notes[3], madeUpNow, 5, 100 * ms);

    EXPECT_EQ(m_log.count(), 1U);
    EXPECT_EQ(beginning.missed, 3U); // due at 100, 200 and 300
    EXPECT_EQ(beginning.due, 350 * ms);
    EXPECT_EQ(m_log.find(3)->firstDue, 100 * ms);
    EXPECT_EQ(m_log.find(3)->missed, 3U);
    EXPECT_EQ(m_log.find(3)->stage, Stage::Running);
}

TEST_F(FiringLogTest, WhatIsMissedIsWhoseMomentHasPassed)
{
    EXPECT_EQ(missedFirings(0, 10), 1U);
    EXPECT_EQ(missedFirings(9, 10), 1U);
    EXPECT_EQ(missedFirings(10, 10), 2U);
    EXPECT_EQ(missedFirings(-1, 10), 1U);
    EXPECT_EQ(missedFirings(100, 0), 1U);
}

TEST_F(FiringLogTest, WhatIsDueTogetherIsDispatchedAsTheOneBeforeIsHandedOver)
{
    m_log.queued(work(1, 1, 100));
    m_log.queued(work(2, 2, 100));
    m_log.queued(work(3, 3, 102));
    at(101);
    m_log.dispatched(work(1, 1, 100));
    at(102);
    hostHasIt();
    at(103);
    for (const std::uint64_t number : { 2U, 3U }) {
        m_log.dispatched(work(number, static_cast<std::int64_t>(number), number == 2 ? 100 : 102));
        hostHasIt();
        at(104);
    }

    EXPECT_EQ(m_log.find(1)->dispatched, 101 * ms);
    EXPECT_EQ(m_log.find(2)->dispatched, 102 * ms);
    EXPECT_EQ(m_log.find(2)->taken, 103 * ms);
    EXPECT_EQ(m_log.find(3)->dispatched, 103 * ms);
}

TEST_F(FiringLogTest, WhatTheThreadMayHaveSleptBeforeIsDispatchedNow)
{
    const auto handAt = [&](Nanoseconds moment, const tovrintimer::ObservedWork& handed) {
        at(moment);
        m_log.dispatched(handed);
        hostHasIt();
    };
    m_log.queued(work(1, 1, 100));
    m_log.queued(work(2, 2, 103));
    handAt(102, work(1, 1, 100));
    handAt(105, work(2, 2, 103)); // was not due at 102
    m_log.queued(work(3, 3, 104));
    handAt(106, work(3, 3, 104)); // was not queued at 105
    handAt(107, work(4, 1, 105)); // never was
    m_log.queued(work(5, 2, 108));
    at(108);
    m_log.dispatched(work(5, 2, 108));
    m_log.dropped(work(5, 2, 108), DropReason::BusyModeDrop);
    m_log.queued(work(7, 1, 100));
    handAt(109, work(7, 1, 100)); // nobody knows when the thread was done with the one before
    m_log.queued(work(6, 2, 109, 5));
    handAt(110, work(6, 2, 109, 5)); // was not queued again at 109

    EXPECT_EQ(m_log.find(2)->dispatched, 105 * ms);
    EXPECT_EQ(m_log.find(3)->dispatched, 106 * ms);
    EXPECT_EQ(m_log.find(4)->dispatched, 107 * ms);
    EXPECT_EQ(m_log.find(7)->dispatched, 109 * ms);
    EXPECT_EQ(m_log.find(6)->dispatched, 110 * ms);
}

TEST_F(FiringLogTest, ACallbackDoesNotBeginBeforeItsTaskHasCome)
{
    at(110);
    hand(work(1, 1, 100));
    const auto beginning = m_log.callbackBegins(m_notes[1], 105 * ms, 1, ms);

    EXPECT_EQ(beginning.started, 110 * ms);
    EXPECT_EQ(m_log.find(1)->started, 110 * ms);
}

TEST_F(FiringLogTest, WhatComesToNothingHasItsReason)
{
    m_log.queued(work(1, 1, 100));
    m_log.dropped(work(1, 1, 100), DropReason::RemovedByStop);
    m_log.dropped(work(2, 1, 100), DropReason::TimerNotRunning);
    hand(work(3, 1, 100));
    m_log.discarded(m_notes[3]);

    EXPECT_EQ(m_log.find(1)->stage, Stage::Refused);
    EXPECT_EQ(m_log.find(1)->reason, DropReason::RemovedByStop);
    EXPECT_EQ(m_log.find(2)->reason, DropReason::TimerNotRunning);
    EXPECT_EQ(m_log.find(2)->due, 100 * ms);
    EXPECT_EQ(m_log.find(3)->stage, Stage::Discarded);
}

TEST_F(FiringLogTest, WorkThatIsHastenedHasTheDueTimeWithWhichItIsDispatched)
{
    m_log.queued(work(1, 1, 100));
    m_log.dispatched(work(1, 1, 90));

    EXPECT_EQ(m_log.find(1)->due, 90 * ms);
}

TEST_F(FiringLogTest, ACallbackThatRunsNestedKnowsWithinWhich)
{
    hand(work(1, 1, 100));
    hand(work(2, 2, 100));
    m_log.callbackBegins(m_notes[1], madeUpNow, 1, ms);
    const auto outer = m_log.interpreter().turnTo({ Doing::Host, 1 }, 5);
    m_log.callbackBegins(m_notes[2], madeUpNow, 1, ms);
    m_log.callbackEnds(m_notes[2], madeUpNow, true);
    EXPECT_EQ(m_log.interpreter().now().doing, Doing::Host);
    EXPECT_EQ(m_log.interpreter().now().number, 1U);
    m_log.interpreter().turnTo(outer, 9);
    m_log.callbackEnds(m_notes[1], madeUpNow, false);

    EXPECT_EQ(m_log.find(2)->within, 1U);
    EXPECT_EQ(m_log.find(2)->stage, Stage::Failed);
    EXPECT_EQ(m_log.find(1)->within, 0U);
}

TEST_F(FiringLogTest, TheOldestFallOutAndOneThatWaitedForSoLongGetsANewPlace)
{
    m_log.queued(work(1, 1, 100));
    for (std::uint64_t number = 2; number <= FiringLog::capacity + 1; ++number) {
        hand(work(number, 2, 100));
    }
    EXPECT_FALSE(m_log.find(1));
    EXPECT_FALSE(m_log.at(1));
    EXPECT_EQ(m_log.at(2)->number, 2U);

    at(1);
    m_log.dispatched(work(1, 1, 100));

    EXPECT_EQ(m_log.find(1)->stage, Stage::Dispatched);
    EXPECT_FALSE(m_log.at(2));
    EXPECT_FALSE(m_log.find(FiringLog::capacity + 1)) << "their numbers share a place in the table";
}

TEST_F(FiringLogTest, AReaderSeesOneFiringOrNone)
{
    const auto writes = [&](std::uint64_t from) {
        for (std::uint64_t number = from; number < 40 * FiringLog::capacity; number += 2) {
            m_log.queued(work(number, static_cast<std::int64_t>(number), static_cast<std::int64_t>(number)));
        }
    };
    std::thread odd([&] { writes(1); });
    std::thread even([&] { writes(2); });
    std::uint64_t seen = 0;
    while (seen < FiringLog::capacity || m_log.count() < 20 * FiringLog::capacity) {
        const auto newest = m_log.count();
        if (const auto firing = newest == 0 ? std::nullopt : m_log.at(newest)) {
            ASSERT_EQ(firing->number, static_cast<std::uint64_t>(firing->timer.second));
            ASSERT_EQ(firing->due, firing->timer.second * ms);
            ++seen;
        }
        if (m_log.count() + 2 >= 40 * FiringLog::capacity) {
            break;
        }
    }
    odd.join();
    even.join();
}

} // namespace

} // namespace tovrinhost
