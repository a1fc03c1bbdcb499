#include "host/cmddistributor/RunOptions.hpp"
#include "host/fl/i18n/to_string.hpp"
#include "host/foundation/msg_svc/exchange/IDType.hpp"
#include "host/setCurrentThreadName.hpp"
#include "host/vorn/VORN.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <sstream>
#include <thread>
#include <vector>

namespace conformance {

namespace {

using cmddistributor::RunOptions;
using cmddistributor::WhenToDequeue;
using foundation::msg_svc::exchange::IDType;

bool haveDuplicates(std::vector<IDType> ids)
{
    std::sort(ids.begin(), ids.end());
    return std::adjacent_find(ids.begin(), ids.end(), [](const IDType& a, const IDType& b) { return !(a < b); })
        != ids.end();
}

template <typename Make> std::vector<IDType> madeOnManyThreads(Make make)
{
    std::vector<IDType> ids;
    std::mutex mutex;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                const IDType id = make();
                const std::lock_guard lock(mutex);
                ids.push_back(id);
            }
        });
    }
    threads.clear();
    return ids;
}

TEST(ValuesTest, IdentitiesAreMadeUniqueOnWhateverThread)
{
    const auto ids = madeOnManyThreads([] { return IDType(); });

    EXPECT_EQ(ids.size(), 2000U);
    EXPECT_FALSE(haveDuplicates(ids));
}

TEST(ValuesTest, RequestsHaveIdentitiesOfTheirOwn)
{
    const auto ids = madeOnManyThreads([] { return vorn::VORN::createRequestID(); });

    EXPECT_EQ(ids.size(), 2000U);
    EXPECT_FALSE(haveDuplicates(ids));
}

TEST(ValuesTest, IdentitiesAreOrderedByTheirSignedWords)
{
    EXPECT_TRUE(IDType(-1, 5) < IDType(0, -5));
    EXPECT_TRUE(IDType(1, -5) < IDType(1, 5));
    EXPECT_FALSE(IDType(1, 5) < IDType(1, 5));
    EXPECT_FALSE(IDType(2, 0) < IDType(1, 9));
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

TEST(ValuesTest, AnyThreadNameIsTaken)
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
