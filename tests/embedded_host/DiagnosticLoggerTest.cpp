#include "tests/embedded_host/RecordCollector.hpp"

#include <boost/log/attributes/attribute_value_set.hpp>
#include <boost/log/core/core.hpp>
#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

namespace tovrinhost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(DiagnosticLoggerTest, ARecordCarriesChannelSeverityIndentAndText)
{
    const RecordCollector collector;
    Logger logger("logger::attributes");
    logger.set_mask(0xFFFFFFFF);

    write(logger, 4, "first");
    write(logger, 0x80000000, "second");

    EXPECT_EQ(logger.channel(), "logger::attributes");
    EXPECT_THAT(collector.records(),
        ElementsAre(CollectedRecord { "logger::attributes", 4, 0, "first" },
            CollectedRecord { "logger::attributes", 0x80000000, 0, "second" }));
}

TEST(DiagnosticLoggerTest, OnlyTheSeveritiesOfTheMaskAreEnabled)
{
    Logger logger("logger::mask");
    EXPECT_EQ(logger.mask(), 0U);
    EXPECT_FALSE(logger.is_enabled(4));

    logger.set_mask(4 | 64);

    EXPECT_EQ(logger.mask(), 68U);
    EXPECT_TRUE(logger.is_enabled(4));
    EXPECT_FALSE(logger.is_enabled(16));
    EXPECT_FALSE(logger.is_enabled(32));
    EXPECT_TRUE(logger.is_enabled(64));
}

TEST(DiagnosticLoggerTest, AFilterOfTheCoreSeesTheSeverity)
{
    const RecordCollector collector;
    Logger logger("logger::filter");
    logger.set_mask(4 | 16);
    boost::log::core::get()->set_filter([](const boost::log::attribute_value_set& attributes) {
        return boost::log::extract_or_throw<std::uint32_t>("Severity", attributes) == 16;
    });

    EXPECT_FALSE(logger.open_record(4));
    write(logger, 4, "unwanted");
    write(logger, 16, "wanted");
    boost::log::core::get()->reset_filter();

    EXPECT_THAT(collector.records(), ElementsAre(CollectedRecord { "logger::filter", 16, 0, "wanted" }));
}

TEST(DiagnosticLoggerTest, ARecordWrittenMeanwhileDoesNotChangeTheSeverityOfAnOpenOne)
{
    const RecordCollector collector;
    Logger logger("logger::nested");
    logger.set_mask(4 | 16);

    boost::log::record outer = logger.open_record(4);
    ASSERT_TRUE(outer);
    write(logger, 16, "inner");
    boost::log::record_ostream stream(outer);
    stream << "outer";
    stream.flush();
    logger.push_record(std::move(outer));

    EXPECT_THAT(collector.records(),
        ElementsAre(CollectedRecord { "logger::nested", 16, 0, "inner" },
            CollectedRecord { "logger::nested", 4, 0, "outer" }));
}

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

/// A sink that fails as often as it is told to.
struct FailingBackend : boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
    void consume(const boost::log::record_view&)
    {
        if (failures > 0) {
            --failures;
            throw std::runtime_error("no room");
        }
        ++consumed;
    }

    int failures = 1;
    int consumed = 0;
};

TEST(DiagnosticLoggerTest, ASinkThatThrowsCostsOneRecordAndNoMore)
{
    const auto backend = boost::make_shared<FailingBackend>();
    const auto sink = boost::make_shared<boost::log::sinks::synchronous_sink<FailingBackend>>(backend);
    boost::log::core::get()->add_sink(sink);
    Logger logger("logger::throwing");
    logger.set_mask(4);

    EXPECT_THROW(write(logger, 4, "lost"), std::runtime_error);
    EXPECT_EQ(backend->consumed, 0);
    write(logger, 4, "kept");
    boost::log::core::get()->remove_sink(sink);

    EXPECT_EQ(backend->consumed, 1);
}

TEST(DiagnosticLoggerTest, RecordsOfOneLoggerAreWrittenByManyThreads)
{
    constexpr int threadCount = 4;
    constexpr int recordCount = 250;
    const RecordCollector collector;
    Logger logger("logger::threads");
    logger.set_mask(0xFFFFFFFF);

    std::vector<std::thread> threads;
    for (std::uint32_t thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&logger, thread] {
            for (int record = 0; record < recordCount; ++record) {
                write(logger, 1U << thread, std::to_string(record));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    // Each thread's records come in their order, with that thread's severity.
    std::vector<int> next(threadCount);
    for (const CollectedRecord& record : collector.records()) {
        const std::size_t thread = record.severity == 1 ? 0
            : record.severity == 2                      ? 1
            : record.severity == 4                      ? 2
                                                        : 3;
        ASSERT_EQ(record.severity, 1U << thread);
        ASSERT_EQ(record.text, std::to_string(next[thread]++));
    }
    EXPECT_THAT(next, testing::Each(recordCount));
}

} // namespace
} // namespace tovrinhost
