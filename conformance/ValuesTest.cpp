#include "host/cmddistributor/RunOptions.hpp"
#include "host/fl/i18n/to_string.hpp"
#include "host/foundation/msg_svc/exchange/IDType.hpp"

#include "conformance/Identities.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace conformance {

namespace {

using cmddistributor::RunOptions;
using cmddistributor::WhenToDequeue;
using foundation::msg_svc::exchange::IDType;

constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

TEST(ValuesTest, IdentitiesAreMadeUniqueOnWhateverThread)
{
    EXPECT_EQ(madeOnManyThreads([] { return IDType(); }).size(), 2000U);
}

TEST(ValuesTest, ACopyIsTheSameIdentity)
{
    const IDType id;
    const IDType copy = id; // NOLINT(performance-unnecessary-copy-initialization): it is what is looked at

    EXPECT_FALSE(id < copy);
    EXPECT_FALSE(copy < id);
}

TEST(ValuesTest, IdentitiesAreOrderedByTheirSignedWords)
{
    EXPECT_TRUE(IDType(-1, 5) < IDType(0, -5));
    EXPECT_TRUE(IDType(1, -5) < IDType(1, 5));
    EXPECT_TRUE(IDType(1, 9) < IDType(2, 0));
    EXPECT_FALSE(IDType(2, 0) < IDType(1, 9));
    EXPECT_FALSE(IDType(1, 5) < IDType(1, 5));
    EXPECT_TRUE(IDType(smallest, 0) < IDType(largest, 0));
    EXPECT_TRUE(IDType(0, smallest) < IDType(0, largest));
}

TEST(ValuesTest, AnIdentityAlwaysPrintsTheSameAndUnlikeOthers)
{
    const auto text = [](const IDType& id) {
        std::ostringstream stream;
        stream << id;
        return stream.str();
    };

    EXPECT_EQ(text(IDType(3, -4)), text(IDType(3, -4)));
    EXPECT_NE(text(IDType(3, -4)), text(IDType(-4, 3)));
    EXPECT_NE(text(IDType(3, -4)), text(IDType(3, 4)));
    EXPECT_FALSE(text(IDType(0, 0)).empty());
}

TEST(ValuesTest, WideTextBecomesUtf8)
{
    EXPECT_EQ(fl::i18n::to_string(L"TimerFcn"), "TimerFcn");
    EXPECT_EQ(fl::i18n::to_string(L""), "");
    EXPECT_EQ(fl::i18n::to_string(std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(fl::i18n::to_string(L"\u00e4\u20ac\U0001F600"), "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80");
}

TEST(ValuesTest, DefaultOptionsAreForTheIdleEnginesDefaultQueue)
{
    const RunOptions options;

    EXPECT_EQ(options.getWhenToDequeue(), WhenToDequeue::WhenIdle);
    EXPECT_FALSE(options.getQueueName());
}

TEST(ValuesTest, OptionsKeepWhatTheyAreMadeOf)
{
    RunOptions options(WhenToDequeue::AtEventLoop, boost::none);
    EXPECT_EQ(options.getWhenToDequeue(), WhenToDequeue::AtEventLoop);
    EXPECT_FALSE(options.getQueueName());

    const RunOptions before = options;
    options.setQueueName(u"TIMER_WAKE_UP_VORN");
    EXPECT_TRUE(options.getQueueName() == std::u16string(u"TIMER_WAKE_UP_VORN"));
    EXPECT_FALSE(before.getQueueName());

    EXPECT_TRUE(RunOptions(WhenToDequeue::WhenIdle, std::u16string(u"q")).getQueueName() == std::u16string(u"q"));
}

} // namespace

} // namespace conformance
