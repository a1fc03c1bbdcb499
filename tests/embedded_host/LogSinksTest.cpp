#include "embedded_host/log/LogSinks.hpp"

#include "tests/embedded_host/RecordCollector.hpp"
#include "tests/embedded_host/TemporaryFile.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <sstream>
#include <string_view>
#include <system_error>
#include <thread>

namespace tovrinhost {
namespace {

using testing::ElementsAre;

constexpr std::string_view timeShape = "0000-00-00 00:00:00.000000 ";

/// Whether the line begins with a time: a digit wherever the shape has one, and the same character elsewhere.
bool beginsWithTime(const std::string& line)
{
    return line.size() >= timeShape.size()
        && std::equal(timeShape.begin(), timeShape.end(), line.begin(), [](char wanted, char found) {
               return wanted == '0' ? found >= '0' && found <= '9' : found == wanted;
           });
}

/// The lines of a log without the time that each must begin with.
std::vector<std::string> withoutTimes(const std::string& log)
{
    std::vector<std::string> lines;
    std::istringstream stream(log);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(beginsWithTime(line) ? line.substr(timeShape.size()) : "no time: " + line);
    }
    if (!log.empty() && log.back() != '\n') {
        lines.emplace_back("no line end");
    }
    return lines;
}

std::string localTime()
{
    const std::time_t now = std::time(nullptr);
    std::ostringstream text;
    text << std::put_time(std::localtime(&now), "%Y-%m-%d %H:%M:%S");
    return text.str();
}

class LogSinksTest : public testing::Test {
protected:
    LogSinksTest() { m_logger.set_mask(0xFFFFFFFF); }
    ~LogSinksTest() override { stopLogging(); }

    /// What `operation` makes appear on standard error.
    template <typename Operation> static std::string standardErrorOf(const Operation& operation)
    {
        testing::internal::CaptureStderr();
        operation();
        return testing::internal::GetCapturedStderr();
    }

