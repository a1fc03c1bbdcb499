#include "host/cmddistributor/RunOptions.hpp"

#include <gtest/gtest.h>

namespace cmddistributor {
namespace {

TEST(RunOptionsTest, TheDefaultIsWhenIdleOnTheDefaultQueue)
{
    const RunOptions options;

    EXPECT_EQ(options.getWhenToDequeue(), WhenToDequeue::WhenIdle);
    EXPECT_FALSE(options.getQueueName());
}

TEST(RunOptionsTest, HoldWhatTheyWereMadeWith)
{
    const RunOptions options(WhenToDequeue::AtEventLoop, std::u16string(u"QUEUE"));

    EXPECT_EQ(options.getWhenToDequeue(), WhenToDequeue::AtEventLoop);
    EXPECT_EQ(options.getQueueName().value(), u"QUEUE");
}

TEST(RunOptionsTest, AQueueNameSetLaterStandsForThatObjectOnly)
{
    RunOptions options(WhenToDequeue::AtEventLoop, boost::none);
    const RunOptions copy = options;

    options.setQueueName(u"TIMER_WAKE_UP_VORN");

    EXPECT_EQ(options.getQueueName().value(), u"TIMER_WAKE_UP_VORN");
    EXPECT_EQ(options.getWhenToDequeue(), WhenToDequeue::AtEventLoop);
    EXPECT_FALSE(copy.getQueueName());
}

} // namespace
} // namespace cmddistributor
