#include "conformance/HostUnderTest.hpp"
#include "host/inRequestLineNoService.hpp"
#include "host/iqm/Iqm.hpp"
#include "host/processTovrinTimerTask.hpp"
#include "host/setReadyRequestPending.hpp"

#include <atomic>
#include <thread>

namespace conformance {

namespace {

class RequestLineTest : public HostTest {
protected:
    ~RequestLineTest() override { m_host->setTimerPpe(true); }

    void wakeRequestLine()
    {
        setReadyRequestPending(true);
        const auto manager = iqm::Iqm::getInstance(m_host->engine()->getContextId());
        ASSERT_NE(manager, nullptr);
        const auto interruptState = manager->getInterruptStateData();
        ASSERT_NE(interruptState, nullptr);
        inRequestLineNoService(interruptState);
    }
};

TEST_F(RequestLineTest, AManagerExistsAsLongAsAnEngineOfItsContext)
{
    const auto manager = iqm::Iqm::getInstance(m_host->engine()->getContextId());

    ASSERT_NE(manager, nullptr);
    EXPECT_NE(manager->getInterruptStateData(), nullptr);
}

TEST_F(RequestLineTest, WakingDoesNotWaitForTheInterpreter)
{
    m_host->setTimerPpe(false);
    bool woken = false;
    processTovrinTimerTask(m_host->engine(), [&] {
        // On the engine's own thread nobody else could answer.
        wakeRequestLine();
        woken = true;
    });
    wakeRequestLine();

    m_host->runPending();

    EXPECT_TRUE(woken);
}

TEST_F(RequestLineTest, ATaskThatIsHandedOverWithTheFeatureOffRuns)
{
    m_host->setTimerPpe(false);
    std::atomic<bool> ran { false };
    std::jthread([&] {
        processTovrinTimerTask(m_host->engine(), [&] { ran = true; });
        wakeRequestLine();
    }).join();

    m_host->runPending();

    EXPECT_TRUE(ran);
}

} // namespace

} // namespace conformance
