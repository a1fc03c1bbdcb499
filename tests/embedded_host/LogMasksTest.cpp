#include "embedded_host/log/LogSinks.hpp"

#include "host/foundation/log/basic_diagnostic_logger.hpp"

#include <gtest/gtest.h>

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

} // namespace
} // namespace tovrinhost
