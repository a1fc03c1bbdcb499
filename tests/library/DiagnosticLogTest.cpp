#include "tests/library/LibraryTest.hpp"

#include "timer_src/main/callback/DiagnosticLog.hpp"
#include "timer_src/main/callback/WorkHandlerLog.hpp"

#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>

#include <functional>
#include <thread>

namespace tovrintimer {

namespace {

/// A piece of text that does something as it is formatted.
struct Piece {
    std::function<void()> formatted;
};

std::ostream& operator<<(std::ostream& stream, const Piece& piece)
{
    piece.formatted();
    return stream << "piece";
}

class DiagnosticLogTest : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        m_logger.set_mask(4);
    }

    void TearDown() override
    {
        const auto core = boost::log::core::get();
        core->set_logging_enabled(true);
        core->reset_filter();
        LibraryTest::TearDown();
    }

    Piece countingPiece()
    {
        return { [this] { ++m_formatted; } };
    }

    static Piece throwingPiece()
    {
        return { [] { throw std::runtime_error("no text"); } };
    }

    DiagnosticLogger m_logger { "test" };
    int m_formatted = 0;
};

TEST_F(DiagnosticLogTest, TheSeveritiesAreTheBitsThatMasksAreMadeOf)
{
    EXPECT_EQ(static_cast<std::uint32_t>(Severity::Trace), 4U);
    EXPECT_EQ(static_cast<std::uint32_t>(Severity::Detail), 16U);
    EXPECT_EQ(static_cast<std::uint32_t>(Severity::ScopeEntry), 32U);
    EXPECT_EQ(static_cast<std::uint32_t>(Severity::ScopeExit), 64U);
}

TEST_F(DiagnosticLogTest, ARecordIsItsPiecesInOrder)
{
    writeRecord(m_logger, Severity::Trace, "a ", 1, '-', std::string("b"), 2.5);

    const auto events = journal().events();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].text, "a 1-b2.5");
    EXPECT_EQ(events[0].channel, "test");
    EXPECT_EQ(events[0].severity, 4U);
    EXPECT_EQ(events[0].indent, 0U);
    EXPECT_EQ(events[0].thread, std::this_thread::get_id());
}

TEST_F(DiagnosticLogTest, FlagsAreShownAsNumbers)
{
    writeRecord(m_logger, Severity::Trace, true, false);

    EXPECT_THAT(logs("test"), ElementsAre("10"));
}

TEST_F(DiagnosticLogTest, AMaskOfZeroFormatsNothing)
{
    m_logger.set_mask(0);

    writeRecord(m_logger, Severity::Trace, countingPiece());
    writeRecord(m_logger, Severity::Detail, countingPiece());

    EXPECT_EQ(m_formatted, 0);
    EXPECT_THAT(logs(), IsEmpty());
}

TEST_F(DiagnosticLogTest, OnlyTheSeveritiesOfTheMaskAreWritten)
{
    m_logger.set_mask(16);

    writeRecord(m_logger, Severity::Trace, "trace");
    writeRecord(m_logger, Severity::Detail, "detail");

    EXPECT_THAT(logs("test"), ElementsAre("detail"));
}

TEST_F(DiagnosticLogTest, ADisabledCoreFormatsNothing)
{
    boost::log::core::get()->set_logging_enabled(false);

    writeRecord(m_logger, Severity::Trace, countingPiece());

    EXPECT_EQ(m_formatted, 0);
    EXPECT_THAT(logs(), IsEmpty());
}

TEST_F(DiagnosticLogTest, ARecordThatTheCoreFiltersOutIsNotFormatted)
{
    boost::log::core::get()->set_filter([](const boost::log::attribute_value_set&) { return false; });

    writeRecord(m_logger, Severity::Trace, countingPiece());

    EXPECT_EQ(m_formatted, 0);
    EXPECT_THAT(logs(), IsEmpty());
}

TEST_F(DiagnosticLogTest, AFilterThatThrowsCostsTheRecordAndNothingElse)
{
    boost::log::core::get()->set_filter(
        [](const boost::log::attribute_value_set&) -> bool { throw std::runtime_error("no filter"); });
    writeRecord(m_logger, Severity::Trace, countingPiece());
    EXPECT_EQ(m_formatted, 0);

    boost::log::core::get()->reset_filter();
    writeRecord(m_logger, Severity::Trace, "next");
    EXPECT_THAT(logs("test"), ElementsAre("next"));
}

TEST_F(DiagnosticLogTest, APieceThatThrowsCostsTheRecordAndNothingElse)
{
    writeRecord(m_logger, Severity::Trace, "half ", throwingPiece(), " a record");
    writeRecord(m_logger, Severity::Trace, "next");

    EXPECT_THAT(logs("test"), ElementsAre("next"));
}

