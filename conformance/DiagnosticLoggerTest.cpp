#include "conformance/HostUnderTest.hpp"
#include "conformance/Records.hpp"
#include "host/foundation/log/basic_diagnostic_logger.hpp"

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sources/record_ostream.hpp>

#include <map>
#include <stdexcept>
#include <thread>

namespace conformance {

namespace {

using foundation::log::detail::indent_attribute;
using testing::ElementsAre;
using Logger = foundation::log::basic_diagnostic_logger<char>;

class DiagnosticLoggerTest : public testing::Test {
protected:
    ~DiagnosticLoggerTest() override { boost::log::core::get()->reset_filter(); }

    static void write(Logger& logger, std::uint32_t severity, const std::string& text)
    {
        if (boost::log::record record = logger.open_record(severity)) {
            boost::log::record_ostream stream(record);
            stream << text;
            stream.flush();
            logger.push_record(std::move(record));
        }
    }

    std::vector<std::string> texts() const { return m_records.all(&Records::Record::text); }
    std::vector<std::uint32_t> severities() const { return m_records.all(&Records::Record::severity); }

    std::vector<std::pair<std::string, unsigned int>> indents() const
    {
        std::vector<std::pair<std::string, unsigned int>> all;
        for (const auto& record : m_records.all()) {
            all.emplace_back(record.text, record.indent);
        }
        return all;
    }

    Records m_records;
};

TEST_F(DiagnosticLoggerTest, ARecordBearsChannelSeverityAndIndentation)
{
    Logger logger("conformance a");

    write(logger, 16, "text");

    const auto records = m_records.all();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].text, "text");
    EXPECT_EQ(records[0].channel, "conformance a");
    EXPECT_EQ(records[0].severity, 16U);
    EXPECT_EQ(records[0].indent, 0U);
}

TEST_F(DiagnosticLoggerTest, EachRecordHasTheSeverityThatItWasOpenedWith)
{
    Logger logger("conformance a");

    write(logger, 4, "");
    write(logger, 0x80000000, "");
    boost::log::record outer = logger.open_record(64);
    write(logger, 32, "");
    logger.push_record(std::move(outer));

    EXPECT_THAT(severities(), ElementsAre(4U, 0x80000000, 32U, 64U));
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
    const Logger other("conformance b and more");
    const auto before = other.mask();

    setLogMask("conformance b", 20);
    const Logger later("conformance b");

    EXPECT_EQ(first.mask(), 20U);
    EXPECT_EQ(second.mask(), 20U);
    EXPECT_EQ(later.mask(), 20U);
    EXPECT_EQ(other.mask(), before);
    setLogMask("conformance b", 0);
    EXPECT_EQ(first.mask(), 0U);
}

TEST_F(DiagnosticLoggerTest, AMaskOutlivesTheLoggers)
{
    setLogMask("conformance e", 4);
    static_cast<void>(Logger("conformance e"));
    setLogMask("conformance e", 32);

    EXPECT_EQ(Logger("conformance e").mask(), 32U);
}

TEST_F(DiagnosticLoggerTest, ALoggerKnowsItsChannel)
{
    EXPECT_EQ(Logger("conformance a").channel(), "conformance a");
}

TEST_F(DiagnosticLoggerTest, ARecordThatTheCoreFiltersOutByItsSeverityIsEmpty)
{
    Logger logger("conformance a");
    boost::log::core::get()->set_filter([](const boost::log::attribute_value_set& attributes) {
        return boost::log::extract_or_throw<std::uint32_t>("Severity", attributes) == 16;
    });

    EXPECT_FALSE(logger.open_record(4));
    EXPECT_TRUE(logger.open_record(16));
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
    m_records.once("outer", [&] { write(logger, 4, "inner"); });

    write(logger, 4, "outer");

    EXPECT_THAT(texts(), ElementsAre("outer", "inner"));
}

TEST_F(DiagnosticLoggerTest, AfterASinksErrorTheLoggerGoesOn)
{
    Logger logger("conformance a");
    m_records.once("first", [] { throw std::runtime_error("no room"); });
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
    std::jthread([&] {
        write(logger, 4, "there");
        logger.indent().increase();
        write(logger, 4, "there, in a scope");
    }).join();
    logger.indent().decrease();
    write(logger, 4, "one less");
    ofAnother.decrease();
    write(logger, 4, "none");

    EXPECT_THAT(indents(),
        ElementsAre(std::pair("here", 2U), std::pair("there", 0U), std::pair("there, in a scope", 1U),
            std::pair("one less", 1U), std::pair("none", 0U)));
}

TEST_F(DiagnosticLoggerTest, TheIndentationIsThatOfTheMomentARecordIsOpened)
{
    Logger logger("conformance a");

    boost::log::record record = logger.open_record(4);
    logger.indent().increase();
    logger.push_record(std::move(record));
    logger.indent().decrease();

    EXPECT_THAT(indents(), ElementsAre(std::pair("", 0U)));
}

TEST_F(DiagnosticLoggerTest, ManyThreadsWriteToLoggersThatComeAndGo)
{
    Logger shared("conformance a");
    {
        std::vector<std::jthread> threads;
        for (std::uint32_t thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&, thread] {
                for (std::uint32_t i = 0; i < 50; ++i) {
                    Logger own("conformance d");
                    write(own, 64, "own");
                    write(shared, 1U << thread, std::to_string(i));
                    setLogMask("conformance d", i);
                }
            });
        }
    }
    EXPECT_EQ(Logger("conformance d").mask(), 49U);
    setLogMask("conformance d", 0);

    // Each thread's records come in their order, with that thread's severity.
    std::map<std::uint32_t, std::uint32_t> next;
    for (const auto& record : m_records.all()) {
        if (record.severity != 64) {
            EXPECT_EQ(record.text, std::to_string(next[record.severity]++));
        }
    }
    EXPECT_THAT(next, ElementsAre(std::pair(1U, 50U), std::pair(2U, 50U), std::pair(4U, 50U), std::pair(8U, 50U)));
    EXPECT_THAT(texts(), testing::Contains("own").Times(200));
}

} // namespace

} // namespace conformance
