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
    EXPECT_EQ(m_log.count(), 0U) << "what is queued, the queue tells";
    at(101);
    m_log.dispatched(work(1, 1, 100));
    EXPECT_EQ(m_log.at(1)->stage, Stage::Dispatched);
    at(102);
    EXPECT_EQ(hostHasIt(), 1U);
    EXPECT_EQ(m_log.at(1)->stage, Stage::Waiting);
    at(103);
    m_log.handedOver(work(1, 1, 100));
    at(110);
    const auto beginning = m_log.callbackBegins(m_notes[1], madeUpNow, 17, 100 * ms);
    EXPECT_EQ(m_log.at(1)->stage, Stage::Running);
    at(115);
    EXPECT_EQ(m_log.callbackEnds(m_notes[1], madeUpNow, false), 5 * ms);

    EXPECT_EQ(beginning.due, 100 * ms);
    EXPECT_EQ(beginning.started, 110 * ms);
    EXPECT_EQ(beginning.missed, 0U);
    const auto firing = m_log.at(1);
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
    m_log.dispatched(forced(work(1, 1, 100)));

    EXPECT_FALSE(m_log.at(1)->wasQueued);
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
    EXPECT_EQ(m_log.at(1)->stage, Stage::Dropped);
    m_log.queued(work(2, 1, 101, 1));
    EXPECT_EQ(m_log.at(1)->stage, Stage::Dropped);
    m_log.dispatched(work(2, 1, 101, 1));
    m_log.dropped(work(2, 1, 101, 1), DropReason::BusyModeDrop);
    at(350);
    hand(work(3, 1, 350, 2));
    const auto beginning = m_log.callbackBegins(m_notes[1], madeUpNow, 5, 100 * ms);

    EXPECT_EQ(m_log.count(), 1U);
    EXPECT_EQ(beginning.missed, 3U); // due at 100, 200 and 300
    EXPECT_EQ(beginning.due, 350 * ms);
    EXPECT_EQ(m_log.at(1)->firstDue, 100 * ms);
    EXPECT_EQ(m_log.at(1)->missed, 3U);
    EXPECT_EQ(m_log.at(1)->stage, Stage::Running);
}

TEST_F(FiringLogTest, AttemptsAreToldApartFromTheFiringsOfOthers)
{
    at(100);
    m_log.dispatched(work(1, 1, 100));
    m_log.dropped(work(1, 1, 100), DropReason::BusyModeDrop);
    m_log.dispatched(work(2, 2, 100));
    m_log.dropped(work(2, 2, 100), DropReason::BusyModeDrop);
    m_log.dispatched(work(3, 2, 101, 2));
    m_log.dispatched(work(4, 1, 101, 1));

    EXPECT_EQ(m_log.count(), 2U);
    EXPECT_EQ(m_log.at(1)->timer.second, 1);
    EXPECT_EQ(m_log.at(1)->stage, Stage::Dispatched);
    EXPECT_EQ(m_log.at(2)->timer.second, 2);

    m_log.dispatched(work(5, 1, 102, 1)); // nothing that was dropped waits for it any more
    EXPECT_EQ(m_log.count(), 3U);
    EXPECT_EQ(m_log.at(3)->firstDue, 0);
}

TEST_F(FiringLogTest, AnAttemptThatIsTakenBackEndsTheFiringThatWasDropped)
{
    m_log.dispatched(work(1, 1, 100));
    m_log.dropped(work(1, 1, 100), DropReason::BusyModeDrop);
    m_log.queued(work(2, 1, 101, 1));
    m_log.dropped(work(2, 1, 101, 1), DropReason::RemovedByStop);

    EXPECT_EQ(m_log.count(), 1U);
    EXPECT_EQ(m_log.at(1)->stage, Stage::Refused);
    EXPECT_EQ(m_log.at(1)->firstDue, 100 * ms);
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

    EXPECT_EQ(m_log.at(1)->dispatched, 101 * ms);
    EXPECT_EQ(m_log.at(2)->dispatched, 102 * ms);
    EXPECT_EQ(m_log.at(2)->taken, 103 * ms);
    EXPECT_EQ(m_log.at(3)->dispatched, 103 * ms);
}

