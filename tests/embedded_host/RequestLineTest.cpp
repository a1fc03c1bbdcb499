#include "embedded_host/engine/Engine.hpp"
#include "embedded_host/services/Features.hpp"
#include "host/inRequestLineNoService.hpp"
#include "host/iqm/Iqm.hpp"
#include "host/processTovrinTimerTask.hpp"
#include "host/setReadyRequestPending.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace tovrinhost {

namespace {

class RequestLineTest : public testing::Test {
protected:
    RequestLineTest() { setFeature("TIMER_PPE", false); }

    ~RequestLineTest() override
    {
        setFeature("TIMER_PPE", true);
        m_first->shutDown();
        m_second->shutDown();
    }

    /// \returns ready once the task has run
    static std::future<void> handOver(const std::shared_ptr<Engine>& engine)
    {
        const auto ran = std::make_shared<std::promise<void>>();
        processTovrinTimerTask(engine, [ran] { ran->set_value(); });
        setReadyRequestPending(true);
        return ran->get_future();
    }

    static void wake(const Engine& engine)
    {
        inRequestLineNoService(iqm::Iqm::getInstance(engine.getContextId())->getInterruptStateData());
    }

    static bool comes(const std::future<void>& end)
    {
        return end.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    }

    const std::shared_ptr<Engine> m_first = Engine::start();
    const std::shared_ptr<Engine> m_second = Engine::start();
};

TEST_F(RequestLineTest, AnEngineIsWokenAlthoughAnotherHasLookedMeanwhile)
{
    // More than once: an interpreter that has not fallen asleep yet finds its task without being woken.
    for (int round = 0; round < 20; ++round) {
        const auto first = handOver(m_first);
        const auto second = handOver(m_second);
        wake(*m_first);
        wake(*m_second);

        EXPECT_TRUE(comes(first));
        ASSERT_TRUE(comes(second)) << "round " << round;
    }
}

TEST_F(RequestLineTest, AWakeUpIsNotTakenBackByAHostThatHasLooked)
{
    const auto ran = handOver(m_first);
    setReadyRequestPending(false);
    wake(*m_first);

    EXPECT_TRUE(comes(ran));
}

} // namespace

} // namespace tovrinhost
