#include "tests/library/LibraryTest.hpp"

#include "host/foundation/tovrindata/CharArray.hpp"
#include "host/foundation/tovrindata/StructArray.hpp"
#include "host/foundation/tovrindata/TypedArray.hpp"
#include "timer_src/main/callback/CallbackTask.hpp"
#include "timer_src/main/handlers/Dispatch.hpp"

#include <cmath>
#include <ctime>
#include <thread>

namespace tovrintimer {

namespace {

using foundation::tovrindata::Array;
using foundation::tovrindata::ArrayDimensions;
using foundation::tovrindata::ArrayType;
using foundation::tovrindata::CharArray;
using foundation::tovrindata::StructArray;
using Numbers = foundation::tovrindata::TypedArray<double>;

class CallbackTaskTest : public LibraryTest {
protected:
    /// Hands over and runs the callback of one kind, and gives back what the engine was asked for.
    recording::Engine::Evaluation evaluationOf(WorkKind kind)
    {
        const auto timer = makeFullTimer();
        handOver(kind, timer);
        timerTasks().runNext();
        return m_engine->evaluations().back();
    }

    void handOver(WorkKind kind, const std::shared_ptr<TimerInfo>& timer)
    {
        switch (kind) {
        case StartFcnWork:
            dispatch(startFcn(timer), nullptr);
            return;
        case StopFcnWork:
            dispatch(stopFcn(timer), nullptr);
            return;
        case TimerFcnWork:
            dispatch(timerFcn(timer), nullptr);
            return;
        case ErrorFcnWork:
            dispatch(errorFcn(timer), nullptr);
            return;
        }
    }

    static Numbers eventTimeOf(const recording::Engine::Evaluation& evaluation)
    {
        return Numbers(StructArray(evaluation.arguments[3]).getField(0, "Data"));
    }

    /// Whether the milliseconds of an event's time are those of a moment from `first` to `last`.
    static bool isShownBy(const Numbers& eventTime, DueTime first, DueTime last)
    {
        const double seconds = eventTime.at(5);
        const auto milliseconds = std::lround((seconds - std::floor(seconds)) * 1000);
        for (DueTime moment = first; moment <= last; moment += 1ms) {
            if (moment.time_since_epoch().count() % 1000 == milliseconds) {
                return true;
            }
        }
        return false;
    }

    static constexpr WorkKind allKinds[] = { StartFcnWork, StopFcnWork, TimerFcnWork, ErrorFcnWork };
};

TEST_F(CallbackTaskTest, TheEngineIsAskedForTimercbWithoutOutputsAndWithDefaultOptions)
{
    const auto evaluation = evaluationOf(TimerFcnWork);

    EXPECT_EQ(evaluation.function, "timercb");
    EXPECT_EQ(evaluation.arguments.size(), 4U);
    EXPECT_EQ(evaluation.nargout, 0U);
    EXPECT_EQ(evaluation.options.getWhenToDequeue(), cmddistributor::WhenToDequeue::WhenIdle);
    EXPECT_FALSE(evaluation.options.getQueueName());
    EXPECT_FALSE(evaluation.reserved);
}

TEST_F(CallbackTaskTest, TheArgumentsAreTimerNameNothingAndEvent)
{
    const std::vector<std::string> names { "StartFcn", "StopFcn", "TimerFcn", "ErrorFcn" };
    for (std::size_t i = 0; i < names.size(); ++i) {
        const auto arguments = evaluationOf(allKinds[i]).arguments;

        ASSERT_EQ(arguments.size(), 4U);
        EXPECT_EQ(CharArray(arguments[0]).toUTF8(), "A");
        EXPECT_EQ(CharArray(arguments[1]).toUTF8(), names[i]);
        EXPECT_EQ(arguments[2].getType(), ArrayType::Char);
        EXPECT_EQ(arguments[2].getNumberOfElements(), 0U);
        EXPECT_EQ(arguments[2].getDimensions(), (ArrayDimensions { 0, 0 }));
        const StructArray event(arguments[3]);
        EXPECT_EQ(event.getDimensions(), (ArrayDimensions { 1, 1 }));
        EXPECT_THAT(event.getFieldNames(), ElementsAre("Type", "Data"));
        EXPECT_EQ(CharArray(event.getField(0, "Type")).toUTF8(), names[i]);
    }
}

TEST_F(CallbackTaskTest, TheEventsDataIsTheLocalTimeWithTheSteadyClocksMilliseconds)
{
    const auto timer = makeTimer();
    handOver(TimerFcnWork, timer);
    const DueTime before = now();
    const std::time_t calendarBefore = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());