TEST_F(FiringLogTest, WhatTheThreadMayHaveSleptBeforeIsDispatchedNow)
{
    const auto dispatchedAt = [&](Nanoseconds moment, const tovrintimer::ObservedWork& handed) {
        at(moment);
        m_log.dispatched(handed);
        hostHasIt();
        return m_log.at(m_log.count())->dispatched;
    };
    m_log.queued(work(1, 1, 100));
    m_log.queued(work(2, 2, 103));
    EXPECT_EQ(dispatchedAt(102, work(1, 1, 100)), 102 * ms);
    EXPECT_EQ(dispatchedAt(105, work(2, 2, 103)), 105 * ms) << "was not due at 102";
    m_log.queued(work(3, 3, 104));
    EXPECT_EQ(dispatchedAt(106, work(3, 3, 104)), 106 * ms) << "was not queued at 105";
    EXPECT_EQ(dispatchedAt(107, forced(work(4, 1, 105))), 107 * ms) << "never was";
    m_log.queued(work(5, 2, 100));
    m_log.queued(work(6, 1, 100));
    m_log.queued(work(7, 2, 108));
    at(108);
    m_log.dispatched(work(7, 2, 108));
    m_log.dropped(work(7, 2, 108), DropReason::BusyModeDrop);
    EXPECT_EQ(dispatchedAt(109, work(5, 1, 100)), 109 * ms)
        << "nobody knows when the thread was done with the one before";
    m_log.queued(work(8, 2, 109, 7));
    EXPECT_EQ(dispatchedAt(110, work(6, 1, 100)), 109 * ms) << "has waited for the one before";
    at(111);
    m_log.dispatched(work(8, 2, 109, 7));
    EXPECT_EQ(m_log.at(5)->dispatched, 111 * ms) << "may have been hastened since 110";
}

TEST_F(FiringLogTest, ACallbackDoesNotBeginBeforeItsTaskHasCome)
{
    at(110);
    hand(work(1, 1, 100));
    const auto beginning = m_log.callbackBegins(m_notes[1], 105 * ms, 1, ms);

    EXPECT_EQ(beginning.started, 110 * ms);
    EXPECT_EQ(m_log.at(1)->started, 110 * ms);
}

TEST_F(FiringLogTest, WhatComesToNothingHasItsReason)
{
    m_log.queued(work(1, 1, 100));
    m_log.dropped(work(1, 1, 100), DropReason::RemovedByStop);
    m_log.dropped(work(2, 1, 100), DropReason::TimerNotRunning);
    hand(work(3, 1, 100));
    m_log.discarded(m_notes[3]);

    EXPECT_EQ(m_log.at(1)->stage, Stage::Refused);
    EXPECT_EQ(m_log.at(1)->reason, DropReason::RemovedByStop);
    EXPECT_EQ(m_log.at(2)->reason, DropReason::TimerNotRunning);
    EXPECT_EQ(m_log.at(2)->due, 100 * ms);
    EXPECT_EQ(m_log.at(3)->stage, Stage::Discarded);
}

TEST_F(FiringLogTest, WorkThatIsHastenedHasTheDueTimeWithWhichItIsDispatched)
{
    m_log.queued(work(1, 1, 100));
    m_log.dispatched(work(1, 1, 90));

    EXPECT_EQ(m_log.at(1)->due, 90 * ms);
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

    EXPECT_EQ(m_log.at(2)->within, 1U);
    EXPECT_EQ(m_log.at(2)->stage, Stage::Failed);
    EXPECT_EQ(m_log.at(1)->within, 0U);
}

TEST_F(FiringLogTest, TheOldestFallOut)
{
    at(100);
    hand(work(1, 1, 100));
    m_log.callbackBegins(m_notes[1], madeUpNow, 1, ms);
    for (std::uint64_t number = 2; number <= FiringLog::capacity + 1; ++number) {
        hand(work(number, 2, 100));
    }

    EXPECT_FALSE(m_log.at(1));
    EXPECT_EQ(m_log.at(2)->number, 2U);
    EXPECT_EQ(m_log.at(FiringLog::capacity + 1)->stage, Stage::Waiting) << "not what became of the one before it";
}

