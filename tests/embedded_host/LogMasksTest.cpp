#include "embedded_host/log/LogSinks.hpp"

#include "host/foundation/log/basic_diagnostic_logger.hpp"

#include <gmock/gmock.h>

#include <memory>
#include <thread>

namespace tovrinhost {
namespace {

using Logger = foundation::log::basic_diagnostic_logger<char>;

// Namespace-scope objects, as libraries have them: all this happens before `main` begins.
Logger madeBeforeTheMask("masks::early");
const bool earlyMaskIsSet = [] {
    setLogMask("masks::early", 20);
    return true;
}();
Logger madeAfterTheMask("masks::early");

TEST(LogMasksTest, WorkBeforeMainBegins)
{
    ASSERT_TRUE(earlyMaskIsSet);
    EXPECT_EQ(madeBeforeTheMask.mask(), 20U);
    EXPECT_EQ(madeAfterTheMask.mask(), 20U);
}

TEST(LogMasksTest, NothingIsRecordedUnlessAskedFor)
{
    const Logger logger("masks::default");

    EXPECT_EQ(logger.mask(), 0U);
}

TEST(LogMasksTest, AMaskHoldsForTheLoggersThatExist)
{
    const Logger logger("masks::existing");

    setLogMask("masks::existing", 4);

    EXPECT_EQ(logger.mask(), 4U);
}

TEST(LogMasksTest, AMaskHoldsForTheLoggersMadeLater)
{
    setLogMask("masks::later", 4);
    setLogMask("masks::later", 16);

    const Logger logger("masks::later");

    EXPECT_EQ(logger.mask(), 16U);
}

TEST(LogMasksTest, AllLoggersOfAChannelHaveItsMask)
{
    const Logger first("masks::several");
    const Logger second("masks::several");

    setLogMask("masks::several", 64);
    const Logger third("masks::several");

    EXPECT_EQ(first.mask(), 64U);
    EXPECT_EQ(second.mask(), 64U);
    EXPECT_EQ(third.mask(), 64U);
}

TEST(LogMasksTest, OtherChannelsKeepTheirMask)
{
    setLogMask("masks::one", 4);
    const Logger one("masks::one");
    const Logger longer("masks::one::more");

    setLogMask("masks::two", 16);

    EXPECT_EQ(one.mask(), 4U);
    EXPECT_EQ(longer.mask(), 0U);
}

TEST(LogMasksTest, AMaskOutlivesTheLoggers)
{
    auto logger = std::make_unique<Logger>("masks::gone");
    setLogMask("masks::gone", 4);

    logger.reset();
    setLogMask("masks::gone", 32);
    logger = std::make_unique<Logger>("masks::gone");

    EXPECT_EQ(logger->mask(), 32U);
}

TEST(LogMasksTest, LoggersComeAndGoWhileMasksAreSet)
{
    constexpr std::uint32_t rounds = 500;
    std::thread setter([] {
        for (std::uint32_t mask = 1; mask <= rounds; ++mask) {
            setLogMask("masks::busy", mask);
        }
    });
    for (std::uint32_t round = 0; round < rounds; ++round) {
        const Logger logger("masks::busy");
        ASSERT_LE(logger.mask(), rounds);
    }
    const Logger last("masks::busy");
    setter.join();

    EXPECT_EQ(last.mask(), rounds);
}

} // namespace
} // namespace tovrinhost