    timerTasks().runNext();

    const DueTime after = now();
    const std::time_t calendarAfter = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    const Array data = StructArray(m_engine->evaluations().back().arguments[3]).getField(0, "Data");
    EXPECT_EQ(data.getType(), ArrayType::Double);
    EXPECT_EQ(data.getDimensions(), (ArrayDimensions { 1, 6 }));
    const Numbers numbers(data);

    std::tm local {};
    local.tm_year = static_cast<int>(numbers.at(0)) - 1900;
    local.tm_mon = static_cast<int>(numbers.at(1)) - 1;
    local.tm_mday = static_cast<int>(numbers.at(2));
    local.tm_hour = static_cast<int>(numbers.at(3));
    local.tm_min = static_cast<int>(numbers.at(4));
    local.tm_sec = static_cast<int>(std::floor(numbers.at(5)));
    local.tm_isdst = -1;
    const std::time_t calendar = std::mktime(&local);
    EXPECT_GE(calendar, calendarBefore - 1); // the moment is a whole millisecond, and may be just before
    EXPECT_LE(calendar, calendarAfter);

    EXPECT_TRUE(isShownBy(numbers, before, after)) << numbers.at(5) << " s is none of the clock's";
}

TEST_F(CallbackTaskTest, EachCallbackIsARequestOfItsOwnMadeBeforeItsArguments)
{
    const auto timer = makeTimer();
    handOver(TimerFcnWork, timer);
    handOver(TimerFcnWork, timer);
    journal().clearEvents();
    // The arguments tell when they were made.
    DueTime requested {};
    journal().once("createRequestID", [&] {
        const DueTime before = now();
        while ((requested = now()) < before + 3ms) { }
    });

    timerTasks().runNext();
    const DueTime after = now();
    timerTasks().runNext();

    EXPECT_TRUE(isShownBy(eventTimeOf(m_engine->evaluations().front()), requested, after));

    const auto evaluations = m_engine->evaluations();
    ASSERT_EQ(evaluations.size(), 2U);
    EXPECT_TRUE(evaluations[0].requestId < evaluations[1].requestId
        || evaluations[1].requestId < evaluations[0].requestId);
    EXPECT_THAT(everything(),
        ElementsAre("Processing SingleShot Callback", "createRequestID", "feval timercb TimerFcn",
            "createRequestID", "evalAsync if(1==1), end", "createRequestID", "evalAsync if(1==1), end",
            "Processing SingleShot Callback", "createRequestID", "feval timercb TimerFcn", "createRequestID",
            "evalAsync if(1==1), end", "createRequestID", "evalAsync if(1==1), end"));
}

TEST_F(CallbackTaskTest, ATaskOfADestroyedTimerEvaluatesNothingAndLogsNothing)
{
    for (const WorkKind kind : allKinds) {
        auto timer = makeFullTimer();
        handOver(kind, timer);
        timer.reset();
        journal().clearEvents();

        timerTasks().runNext();

        EXPECT_THAT(everything(), IsEmpty());
    }
    EXPECT_THAT(queue(), IsEmpty());
}

TEST_F(CallbackTaskTest, APendingTaskDoesNotKeepItsTimerAlive)
{
    for (const WorkKind kind : allKinds) {
        auto timer = makeFullTimer();
        const std::weak_ptr<TimerInfo> handle = timer;
        handOver(kind, timer);

        timer.reset();

        EXPECT_TRUE(handle.expired());
    }
    EXPECT_EQ(timerTasks().pending(), 4U);
}

TEST_F(CallbackTaskTest, APendingTaskKeepsAShareOfTheEngine)
{
    for (const WorkKind kind : allKinds) {
        auto timer = makeFullTimer();
        const long shares = m_engine.use_count();

        handOver(kind, timer);
        EXPECT_EQ(m_engine.use_count(), shares + 1);

        timerTasks().reset();
        EXPECT_EQ(m_engine.use_count(), shares);
    }
}

TEST_F(CallbackTaskTest, ARunningTaskKeepsItsTimerAlive)
{
    for (const WorkKind kind : allKinds) {
        auto timer = makeFullTimer();
        const std::weak_ptr<TimerInfo> handle = timer;
        handOver(kind, timer);
        bool alive = false;
        journal().once("feval", [&] {
            timer.reset();
            alive = !handle.expired();
        });

        timerTasks().runNext();

        EXPECT_TRUE(alive);
        EXPECT_TRUE(handle.expired());
    }
}

TEST_F(CallbackTaskTest, ATaskWaitsUntilItsCallbackHasFinished)
{
    const auto timer = makeTimer();
    m_engine->setOutcome(Outcome::Later);
    scheduler().createAndStartWork(timer);

    std::jthread engineThread([] {
        timerTasks().runNext();
        journal().add({ recording::Kind::Call, "the task has ended" });
    });
    journal().waitFor("feval timercb TimerFcn");
    EXPECT_TRUE(timer->getIsRunning());
    journal().add({ recording::Kind::Call, "the callback finishes" });
    m_engine->finishNext();
    engineThread.join();

    EXPECT_THAT(calls(),
        ElementsAre("processTovrinTimerTask", "feval timercb TimerFcn", "the callback finishes",
            "evalAsync if(1==1), end", "evalAsync if(1==1), end", "the task has ended"));
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(CallbackTaskTest, WhatTheCallbackRaisesLeavesTheTask)
{
    m_engine->setOutcome(Outcome::Error);
    for (const WorkKind kind : allKinds) {
        const auto timer = makeFullTimer();
        handOver(kind, timer);
        try {
            timerTasks().runNext();
            ADD_FAILURE() << "the error was lost";
        } catch (const recording::CallbackError& error) {
            EXPECT_STREQ(error.what(), "error in the callback");
        }
    }
}

TEST_F(CallbackTaskTest, WhatTheEngineThrowsLeavesTheTask)
{
    m_engine->setOutcome(Outcome::Throw);
    const auto timer = makeTimer();
    handOver(TimerFcnWork, timer);

    try {
        timerTasks().runNext();
        FAIL() << "the error was lost";
    } catch (const recording::CallbackError& error) {
        EXPECT_STREQ(error.what(), "the engine takes no request");
    }
    EXPECT_EQ(journal().count("evalAsync"), 0U);
}

TEST_F(CallbackTaskTest, AFutureWithoutStateIsAnErrorOfItsOwn)
{
    m_engine->setOutcome(Outcome::NoState);
    const auto timer = makeTimer();
    handOver(TimerFcnWork, timer);

    EXPECT_THROW(timerTasks().runNext(), boost::future_uninitialized);
}

TEST_F(CallbackTaskTest, ATaskRunsOnTheThreadThatTheHostChooses)
{
    const auto timer = makeTimer();
    handOver(TimerFcnWork, timer);
    std::thread::id chosen;

    std::jthread([&] {
        chosen = std::this_thread::get_id();
        timerTasks().runNext();
    }).join();

    EXPECT_EQ(story(chosen).front(), "Processing SingleShot Callback");
    EXPECT_THAT(story(chosen), testing::Contains("feval timercb TimerFcn"));
}

TEST_F(CallbackTaskTest, ATaskGivesTimerAndEngineToItsBodyWhenItRuns)
{
    const auto timer = makeTimer("A");
    bool ran = false;
    const auto task = makeCallbackTask(timer, m_engine,
        [&](TimerInfo& info, vorn::VORN& engine) { ran = &info == timer.get() && &engine == m_engine.get(); });

    EXPECT_FALSE(ran);
    task();

    EXPECT_TRUE(ran);
}

} // namespace

} // namespace tovrintimer
