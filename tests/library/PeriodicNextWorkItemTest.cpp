#include "tests/library/PeriodicTest.hpp"

#include "timer_src/main/handlers/NextWorkItem.hpp"

#include <limits>

namespace tovrintimer {

namespace {

/// What follows a periodic callback. The clock is read between `m_before` and `m_after`.
class PeriodicNextWorkItemTest : public PeriodicTest {
protected:
    NextWorkItem next(const std::shared_ptr<TimerInfo>& timer, std::uint64_t left, bool fireImmediately = false)
    {
        m_before = now();
        NextWorkItem made = makeNextWorkItem(timer, *timer, m_record, fireImmediately, m_counter, left);
        m_after = now();
        return made;
    }

    static bool isOf(const TimerInfo& timer, const IDType& id)
    {
        return !(timer.getId() < id) && !(id < timer.getId());
    }

    void expectNowPlus(std::chrono::milliseconds span, DueTime due) const
    {
        EXPECT_GE(due, m_before + span);
        EXPECT_LE(due, m_after + span);
    }

    const std::shared_ptr<prevCallBackStatus> m_record = std::make_shared<prevCallBackStatus>();
    const std::shared_ptr<std::uint64_t> m_counter = std::make_shared<std::uint64_t>(9);
    DueTime m_before {};
    DueTime m_after {};
};

TEST_F(PeriodicNextWorkItemTest, WhileCallbacksAreLeftATimerFcnFollowsAPeriodFromNow)
{
    const auto timer = makePeriodicTimer(ExecutionMode::FixedRate, 5, 1000.0);

    const auto made = std::get<WorkItem<TimerFcnWork>>(next(timer, 4));

    expectNowPlus(1s, made.m_executeAt);
    EXPECT_TRUE(isOf(*timer, made.m_id));
    EXPECT_EQ(made.m_timerInfo.lock(), timer);
    EXPECT_EQ(made.m_sharedTaskCounter, m_counter);
    EXPECT_EQ(made.m_taskCount, 4U);
    EXPECT_EQ(made.m_prevCallBackStatus, m_record);
    EXPECT_THAT(everything(), IsEmpty());
}

TEST_F(PeriodicNextWorkItemTest, FiringImmediatelyMeansDueNowWhateverThePeriod)
{
    for (const double period : { 1000.0, -1000.0, std::numeric_limits<double>::infinity() }) {
        const auto timer = makePeriodicTimer(ExecutionMode::FixedRate, 5, period);

        expectNowPlus(0ms, std::get<WorkItem<TimerFcnWork>>(next(timer, 4, true)).m_executeAt);
    }
}

TEST_F(PeriodicNextWorkItemTest, ThePeriodIsAddedAsAnySpanIs)
{
    const auto dueWithPeriod = [this](double period) {
        const auto timer = makePeriodicTimer(ExecutionMode::FixedRate, 5, period);
        return std::get<WorkItem<TimerFcnWork>>(next(timer, 4)).m_executeAt;
    };

    expectNowPlus(2ms, dueWithPeriod(2.9));
    expectNowPlus(-1ms, dueWithPeriod(-1.5));
    EXPECT_EQ(dueWithPeriod(std::numeric_limits<double>::infinity()),
        DueTime(DueTime::duration(std::numeric_limits<std::int64_t>::max() / 1'000'000)));
}

TEST_F(PeriodicNextWorkItemTest, WithNoneLeftTheStopFcnFollowsAtOnce)
{
    const auto timer = makePeriodicTimer(ExecutionMode::FixedRate, 5);
    timer->setStopFcnIsEmpty(false);

    const auto made = std::get<WorkItem<StopFcnWork>>(next(timer, 0));

    expectNowPlus(0ms, made.m_executeAt);
    EXPECT_TRUE(isOf(*timer, made.m_id));
    EXPECT_EQ(made.m_timerInfo.lock(), timer);
    EXPECT_EQ(made.m_taskCount, 1U);
    EXPECT_EQ(*made.m_sharedTaskCounter, 1U);
    EXPECT_NE(made.m_sharedTaskCounter, m_counter);
    EXPECT_NE(made.m_prevCallBackStatus, m_record);
}

TEST_F(PeriodicNextWorkItemTest, WithNoneLeftAndNoStopFcnNothingFollows)
{
    const auto timer = makePeriodicTimer(ExecutionMode::FixedRate, 5);

    EXPECT_TRUE(std::holds_alternative<std::monostate>(next(timer, 0)));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(next(timer, 0, true)));
}

TEST_F(PeriodicNextWorkItemTest, AnErrorFcnItemIsDueNow)
{
    const auto timer = makeTimer();
    timer->setErrorFcnIsEmpty(false);

    m_before = now();
    const auto error = makeErrorFcnWorkItem(timer, *timer);
    m_after = now();

    ASSERT_TRUE(error);
    expectNowPlus(0ms, error->m_executeAt);
    EXPECT_TRUE(isOf(*timer, error->m_id));
    EXPECT_EQ(error->m_timerInfo.lock(), timer);
    EXPECT_EQ(error->m_taskCount, 1U);
    EXPECT_EQ(*error->m_sharedTaskCounter, 1U);
}

TEST_F(PeriodicNextWorkItemTest, WithoutErrorFcnThereIsNoErrorFcnItem)
{
    const auto timer = makeTimer();

    EXPECT_FALSE(makeErrorFcnWorkItem(timer, *timer));
}

TEST_F(PeriodicNextWorkItemTest, TheItemOfATaskIsACopyWithARecordOfItsOwn)
{
    const auto timer = makeTimer();
    const auto due = periodicItem(timer, 7, 3, farOff());

    const auto current = makeCurrentWorkItem(due);

    EXPECT_FALSE(current->m_id < due.m_id || due.m_id < current->m_id);
    EXPECT_EQ(current->m_executeAt, due.m_executeAt);
    EXPECT_EQ(current->m_timerInfo.lock(), timer);
    EXPECT_EQ(current->m_sharedTaskCounter, due.m_sharedTaskCounter);
    EXPECT_EQ(current->m_taskCount, 3U);
    EXPECT_NE(current->m_prevCallBackStatus, due.m_prevCallBackStatus);
    EXPECT_FALSE(current->m_prevCallBackStatus->hasCompleted);
    EXPECT_EQ(current->shared_from_this(), current);
}

} // namespace

} // namespace tovrintimer
