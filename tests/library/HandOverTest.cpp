#include "tests/library/LibraryTest.hpp"

#include "timer_src/main/callback/HandOver.hpp"
#include "timer_src/main/handlers/Dispatch.hpp"

#include <iostream>
#include <thread>

namespace tovrintimer {

namespace {

struct SomeHandler { };

class HandOverTest : public LibraryTest {
protected:
    void handOverTask(const CallbackTask& task) { handOverTask(task, m_handOver); }

    void handOverTask(const CallbackTask& task, HandOver& way)
    {
        WorkItem<StartFcnWork> work(now(), IDType(), {});
        way(m_engine, task, work);
    }

    HandOver m_handOver;
};
using HandOverDeathTest = HandOverTest;

TEST_F(HandOverTest, WithTheFeatureOnTheTaskIsHandedOverAndNothingMore)
{
    handOverTask([] {});
    handOverTask([] {});

    EXPECT_THAT(everything(),
        ElementsAre("processTovrinTimerTask", "Feature::get TIMER_PPE", "Feature::get TIMER_PPE",
            "processTovrinTimerTask", "Feature::get TIMER_PPE", "Feature::get TIMER_PPE"));
}

TEST_F(HandOverTest, WithTheFeatureOffEachHandOverWakesTheRequestLineOnce)
{
    recording::setTimerPpe(false);
    handOverTask([] {});
    handOverTask([] {});

    EXPECT_THAT(calls(),
        ElementsAre("processTovrinTimerTask", "setReadyRequestPending true", "Iqm::getInstance 1",
            "inRequestLineNoService 1", "processTovrinTimerTask", "setReadyRequestPending true",
            "Iqm::getInstance 1", "inRequestLineNoService 1"));
}

TEST_F(HandOverTest, TheRequestLineIsThatOfTheTimersOwnEngine)
{
    recording::setTimerPpe(false);
    m_engine = std::make_shared<recording::Engine>(42);
    const auto timer = makeTimer();
    journal().clearEvents();

    auto work = startFcn(timer);
    handOver<SomeHandler>(*timer, work, [](TimerInfo&, vorn::VORN&) {});

    EXPECT_THAT(everything(),
        ElementsAre("processTovrinTimerTask", "Feature::get TIMER_PPE", "Feature::get TIMER_PPE",
            "setReadyRequestPending true", "getContextId", "Iqm::getInstance 42", "inRequestLineNoService 42"));
}

TEST_F(HandOverTest, ASwitchThatIsThrownBetweenTheReadsCounts)
{
    // Off as it is read the first time, on as it is read again; and the other way round.
    recording::setTimerPpe(false);
    journal().once("Feature::get", [] { journal().once("Feature::get", [] { recording::setTimerPpe(true); }); });
    handOverTask([] {});
    EXPECT_THAT(calls(), ElementsAre("processTovrinTimerTask"));

    journal().clearEvents();
    journal().once("Feature::get", [] { journal().once("Feature::get", [] { recording::setTimerPpe(false); }); });
    handOverTask([] {});
    EXPECT_THAT(calls(),
        ElementsAre("processTovrinTimerTask", "setReadyRequestPending true", "Iqm::getInstance 1",
            "inRequestLineNoService 1"));
}

TEST_F(HandOverTest, TheTaskGoesToTheEngineThatTheTimerWasMadeIn)
{
    const auto timer = makeTimer();

    auto work = startFcn(timer);
    handOver<SomeHandler>(*timer, work, [](TimerInfo&, vorn::VORN&) {});

    ASSERT_EQ(timerTasks().engines().size(), 1U);
    EXPECT_EQ(timerTasks().engines()[0].lock(), m_engine);
}

TEST_F(HandOverTest, TheHandlersOwnTaskIsGoneWhenTheHandOverHasEnded)
{
    const auto captured = std::make_shared<int>(0);

    handOverTask([captured] {});
    EXPECT_EQ(captured.use_count(), 2); // the host's copy

    timerTasks().reset();
    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(HandOverTest, AHostThatRefusesTheTaskIsToldNothingMore)
{
    recording::setTimerPpe(false);
    timerTasks().setRun(TaskRun::Refuse);
    EXPECT_THROW(handOverTask([] {}), recording::HandOverError);

    EXPECT_THAT(everything(), ElementsAre("processTovrinTimerTask"));
}

TEST_F(HandOverTest, ATaskMayRunInsideTheHandOver)
{
    timerTasks().setRun(TaskRun::Inline);
    recording::setTimerPpe(false);
    const auto timer = makeTimer();

    scheduler().createAndStartWork(timer);

    EXPECT_THAT(calls(),
        ElementsAre("processTovrinTimerTask", "feval timercb TimerFcn", "evalAsync if(1==1), end",
            "evalAsync if(1==1), end", "setReadyRequestPending true", "Iqm::getInstance 1",
            "inRequestLineNoService 1"));
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(HandOverTest, EachObjectReportsItsWayOnceEvenWhereManyThreadsComeFirst)
{
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 8; ++thread) {
            threads.emplace_back([&] { handOverTask([] {}); });
        }
    }
    EXPECT_EQ(journal().count("Timer Running on PPE"), 1U);

    HandOver other;
    recording::setTimerPpe(false);
    handOverTask([] {}, other);
    handOverTask([] {}, other);
    EXPECT_EQ(journal().count("Timer Running on LineHook"), 1U);
}

TEST_F(HandOverTest, TheReportStandsBetweenTheTwoReadsOfTheSwitch)
{
    handOverTask([] {});

    std::vector<std::string> all;
    for (const auto& event : journal().events()) {
        all.push_back(event.text);
    }
    EXPECT_THAT(all,
        ElementsAre(
            "processTovrinTimerTask", "Feature::get TIMER_PPE", "Timer Running on PPE", "Feature::get TIMER_PPE"));
    EXPECT_EQ(journal().events()[2].channel, "tovrintimer::workHandler");
    EXPECT_EQ(journal().events()[2].severity, 4U);
}

// Once in a process: so in a process of its own.
TEST_F(HandOverDeathTest, EachKindOfHandlerReportsOnceInTheProcess)
{
    const auto report = [this](bool ppe) {
        recording::setTimerPpe(ppe);
        const auto timer = makeFullTimer();
        for (int round = 0; round < 3; ++round) {
            dispatch(startFcn(timer), nullptr);
            dispatch(stopFcn(timer), nullptr);
            dispatch(errorFcn(timer), nullptr);
            for (const ExecutionMode mode : { ExecutionMode::SingleShot, ExecutionMode::FixedSpacing,
                     ExecutionMode::FixedDelay, ExecutionMode::FixedRate }) {
                timer->setExecutionMode(static_cast<size_t>(mode));
                dispatch(timerFcn(timer), nullptr);
            }
            std::cerr << journal().count("Timer Running on PPE") << " PPE, "
                      << journal().count("Timer Running on LineHook") << " LineHook\n";
        }
        std::_Exit(0);
    };

    EXPECT_EXIT(
        report(true), testing::ExitedWithCode(0), "7 PPE, 0 LineHook\n7 PPE, 0 LineHook\n7 PPE, 0 LineHook\n");
    EXPECT_EXIT(
        report(false), testing::ExitedWithCode(0), "0 PPE, 7 LineHook\n0 PPE, 7 LineHook\n0 PPE, 7 LineHook\n");
}

} // namespace

} // namespace tovrintimer
