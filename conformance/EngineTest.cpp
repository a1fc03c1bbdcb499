#include "conformance/HostUnderTest.hpp"
#include "conformance/Identities.hpp"
#include "host/foundation/tovrindata/ArrayFactory.hpp"
#include "host/processTovrinTimerTask.hpp"
#include "host/setCurrentThreadName.hpp"

#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace conformance {

namespace {

using foundation::concurrent::future;
using foundation::tovrindata::Array;
using Outputs = std::vector<Array>;

constexpr auto patience = boost::chrono::seconds(10);

/// What the engine answers. Where it does not, the test fails in place of waiting forever.
template <typename Value> Value ended(future<Value> answer)
{
    if (answer.wait_for(patience) != boost::future_status::ready) {
        throw std::runtime_error("the engine has not answered within ten seconds");
    }
    return answer.get();
}

class EngineTest : public HostTest {
protected:
    future<Outputs> evaluate(const std::string& function)
    {
        foundation::tovrindata::ArrayFactory factory;
        return m_host->engine()->feval(
            function, { factory.createCharArray("argument") }, 0, {}, false, vorn::VORN::createRequestID());
    }

    future<void> wakeUp()
    {
        cmddistributor::RunOptions options(cmddistributor::WhenToDequeue::AtEventLoop, boost::none);
        options.setQueueName(u"TIMER_WAKE_UP_VORN");
        return m_host->engine()->evalAsync(u"if(1==1), end", options, vorn::VORN::createRequestID());
    }
};

TEST_F(EngineTest, AnEvaluationEndsWithItsOutputs)
{
    auto outputs = evaluate(m_host->succeedingFunction());
    ASSERT_TRUE(outputs.valid());
    m_host->runPending();

    EXPECT_THAT(ended(std::move(outputs)), testing::IsEmpty());
}

TEST_F(EngineTest, WhatTheEvaluationRaisesComesOutOfTheFuture)
{
    auto outputs = evaluate(m_host->failingFunction());
    ASSERT_TRUE(outputs.valid());
    m_host->runPending();

    EXPECT_THAT([&] { ended(std::move(outputs)); },
        testing::ThrowsMessage<std::exception>(testing::HasSubstr("error in the callback")));
}

TEST_F(EngineTest, AfterAFailureTheEngineGoesOn)
{
    auto failed = evaluate(m_host->failingFunction());
    auto outputs = evaluate(m_host->succeedingFunction());
    m_host->runPending();

    EXPECT_THROW(ended(std::move(failed)), std::exception);
    EXPECT_NO_THROW(ended(std::move(outputs)));
}

TEST_F(EngineTest, EvaluationsAreAskedForOnAnyThread)
{
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] { EXPECT_NO_THROW(ended(evaluate(m_host->succeedingFunction()))); });
        }
    }
}

TEST_F(EngineTest, ADroppedFutureNeitherWaitsNorCancels)
{
    static_cast<void>(evaluate(m_host->succeedingFunction()));
    static_cast<void>(wakeUp());
    m_host->runPending();

    EXPECT_NO_THROW(ended(evaluate(m_host->succeedingFunction())));
}

TEST_F(EngineTest, TheWakeUpStatementIsTakenOffTheQueue)
{
    auto done = wakeUp();
    ASSERT_TRUE(done.valid());
    m_host->runPending();

    EXPECT_NO_THROW(ended(std::move(done)));
}

TEST_F(EngineTest, StatementsArePostedOnAnyThreadAtOnce)
{
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] {
                for (int i = 0; i < 50; ++i) {
                    static_cast<void>(wakeUp());
                }
            });
        }
    }
    m_host->runPending();

    EXPECT_NO_THROW(ended(evaluate(m_host->succeedingFunction())));
}

TEST_F(EngineTest, TheContextIsConstantOnWhateverThread)
{
    const auto context = m_host->engine()->getContextId();
    vorn::ContextId elsewhere = context + 1;

    std::jthread([&] { elsewhere = m_host->engine()->getContextId(); }).join();

    EXPECT_EQ(m_host->engine()->getContextId(), context);
    EXPECT_EQ(elsewhere, context);
}

TEST_F(EngineTest, RequestsHaveIdentitiesOfTheirOwn)
{
    EXPECT_EQ(madeOnManyThreads([] { return vorn::VORN::createRequestID(); }).size(), 2000U);
}

TEST_F(EngineTest, ATaskEvaluatesInItsOwnEngineAndWaitsForTheEnd)
{
    bool evaluated = false;
    processTovrinTimerTask(m_host->engine(), [&] {
        ended(evaluate(m_host->succeedingFunction()));
        evaluated = true;
    });
    m_host->runPending();

    EXPECT_TRUE(evaluated);
}

TEST_F(EngineTest, ATaskPostsAStatementAndGoesOn)
{
    bool posted = false;
    processTovrinTimerTask(m_host->engine(), [&] {
        static_cast<void>(wakeUp());
        posted = true;
    });
    m_host->runPending();

    EXPECT_TRUE(posted);
}

// A thread of the library names itself, and has no use for an error.
TEST_F(EngineTest, AnyThreadNameIsTaken)
{
    std::jthread([] {
        EXPECT_NO_THROW(setCurrentThreadName("TimerScheduler"));
        EXPECT_NO_THROW(setCurrentThreadName(""));
        EXPECT_NO_THROW(setCurrentThreadName(std::string(10'000, 'x')));
        EXPECT_NO_THROW(setCurrentThreadName("\xc3\xa4\xff\x01"));
    }).join();
}

} // namespace

} // namespace conformance
