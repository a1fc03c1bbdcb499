#include "host/foundation/tovrindata/CharArray.hpp"
#include "tests/library/LibraryTest.hpp"

#include <cmath>
#include <limits>

namespace tovrintimer {

namespace {

using recording::Engine;
using recording::Kind;

class TimerInfoTest : public LibraryTest { };

TEST_F(TimerInfoTest, AFreshRecordIsAStoppedSingleShotTimerWithoutCallbacks)
{
    const auto timer = makeTimer();

    EXPECT_EQ(timer->getPeriod(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(timer->getStartDelay(), 0.0);
    EXPECT_FALSE(timer->getIsRunning());
    EXPECT_EQ(timer->getBusyMode(), 0U);
    EXPECT_EQ(timer->getExecutionMode(), 0U);
    EXPECT_EQ(timer->getNumOfTasksToExecute(), 0U);
    EXPECT_EQ(timer->getTasksExecuted(), 0.0);
    EXPECT_TRUE(timer->getStartFcnIsEmpty());
    EXPECT_TRUE(timer->getStopFcnIsEmpty());
    EXPECT_TRUE(timer->getErrorFcnIsEmpty());
    EXPECT_TRUE(std::isnan(timer->getAveragePeriod()));
    EXPECT_TRUE(std::isnan(timer->getInstantPeriod()));
}

TEST_F(TimerInfoTest, TheClassSystemSeesTheSameTypeWhateverTheTimer)
{
    const auto first = makeTimer("A");
    const auto second = makeFullTimer("B");
    second->setExecutionMode(3);

    for (const pelk::factory::full::Wrappable* const timer : { first.get(), second.get() }) {
        EXPECT_STREQ(timer->getFullyQualifiedPelkTypeName(), "StdSharedTimerInfo");
        EXPECT_EQ(static_cast<int>(timer->getSharingType()), 0);
    }
}

TEST_F(TimerInfoTest, EachSettingIsGivenBackAsItWasSet)
{
    const auto timer = makeTimer();

    timer->setPeriod(12.75);
    timer->setStartDelay(-3.5);
    timer->setBusyMode(2);
    timer->setExecutionMode(3);
    timer->setNumOfTasksToExecute(std::numeric_limits<size_t>::max());
    timer->setStartFcnIsEmpty(false);
    timer->setStopFcnIsEmpty(false);
    timer->setErrorFcnIsEmpty(false);

    EXPECT_EQ(timer->getPeriod(), 12.75);
    EXPECT_EQ(timer->getStartDelay(), -3.5);
    EXPECT_EQ(timer->getBusyMode(), 2U);
    EXPECT_EQ(timer->getExecutionMode(), 3U);
    EXPECT_EQ(timer->getNumOfTasksToExecute(), std::numeric_limits<size_t>::max());
    EXPECT_FALSE(timer->getStartFcnIsEmpty());
    EXPECT_FALSE(timer->getStopFcnIsEmpty());
    EXPECT_FALSE(timer->getErrorFcnIsEmpty());
}

TEST_F(TimerInfoTest, TheEmptinessFlagsAreThreeSettingsOfTheirOwn)
{
    const auto timer = makeTimer();

    timer->setStopFcnIsEmpty(false);

    EXPECT_TRUE(timer->getStartFcnIsEmpty());
    EXPECT_FALSE(timer->getStopFcnIsEmpty());
    EXPECT_TRUE(timer->getErrorFcnIsEmpty());
}

TEST_F(TimerInfoTest, AModeThatNobodyKnowsIsKeptUnchanged)
{
    const auto timer = makeTimer();

    timer->setExecutionMode(4);
    timer->setBusyMode(3);

    EXPECT_EQ(timer->getExecutionMode(), 4U);
    EXPECT_EQ(timer->getBusyMode(), 3U);
}

TEST_F(TimerInfoTest, ModesKeepTheirLow32Bits)
{
    const auto timer = makeTimer();

    timer->setBusyMode(0x7'0000'0002);
    timer->setExecutionMode(0x1'0000'0003);

    EXPECT_EQ(timer->getBusyMode(), 2U);
    EXPECT_EQ(timer->getExecutionMode(), 3U);
}

TEST_F(TimerInfoTest, ModesAreGivenBackSignExtended)
{
    const auto timer = makeTimer();

    timer->setBusyMode(4294967295U);
    timer->setExecutionMode(4294967295U);
    EXPECT_EQ(timer->getBusyMode(), std::numeric_limits<size_t>::max());
    EXPECT_EQ(timer->getExecutionMode(), std::numeric_limits<size_t>::max());

    timer->setBusyMode(0x8000'0000U);
    timer->setExecutionMode(0x7fff'ffffU);
    EXPECT_EQ(timer->getBusyMode(), 0xffff'ffff'8000'0000U);
    EXPECT_EQ(timer->getExecutionMode(), 0x7fff'ffffU);
}

TEST_F(TimerInfoTest, TheInterruptDataIsTheCallersOwnPointerWithoutAShare)
{
    const auto timer = makeTimer();

    EXPECT_EQ(&timer->getInterruptData(), &m_interruptData);
    EXPECT_EQ(m_interruptData.use_count(), 1);
}

TEST_F(TimerInfoTest, TheEngineIsSharedAndTheTimerObjectCopied)
{
    const auto timer = makeTimer("A");

    EXPECT_EQ(timer->getVORNInstanceWhereTimerWasFirstCreated(), m_engine);
    EXPECT_EQ(m_engine.use_count(), 2);
    EXPECT_EQ(foundation::tovrindata::CharArray(timer->getTOVRINSideOfTimerObj()).toUTF8(), "A");
}

TEST_F(TimerInfoTest, TheIdentityIsConstantAndDiffersBetweenTimers)
{
    const auto first = makeTimer("A");
    const auto second = makeTimer("B");
    const auto same = [](const IDType& a, const IDType& b) { return !(a < b) && !(b < a); };

    const IDType before = first->getId();
    scheduler().createAndStartWork(first);

    EXPECT_TRUE(same(before, first->getId()));
    EXPECT_FALSE(same(first->getId(), second->getId()));
}

TEST_F(TimerInfoTest, AfterAResetThePeriodsAreUnknownUntilTwoMoreRunsHaveBeenCounted)
{
    const auto timer = makeTimer();
    timer->updateTimerFunRunStatus();
    timer->updateTimerFunRunStatus();

    timer->reset();
    EXPECT_EQ(timer->getTasksExecuted(), 0.0);
    EXPECT_TRUE(std::isnan(timer->getInstantPeriod()));
    EXPECT_TRUE(std::isnan(timer->getAveragePeriod()));

    timer->updateTimerFunRunStatus();
    EXPECT_EQ(timer->getTasksExecuted(), 1.0);
    EXPECT_TRUE(std::isnan(timer->getInstantPeriod()));
    EXPECT_TRUE(std::isnan(timer->getAveragePeriod()));

    timer->updateTimerFunRunStatus();
    EXPECT_EQ(timer->getTasksExecuted(), 2.0);
    EXPECT_GE(timer->getInstantPeriod(), 0.0);
    EXPECT_EQ(timer->getAveragePeriod(), timer->getInstantPeriod());
}

TEST_F(TimerInfoTest, OnlyTheLastOwnersLeavingRetractsTheRecordAndOnlyOnce)
{
    auto timer = makeTimer();
    auto other = timer;
    const auto before = recording::retractions();

    timer.reset();
    EXPECT_EQ(recording::retractions(), before);
    EXPECT_EQ(recording::expectedObjects(), 1U);

    other.reset();
    EXPECT_EQ(recording::retractions(), before + 1);
    EXPECT_EQ(recording::expectedObjects(), 0U);
}

TEST_F(TimerInfoTest, TheEngineShareIsReleasedBeforeTheRecordIsRetracted)
{
    auto timer = makeTimer();
    m_engine.reset();
    journal().clearEvents();

    timer.reset();

    EXPECT_THAT(journal().texts(Kind::Detail), ElementsAre("~Engine", "retract"));
}

TEST_F(TimerInfoTest, TheRecordFindsItselfThroughItsBase)
{
    const auto timer = makeTimer();

    EXPECT_EQ(std::dynamic_pointer_cast<TimerInfo>(timer->shared_from_this()), timer);
}

} // namespace

} // namespace tovrintimer
