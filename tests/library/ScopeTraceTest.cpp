#include "tests/library/LibraryTest.hpp"

#include "timer_src/main/callback/ScopeTrace.hpp"

namespace tovrintimer {

namespace {

class ScopeTraceTest : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        m_logger.set_mask(allSeverities);
    }

    /// Severity, indentation and text of each record.
    std::vector<std::string> records() const
    {
        std::vector<std::string> seen;
        for (const auto& event : journal().events()) {
            seen.push_back(std::to_string(event.severity) + " " + std::to_string(event.indent) + " " + event.text);
        }
        return seen;
    }

    DiagnosticLogger m_logger { "test" };
    const SourceLocation m_location { "void f()", "some/file", 12 };
};

TEST_F(ScopeTraceTest, AScopeShowsItsEntryItsIndentedRecordsAndItsExit)
{
    {
        const ScopeTrace scope(m_logger, m_location);
        writeRecord(m_logger, Severity::Trace, "inside");
    }

    EXPECT_THAT(records(), ElementsAre("32 0 void f()", "4 1 inside", "64 0 void f()"));
}

TEST_F(ScopeTraceTest, EntryAndExitSayWhereTheScopeIs)
{
    {
        const ScopeTrace scope(m_logger, m_location);
    }

    ASSERT_EQ(journal().events().size(), 2U);
    for (const auto& event : journal().events()) {
        EXPECT_EQ(event.file, "some/file");
        EXPECT_EQ(event.line, 12);
        EXPECT_EQ(event.channel, "test");
    }
}

TEST_F(ScopeTraceTest, ScopesNest)
{
    {
        const ScopeTrace outer(m_logger, m_location);
        const ScopeTrace inner(m_logger, { "void g()", "some/file", 20 });
    }

    EXPECT_THAT(records(), ElementsAre("32 0 void f()", "32 1 void g()", "64 1 void g()", "64 0 void f()"));
}

TEST_F(ScopeTraceTest, AScopeThatIsLeftByAnExceptionSaysSo)
{
    EXPECT_THROW(
        {
            const ScopeTrace scope(m_logger, m_location);
            throw std::runtime_error("out");
        },
        std::runtime_error);

    EXPECT_THAT(records(), ElementsAre("32 0 void f()", "64 0 void f() [throw]"));
}

TEST_F(ScopeTraceTest, AScopeThatEndsWhileAnOlderExceptionPropagatesDoesNot)
{
    struct Cleaner {
        Cleaner(DiagnosticLogger& ownLogger, const SourceLocation& ownLocation)
            : logger(ownLogger)
            , location(ownLocation)
        {
        }
        ~Cleaner() { const ScopeTrace scope(logger, location); }
        DiagnosticLogger& logger;
        const SourceLocation& location;
    };

    EXPECT_THROW(
        {
            const Cleaner cleaner(m_logger, m_location);
            throw std::runtime_error("out");
        },
        std::runtime_error);

    EXPECT_THAT(records(), ElementsAre("32 0 void f()", "64 0 void f()"));
}

TEST_F(ScopeTraceTest, AScopeWhoseEntryIsNotWantedLeavesNoTraceAndNoIndentation)
{
    m_logger.set_mask(4 | 64);
    {
        const ScopeTrace scope(m_logger, m_location);
        writeRecord(m_logger, Severity::Trace, "inside");
    }

    EXPECT_THAT(records(), ElementsAre("4 0 inside"));
}

TEST_F(ScopeTraceTest, AScopeThatWasEnteredIndentedIsLeftThatWayWhateverTheMaskBecomes)
{
    {
        const ScopeTrace scope(m_logger, m_location);
        m_logger.set_mask(0);
    }
    m_logger.set_mask(4);
    writeRecord(m_logger, Severity::Trace, "after");

    EXPECT_THAT(records(), ElementsAre("32 0 void f()", "4 0 after"));
}

TEST_F(ScopeTraceTest, ErrorsWhileTheRecordsAreWrittenStayInside)
{
    journal().when("void f()", [] { throw std::runtime_error("no room"); });
    {
        const ScopeTrace scope(m_logger, m_location);
    }
    writeRecord(m_logger, Severity::Trace, "after");

    EXPECT_THAT(records(), ElementsAre("32 0 void f()", "64 0 void f()", "4 0 after"));
}

} // namespace

} // namespace tovrintimer