    Logger m_logger { "sinks::test" };
};

TEST_F(LogSinksTest, ALineNamesChannelAndSeverity)
{
    const std::string log = standardErrorOf([this] {
        logToStandardError();
        write(m_logger, 4, "Requesting StartFcn Processing");
        write(m_logger, 16, "Finished @wait_until condvar");
        write(m_logger, 0x80000000, "");
    });

    EXPECT_THAT(withoutTimes(log),
        ElementsAre("[sinks::test] 0x04 Requesting StartFcn Processing",
            "[sinks::test] 0x10 Finished @wait_until condvar", "[sinks::test] 0x80000000 "));
}

TEST_F(LogSinksTest, ALineBeginsWithTheLocalTime)
{
    const std::string before = localTime();
    const std::string log = standardErrorOf([this] {
        logToStandardError();
        write(m_logger, 4, "now");
    });
    const std::string after = localTime();

    const std::string seconds = log.substr(0, before.size());
    EXPECT_LE(before, seconds);
    EXPECT_LE(seconds, after);
}

TEST_F(LogSinksTest, ATracedScopeIsIndentedByTwoBlanks)
{
    const std::string log = standardErrorOf([this] {
        logToStandardError();
        write(m_logger, 32, "enter");
        m_logger.indent().increase();
        write(m_logger, 4, "inside");
        m_logger.indent().increase();
        write(m_logger, 4, "deeper");
        m_logger.indent().decrease();
        m_logger.indent().decrease();
        write(m_logger, 64, "leave");
    });

    EXPECT_THAT(withoutTimes(log),
        ElementsAre("[sinks::test] 0x20 enter", "[sinks::test] 0x04   inside", "[sinks::test] 0x04     deeper",
            "[sinks::test] 0x40 leave"));
}

TEST_F(LogSinksTest, NoTextCanPassForARecord)
{
    Logger forger("sinks::forger]\n[");
    forger.set_mask(4);
    const std::string log = standardErrorOf([&forger] {
        logToStandardError();
        write(forger, 4, "one\n2024-05-01 13:45:07.045123 [sinks::test] 0x04 two\x1b[2K");
    });

    EXPECT_THAT(withoutTimes(log),
        ElementsAre("[sinks::forger]\\n[] 0x04 one\\n2024-05-01 13:45:07.045123 [sinks::test] 0x04 two\\x1b[2K"));
}

TEST_F(LogSinksTest, StandardErrorIsPutInPlaceOnlyOnce)
{
    const std::string log = standardErrorOf([this] {
        logToStandardError();
        logToStandardError();
        write(m_logger, 4, "once");
    });

    EXPECT_THAT(withoutTimes(log), ElementsAre("[sinks::test] 0x04 once"));
}

TEST_F(LogSinksTest, RecordsGoNowhereAfterLoggingStopped)
{
    const TemporaryFile file;
    const std::string log = standardErrorOf([&] {
        logToStandardError();
        logToFile(file.path());
        write(m_logger, 4, "before");
        stopLogging();
        stopLogging();
        write(m_logger, 4, "after");
    });

    EXPECT_THAT(withoutTimes(log), ElementsAre("[sinks::test] 0x04 before"));
    EXPECT_THAT(withoutTimes(file.content()), ElementsAre("[sinks::test] 0x04 before"));
}

TEST_F(LogSinksTest, AFileIsAppendedTo)
{
    const TemporaryFile file;
    logToFile(file.path());
    write(m_logger, 4, "first");
    stopLogging();

    logToFile(file.path());
    write(m_logger, 4, "second");

    // The second line is there before logging stops: nothing is buffered.
    EXPECT_THAT(
        withoutTimes(file.content()), ElementsAre("[sinks::test] 0x04 first", "[sinks::test] 0x04 second"));
}

TEST_F(LogSinksTest, ASecondFileTakesThePlaceOfTheFirst)
{
    const TemporaryFile first;
    const TemporaryFile second;
    logToFile(first.path());
    write(m_logger, 4, "to the first");

    logToFile(second.path());
    write(m_logger, 4, "to the second");

    EXPECT_THAT(withoutTimes(first.content()), ElementsAre("[sinks::test] 0x04 to the first"));
    EXPECT_THAT(withoutTimes(second.content()), ElementsAre("[sinks::test] 0x04 to the second"));
}

TEST_F(LogSinksTest, AFileThatCannotBeOpenedIsAnErrorThatNamesIt)
{
    const TemporaryFile file;
    const std::string impossible = file.path() + ".none/x.log";
    logToFile(file.path());

    EXPECT_EQ(thrownMessage<std::system_error>([&] { logToFile(impossible); }),
        "cannot open the log file \"" + impossible + "\": " + std::generic_category().message(ENOENT));

    // Nothing has changed: the file of before is still written.
    write(m_logger, 4, "still there");
    EXPECT_THAT(withoutTimes(file.content()), ElementsAre("[sinks::test] 0x04 still there"));
}

TEST_F(LogSinksTest, LinesOfManyThreadsAreNotMixed)
{
    constexpr std::size_t threadCount = 4;
    constexpr std::size_t lineCount = 100;
    const TemporaryFile file;
    logToFile(file.path());

    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([this, thread] {
            const std::string text(300, static_cast<char>('a' + thread));
            for (std::size_t line = 0; line < lineCount; ++line) {
                write(m_logger, 4, text);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    std::vector<std::size_t> counts(threadCount);
    const std::string prefix = "[sinks::test] 0x04 ";
    for (const std::string& line : withoutTimes(file.content())) {
        ASSERT_EQ(line.size(), prefix.size() + 300);
        const char letter = line.back();
        ASSERT_EQ(line, prefix + std::string(300, letter));
        ++counts.at(static_cast<std::size_t>(letter - 'a'));
    }
    EXPECT_THAT(counts, testing::Each(lineCount));
}

TEST_F(LogSinksTest, TimesDoNotGoBackFromLineToLine)
{
    const TemporaryFile file;
    logToFile(file.path());

    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this] {
            for (int line = 0; line < 100; ++line) {
                write(m_logger, 4, "tick");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    std::istringstream log(file.content());
    std::string latest;
    for (std::string line; std::getline(log, line);) {
        const std::string time = line.substr(0, 26);
        ASSERT_LE(latest, time);
        latest = time;
    }
    EXPECT_NE(latest, "");
}

/// The logger of a library, which is used until its static objects are destroyed.
Logger& lateLogger()
{
    static Logger logger("sinks::late");
    return logger;
}

TEST(LogSinksDeathTest, RecordsAreWrittenAfterMainHasEnded)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            struct Late {
                ~Late() { write(lateLogger(), 4, "written by a static destructor"); }
            };
            lateLogger().set_mask(4);
            static const Late late;
            logToStandardError();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "\\[sinks::late\\] 0x04 written by a static destructor");
}

} // namespace
} // namespace tovrinhost
