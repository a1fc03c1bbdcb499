#include "tests/docs/Page.hpp"

#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <regex>
#include <set>

namespace docs {

namespace {

using testing::Contains;
using testing::IsEmpty;

/// Channel, severity and text of each record; each value in it is a question mark.
using Records = std::set<std::string>;

std::string record(const std::string& channel, const std::string& severity, const std::string& text)
{
    return channel + " " + severity + " " + text;
}

/// What writes records, with the channel and the severity.
const std::map<std::string, std::pair<std::string, std::string>> writers {
    { "traceScheduler(", { "tovrintimer::TimerScheduler", "4" } },
    { "traceSchedulerDetail(", { "tovrintimer::TimerScheduler", "16" } },
    { "trace(", { "tovrintimer::workHandler", "4" } },
    { "writeRecord(workItemLogger, Severity::Trace, ", { "tovrintimer::WorkItem", "4" } },
};

/// The text that arguments are streamed to, from behind the opening parenthesis on.
std::string textOfCall(const std::string& source, std::size_t at)
{
    std::string text;
    bool isValue = false;
    for (int depth = 0; depth > 0 || source[at] != ')'; ++at) {
        if (source[at] == '"') {
            const std::size_t end = source.find('"', at + 1);
            text += depth == 0 && !isValue ? source.substr(at + 1, end - at - 1) : "";
            at = end;
        } else if (source[at] == ',' && depth == 0) {
            isValue = false;
        } else if (source[at] != ' ' && source[at] != '\n') {
            depth += source[at] == '(' || source[at] == '{' ? 1 : source[at] == ')' || source[at] == '}' ? -1 : 0;
            text += isValue ? "" : "?";
            isValue = true;
        }
    }
    return text;
}

std::string allSources()
{
    std::string all;
    for (const auto& entry :
        std::filesystem::recursive_directory_iterator(std::string(TOVRINTIMER_SOURCES) + "/timer_src/main")) {
        if (entry.is_regular_file()) {
            all += readFile(entry.path());
        }
    }
    return all;
}

Records writtenBy(const std::string& sources)
{
    Records records;
    for (const auto& [writer, what] : writers) {
        for (std::size_t at = sources.find(writer); at != std::string::npos; at = sources.find(writer, at + 1)) {
            const std::size_t begin = at + writer.size();
            const bool isOther = std::isalnum(static_cast<unsigned char>(sources[at - 1])) != 0;
            if (!isOther && !sources.substr(begin).starts_with("Pieces...")) {
                records.insert(record(what.first, what.second, textOfCall(sources, begin)));
            }
        }
    }
    // A scope tells of its beginning and of its end.
    const std::regex scope(R"re(SourceLocation \w+ \{\s*"([^"]*)")re");
    for (std::sregex_iterator found(sources.begin(), sources.end(), scope), end; found != end; ++found) {
        records.insert(record("tovrintimer::TimerScheduler", "32", found->str(1)));
        records.insert(record("tovrintimer::TimerScheduler", "64", found->str(1) + "?"));
    }
    return records;
}

std::string recordOf(const Row& row)
{
    const std::string& quoted = row.cells.at(1);
    const std::string text = quoted.substr(1, quoted.size() - 2);
    return record(row.section, row.cells.at(0), std::regex_replace(text, std::regex("<\\w+>"), "?"));
}

TEST(RecordTableTest, HasEachRecordOfTheLibraryOnceAndNoOther)
{
    const Records written = writtenBy(allSources());
    EXPECT_THAT(written, Contains("tovrintimer::TimerScheduler 16 workQueue size ?"));
    EXPECT_THAT(
        written, Contains("tovrintimer::TimerScheduler 4 Request to Start Work with Id: ? for ? to execute @?"));

    Records missing = written;
    Records others;
    for (const Row& row : rowsOf(readPage("records.md"))) {
        const std::string told = recordOf(row);
        if (missing.erase(told) == 0) {
            others.insert(told);
        }
    }
    EXPECT_THAT(missing, IsEmpty());
    EXPECT_THAT(others, IsEmpty()); // what stands there twice is here, too
}

// Else there would be another way to write one, which this test does not know.
TEST(RecordTableTest, KnowsAllThatWritesRecords)
{
    const std::string sources = allSources();
    Records calls;
    const std::regex call(
        "writeRecord\\((\\w+(?:\\(\\))?, Severity::\\w+)|writeScopeRecord\\(\\s*(m_\\w+, Severity::\\w+)");
    for (std::sregex_iterator found(sources.begin(), sources.end(), call), end; found != end; ++found) {
        calls.insert(found->str(1) + found->str(2));
    }

    EXPECT_EQ(calls,
        (Records { "schedulerLogger, Severity::Trace", "schedulerLogger, Severity::Detail",
            "workHandlerLogger(), Severity::Trace", "workItemLogger, Severity::Trace",
            "m_logger, Severity::ScopeEntry", "m_logger, Severity::ScopeExit" }));
}

} // namespace

} // namespace docs