TEST_F(FiringLogTest, TheAttemptAfterADropThatHasFallenOutGoesOnInANewPlace)
{
    at(100);
    m_log.dispatched(work(1, 1, 100));
    m_log.dropped(work(1, 1, 100), DropReason::BusyModeDrop);
    for (std::uint64_t number = 3; number <= FiringLog::capacity + 2; ++number) {
        hand(work(number, 2, 100));
    }
    at(350);
    hand(work(2, 1, 350, 1));
    const auto beginning = m_log.callbackBegins(m_notes[m_log.count()], madeUpNow, 1, 100 * ms);

    EXPECT_EQ(m_log.count(), FiringLog::capacity + 2);
    EXPECT_EQ(m_log.at(m_log.count())->timer.second, 1);
    EXPECT_EQ(m_log.at(m_log.count())->firstDue, 100 * ms);
    EXPECT_EQ(beginning.missed, 3U);
}

TEST(FiringLogForEventsTest, ItHoldsWhatCallbacksAreToldOfThemselves)
{
    madeUpNow = 100 * ms;
    FiringLog log(madeUpClock, FiringLog::Purpose::Events);
    constexpr std::uint64_t latest = 2 * FiringLog::capacityForEvents;
    for (std::uint64_t number = 1; number <= latest; ++number) {
        log.dispatched(work(number, 1, 100));
        const TaskNote note = noteOf(log);
        EXPECT_TRUE(note.isTimerFcn);
        EXPECT_EQ(note.due, 100 * ms);
        log.callbackBegins(note, madeUpNow, number, ms);
        EXPECT_EQ(log.callbackEnds(note, madeUpNow + ms, false), ms);
    }

    const std::uint64_t oldest = latest - FiringLog::capacityForEvents + 1;
    EXPECT_FALSE(log.at(oldest - 1));
    EXPECT_EQ(log.at(oldest)->run, oldest);
    EXPECT_EQ(log.at(latest)->stage, Stage::Done);
    EXPECT_EQ(log.interpreter().since(0, madeUpNow).size(), 2 * FiringLog::capacityForEvents)
        << "what is not known, and one less";
}

TEST(FiringLogForEventsTest, ItLooksAtTheClockOnceForAllThatAreDueTogether)
{
    static int looks;
    const auto lookAt = []() noexcept {
        ++looks;
        return madeUpNow;
    };
    madeUpNow = 100 * ms;
    FiringLog log(lookAt, FiringLog::Purpose::Events);
    looks = 0;
    for (std::uint64_t number = 1; number <= 10; ++number) {
        log.queued(work(number, 1, 100));
    }
    for (std::uint64_t number = 1; number <= 10; ++number) {
        log.dispatched(work(number, 1, 100));
        const TaskNote note = noteOf(log);
        log.handedOver(work(number, 1, 100));
        madeUpNow += ms;
        EXPECT_EQ(log.callbackBegins(note, 0, number, ms).started, 100 * ms) << "the host turned to it before";
    }
    EXPECT_EQ(looks, 1);

    log.queued(work(11, 1, 110));
    log.dispatched(work(11, 1, 110));
    EXPECT_EQ(looks, 2);
    EXPECT_EQ(noteOf(log).taken, madeUpNow);
}

TEST_F(FiringLogTest, AReaderSeesOneFiringOrNone)
{
    const auto writes = [&](std::uint64_t from) {
        for (std::uint64_t number = from; number < 40 * FiringLog::capacity; number += 2) {
            const auto same = static_cast<std::int64_t>(number);
            m_log.dispatched(work(number, same, same));
        }
    };
    std::thread odd([&] { writes(1); });
    std::thread even([&] { writes(2); });
    std::uint64_t seen = 0;
    while (seen < FiringLog::capacity || m_log.count() < 20 * FiringLog::capacity) {
        const auto newest = m_log.count();
        if (const auto firing = newest == 0 ? std::nullopt : m_log.at(newest)) {
            ASSERT_EQ(firing->number, newest);
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
