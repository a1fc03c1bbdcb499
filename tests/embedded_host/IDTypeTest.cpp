#include "host/foundation/msg_svc/exchange/IDType.hpp"

#include <gmock/gmock.h>

#include <iomanip>
#include <limits>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

namespace foundation::msg_svc::exchange {
namespace {

constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

std::string textOf(const IDType& id)
{
    std::ostringstream stream;
    stream << id;
    return stream.str();
}

TEST(IDTypeTest, NoTwoIdentitiesAreTheSameWhicheverThreadMakesThem)
{
    constexpr std::size_t threadCount = 4;
    constexpr std::size_t idCount = 1000;
    std::vector<std::vector<IDType>> made(threadCount);
    std::vector<std::thread> threads;
    for (std::vector<IDType>& mine : made) {
        threads.emplace_back([&mine] { mine = std::vector<IDType>(idCount); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    std::set<IDType> distinct;
    for (const std::vector<IDType>& mine : made) {
        distinct.insert(mine.begin(), mine.end());
    }
    EXPECT_EQ(distinct.size(), threadCount * idCount);
}

TEST(IDTypeTest, ACopyIsTheSameIdentity)
{
    const IDType id;
    const IDType copy = id; // NOLINT(performance-unnecessary-copy-initialization): it is what is looked at

    EXPECT_FALSE(id < copy);
    EXPECT_FALSE(copy < id);
}

TEST(IDTypeTest, TheFirstWordDecidesBeforeTheSecond)
{
    EXPECT_TRUE(IDType(1, 9) < IDType(2, 0));
    EXPECT_FALSE(IDType(2, 0) < IDType(1, 9));
    EXPECT_TRUE(IDType(1, 1) < IDType(1, 2));
    EXPECT_FALSE(IDType(1, 2) < IDType(1, 1));
}

TEST(IDTypeTest, TheWordsAreOrderedAsSignedNumbers)
{
    EXPECT_TRUE(IDType(-1, 0) < IDType(0, 0));
    EXPECT_TRUE(IDType(smallest, 0) < IDType(largest, 0));
    EXPECT_TRUE(IDType(0, -1) < IDType(0, 0));
    EXPECT_TRUE(IDType(0, smallest) < IDType(0, largest));
}

TEST(IDTypeTest, IsPrintedAsTwiceSixteenDigits)
{
    EXPECT_EQ(textOf(IDType(0x12, 0xabc)), "0000000000000012-0000000000000abc");
    EXPECT_EQ(textOf(IDType(-1, smallest)), "ffffffffffffffff-8000000000000000");
}

TEST(IDTypeTest, IsPrintedTheSameWhateverTheStreamIsSetTo)
{
    std::ostringstream stream;
    stream << std::oct << std::showbase << std::uppercase << std::setfill('*') << IDType(0xa, 0xb) << ' ' << 8;

    EXPECT_EQ(stream.str(), "000000000000000a-000000000000000b 010");
}

TEST(IDTypeTest, TheIdentitiesOfAProcessShareTheirFirstWord)
{
    EXPECT_EQ(IDType().first, IDType().first);
}

} // namespace
} // namespace foundation::msg_svc::exchange
