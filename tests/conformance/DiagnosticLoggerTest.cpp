#include "host/foundation/log/basic_diagnostic_logger.hpp"
#include "tests/conformance/HostUnderTest.hpp"
#include "tests/recording_host/Journal.hpp"
#include "tests/recording_host/LogCapture.hpp"

#include <boost/log/core.hpp>
#include <boost/log/sources/record_ostream.hpp>

#include <stdexcept>
#include <thread>

namespace conformance {

namespace {

using foundation::log::detail::indent_attribute;
using recording::journal;
using testing::ElementsAre;
using Logger = foundation::log::basic_diagnostic_logger<char>;

class DiagnosticLoggerTest : public HostTest {
protected:
    DiagnosticLoggerTest() { journal().clear(); }

    ~DiagnosticLoggerTest() override
    {
        journal().clear();
        boost::log::core::get()->reset_filter();
    }

    static void write(Logger& logger, std::uint32_t severity, const std::string& text)
    {
        if (boost::log::record record = logger.open_record(severity)) {
            boost::log::record_ostream stream(record);
            stream << text;
            stream.flush();
            logger.push_record(std::move(record));
        }
    }

    static std::vector<std::string> texts() { return journal().texts(recording::Kind::Log); }

    const recording::LogCapture m_capture;
};

TEST_F(DiagnosticLoggerTest, ARecordBearsChannelSeverityAndIndentation)
{
    Logger logger("conformance a");

    write(logger, 16, "text");

    const auto events = journal().events();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].text, "text");
    EXPECT_EQ(events[0].channel, "conformance a");
    EXPECT_EQ(events[0].severity, 16U);
    EXPECT_EQ(events[0].indent, 0U);
}

TEST_F(DiagnosticLoggerTest, EachRecordHasTheSeverityThatItWasOpenedWith)
{
    Logger logger("conformance a");

    write(logger, 4, "");
    write(logger, 64, "");
    write(logger, 32, "");

    std::vector<std::uint32_t> severities;
    for (const auto& event : journal().events()) {
        severities.push_back(event.severity);
    }
    EXPECT_THAT(severities, ElementsAre(4U, 64U, 32U));
}

TEST_F(DiagnosticLoggerTest, ASeverityIsWantedIfItsBitIsInTheMask)
{
    Logger logger("conformance a");

    logger.set_mask(4 | 64);

    EXPECT_EQ(logger.mask(), 68U);
    EXPECT_TRUE(logger.is_enabled(4));
    EXPECT_FALSE(logger.is_enabled(16));
    EXPECT_FALSE(logger.is_enabled(32));
    EXPECT_TRUE(logger.is_enabled(64));
}

TEST_F(DiagnosticLoggerTest, AMaskIsForAllLoggersOfAChannelAndForLaterOnes)
{
    const Logger first("conformance b");
    const Logger second("conformance b");
    const Logger other("conformance c");
    const auto before = other.mask();

    m_host->setLogMask("conformance b", 20);
    const Logger later("conformance b");

    EXPECT_EQ(first.mask(), 20U);
    EXPECT_EQ(second.mask(), 20U);
    EXPECT_EQ(later.mask(), 20U);
    EXPECT_EQ(other.mask(), before);
    m_host->setLogMask("conformance b", 0);
    EXPECT_EQ(first.mask(), 0U);
}

TEST_F(DiagnosticLoggerTest, ALoggerKnowsItsChannel)
{
    EXPECT_EQ(Logger("conformance a").channel(), "conformance a");
}

TEST_F(DiagnosticLoggerTest, ARecordThatTheCoreFiltersOutIsEmpty)
{
    Logger logger("conformance a");
    boost::log::core::get()->set_filter([](const boost::log::attribute_value_set&) { return false; });

    EXPECT_FALSE(logger.open_record(4));
}

TEST_F(DiagnosticLoggerTest, TheLockIsFreeBetweenOpeningAndPushing)
{
    Logger logger("conformance a");
    boost::log::record outer = logger.open_record(4);

    std::jthread([&] { write(logger, 4, "meanwhile"); }).join();
    logger.push_record(std::move(outer));

    EXPECT_THAT(texts(), ElementsAre("meanwhile", ""));
}

TEST_F(DiagnosticLoggerTest, ASinkMayWriteARecordOfItsOwn)
{
    Logger logger("conformance a");
    journal().once("outer", [&] { write(logger, 4, "inner"); });

    write(logger, 4, "outer");

    EXPECT_THAT(texts(), ElementsAre("outer", "inner"));
}

TEST_F(DiagnosticLoggerTest, AfterASinksErrorTheLoggerGoesOn)
{
    Logger logger("conformance a");
    journal().once("first", [] { throw std::runtime_error("no room"); });
    try {
        write(logger, 4, "first");
    } catch (const std::runtime_error&) {
        // May come out: whoever writes the record drops it.
    }

    write(logger, 4, "second");

    EXPECT_THAT(texts(), ElementsAre("first", "second"));
}

TEST_F(DiagnosticLoggerTest, IndentationBelongsToTheThread)
{
    Logger logger("conformance a");
    indent_attribute ofAnother;

    logger.indent().increase();
    ofAnother.increase();
    write(logger, 4, "here");
    std::jthread([&] { write(logger, 4, "there"); }).join();
    logger.indent().decrease();
    write(logger, 4, "one less");
    ofAnother.decrease();
    write(logger, 4, "none");

    std::vector<std::pair<std::string, unsigned int>> seen;
    for (const auto& event : journal().events()) {
        seen.emplace_back(event.text, event.indent);
    }
    EXPECT_THAT(seen,
        ElementsAre(
            std::pair("here", 2U), std::pair("there", 0U), std::pair("one less", 1U), std::pair("none", 0U)));
}

TEST_F(DiagnosticLoggerTest, ManyThreadsWriteToLoggersThatComeAndGo)
{
    Logger shared("conformance a");
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] {
                for (int i = 0; i < 50; ++i) {
                    Logger own("conformance d");
                    write(own, 4, "own");
                    write(shared, 4, "shared");
                    m_host->setLogMask("conformance d", static_cast<std::uint32_t>(i));
                }
            });
        }
    }
    m_host->setLogMask("conformance d", 0);

    EXPECT_EQ(journal().count("own"), 200U);
    EXPECT_EQ(journal().count("shared"), 200U);
}

} // namespace

} // namespace conformance
