#include "host/foundation/msg_svc/exchange/IDType.hpp"

#include <gtest/gtest.h>

#include <iomanip>
#include <limits>
#include <sstream>

namespace foundation::msg_svc::exchange {
namespace {

constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();

std::string textOf(const IDType& id)
{
    std::ostringstream stream;
    stream << id;
    return stream.str();
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
