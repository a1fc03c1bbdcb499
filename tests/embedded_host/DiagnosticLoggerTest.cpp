#include "tests/embedded_host/RecordCollector.hpp"

#include <gmock/gmock.h>

namespace tovrinhost {
namespace {

TEST(DiagnosticLoggerTest, NoRecordIsOpenedAndNothingPrintedWhileThereIsNoSink)
{
    Logger logger("logger::nosink");
    logger.set_mask(4);

    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const bool opened = static_cast<bool>(logger.open_record(4));
    write(logger, 4, "nobody reads this");

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(opened);
}

TEST(DiagnosticLoggerTest, AScopeThatIsLeftOnceTooOftenChangesNothing)
{
    const RecordCollector collector;
    Logger logger("logger::below");
    logger.set_mask(4);

    logger.indent().decrease();
    write(logger, 4, "outside");
    logger.indent().increase();
    write(logger, 4, "inside");
    logger.indent().decrease();

    EXPECT_THAT(collector.records(),
        testing::ElementsAre(CollectedRecord { "logger::below", 4, 0, "outside" },
            CollectedRecord { "logger::below", 4, 1, "inside" }));
}

} // namespace
} // namespace tovrinhost
