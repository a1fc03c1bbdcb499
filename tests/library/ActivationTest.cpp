#include "tests/library/LibraryTest.hpp"

namespace tovrintimer {

namespace {

class ActivationTest : public LibraryTest { };

TEST_F(ActivationTest, SettingTheFlagPostsNothing)
{
    const auto timer = makeTimer();

    timer->setActivationStatus(true);

    EXPECT_TRUE(timer->getIsRunning());
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(ActivationTest, ClearingTheFlagPostsOneWakeUpStatement)
{
    const auto timer = makeTimer();
    timer->setActivationStatus(true);

    timer->setActivationStatus(false);

    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_THAT(calls(), ElementsAre("evalAsync if(1==1), end"));
    EXPECT_THAT(journal().texts(recording::Kind::Detail), ElementsAre("createRequestID"));
}

TEST_F(ActivationTest, TheStatementGoesToTheWakeUpQueueOfTheEventLoop)
{
    const auto timer = makeTimer();

    timer->setActivationStatus(false);

    ASSERT_EQ(m_engine->statements().size(), 1U);
    const auto statement = m_engine->statements().front();
    EXPECT_EQ(statement.text, u"if(1==1), end");
    EXPECT_EQ(statement.options.getWhenToDequeue(), cmddistributor::WhenToDequeue::AtEventLoop);
    EXPECT_TRUE(statement.options.getQueueName() == std::u16string(u"TIMER_WAKE_UP_VORN"));
}

TEST_F(ActivationTest, ClearingAClearFlagWakesTheEngineAgainWithARequestOfItsOwn)
{
    const auto timer = makeTimer();

    timer->setActivationStatus(false);
    timer->setActivationStatus(false);

    EXPECT_THAT(calls(), ElementsAre("evalAsync if(1==1), end", "evalAsync if(1==1), end"));
    const auto statements = m_engine->statements();
    EXPECT_TRUE(
        statements[0].requestId < statements[1].requestId || statements[1].requestId < statements[0].requestId);
}

TEST_F(ActivationTest, TheFlagIsClearBeforeTheEngineIsTold)
{
    const auto timer = makeTimer();
    timer->setActivationStatus(true);
    bool runningAtWakeUp = true;
    journal().once("evalAsync", [&] { runningAtWakeUp = timer->getIsRunning(); });

    timer->setActivationStatus(false);

    EXPECT_FALSE(runningAtWakeUp);
}

TEST_F(ActivationTest, AnErrorOfTheEnginePassesToTheCallerWithTheFlagCleared)
{
    const auto timer = makeTimer();
    timer->setActivationStatus(true);
    journal().once("evalAsync", [] { throw std::runtime_error("the engine has gone"); });

    try {
        timer->setActivationStatus(false);
        FAIL() << "the error was lost";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "the engine has gone");
    }
    EXPECT_FALSE(timer->getIsRunning());
}

} // namespace

} // namespace tovrintimer