TEST_F(DiagnosticLogTest, ASinkThatThrowsCostsTheRecordAndNothingElse)
{
    journal().once("first", [] { throw std::runtime_error("no room"); });

    writeRecord(m_logger, Severity::Trace, "first");
    writeRecord(m_logger, Severity::Trace, "second");

    EXPECT_THAT(logs("test"), ElementsAre("first", "second"));
}

TEST_F(DiagnosticLogTest, ARecordIsWrittenWhileAnExceptionPropagates)
{
    struct Scope {
        ~Scope() { writeRecord(logger, Severity::Trace, "leaving ", "the scope"); }
        DiagnosticLogger& logger;
    };

    try {
        const Scope scope { m_logger };
        throw std::runtime_error("on its way");
    } catch (const std::runtime_error&) {
    }

    EXPECT_THAT(logs("test"), ElementsAre("leaving the scope"));
}

TEST_F(DiagnosticLogTest, ARecordInWhichANewExceptionStartsIsDroppedAndTheOldOneGoesOn)
{
    struct Scope {
        ~Scope() { writeRecord(logger, Severity::Trace, "half ", throwingPiece()); }
        DiagnosticLogger& logger;
    };

    EXPECT_THROW(
        {
            const Scope scope { m_logger };
            throw std::logic_error("on its way");
        },
        std::logic_error);

    EXPECT_THAT(logs(), IsEmpty());
}

TEST_F(DiagnosticLogTest, TheLoggersLockIsFreeWhileARecordIsFormatted)
{
    const Piece nested { [this] {
        writeRecord(m_logger, Severity::Trace, "inner");
        std::jthread([this] { writeRecord(m_logger, Severity::Trace, "other thread"); }).join();
    } };

    writeRecord(m_logger, Severity::Trace, "outer ", nested);

    EXPECT_THAT(logs("test"), ElementsAre("inner", "other thread", "outer piece"));
}

TEST_F(DiagnosticLogTest, TheLoggersLockIsFreeWhileARecordIsPushed)
{
    journal().once("outer",
        [this] { std::jthread([this] { writeRecord(m_logger, Severity::Trace, "from the sink"); }).join(); });

    writeRecord(m_logger, Severity::Trace, "outer");

    EXPECT_THAT(logs("test"), ElementsAre("outer", "from the sink"));
}

TEST_F(DiagnosticLogTest, ManyThreadsShareALogger)
{
    constexpr int perThread = 200;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] {
                for (int i = 0; i < perThread; ++i) {
                    writeRecord(m_logger, Severity::Trace, "record ", i);
                }
            });
        }
    }

    EXPECT_EQ(journal().count("record "), 4U * perThread);
}

TEST_F(DiagnosticLogTest, HandlersShareOneLoggerOfTheirChannel)
{
    DiagnosticLogger* onAnotherThread = nullptr;
    std::jthread([&] { onAnotherThread = &workHandlerLogger(); }).join();

    EXPECT_EQ(onAnotherThread, &workHandlerLogger());
    EXPECT_EQ(workHandlerLogger().channel(), "tovrintimer::workHandler");
}

TEST_F(DiagnosticLogTest, EverySourceUnitHasALoggerOfWorkItems)
{
    EXPECT_EQ(workItemLogger.channel(), "tovrintimer::WorkItem");
    EXPECT_EQ(workItemLogger.mask(), allSeverities);
}

TEST_F(DiagnosticLogTest, WithoutAnyRecordTheLibraryDoesItsWork)
{
    setLogMasks(0);
    const auto timer = makeFullTimer();

    scheduler().createAndStartWork(timer);
    timerTasks().runNext();
    journal().waitFor("processTovrinTimerTask", 2);
    timerTasks().runNext();
    journal().waitFor("processTovrinTimerTask", 3);
    timerTasks().runNext();

    EXPECT_THAT(logs(), IsEmpty());
    EXPECT_FALSE(timer->getIsRunning());
}

TEST_F(DiagnosticLogTest, ASinkThatAlwaysThrowsChangesNothingInARun)
{
    journal().when("", [](const recording::Event& event) {
        if (event.kind == recording::Kind::Log) {
            throw std::runtime_error("no room");
        }
    });
    const auto timer = makeFullTimer();

    scheduler().createAndStartWork(timer);
    timerTasks().runNext();
    journal().waitFor("processTovrinTimerTask", 2);
    timerTasks().runNext();
    journal().waitFor("processTovrinTimerTask", 3);
    timerTasks().runNext();
    scheduler().forceStopWorkAndScheduleStopFcn(timer);
    scheduler().forceScheduleOfErrorFcn(timer, true);
    scheduler().cleanup();

    std::vector<std::string> evaluated = calls();
    std::erase_if(evaluated, [](const std::string& call) { return !call.starts_with("feval"); });
    EXPECT_THAT(
        evaluated, ElementsAre("feval timercb StartFcn", "feval timercb TimerFcn", "feval timercb StopFcn"));
    EXPECT_FALSE(timer->getIsRunning());
}

} // namespace

} // namespace tovrintimer
