#include "tests/docs/Page.hpp"

#include <gmock/gmock.h>

#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

namespace docs {

namespace {

using testing::IsEmpty;
using Names = std::set<std::string>;

const std::string sources = TOVRINTIMER_SOURCES;

/// The names that stand between backquotes in the table's first column.
Names namesOfTable()
{
    Names names;
    const std::regex name("`([^`]*)`");
    for (const Row& row : rowsOf(readPage("threads.md"))) {
        const std::string& cell = row.cells.at(0);
        for (std::sregex_iterator found(cell.begin(), cell.end(), name), end; found != end; ++found) {
            if (row.section == "What the library calls in its host") {
                names.insert(found->str(1));
            }
        }
    }
    return names;
}

/// What the library asks the loader for, without parameters.
Names neededByTheLoader()
{
    Names names;
    std::istringstream lines(readFile(sources + "/host/host-definitions.txt"));
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with('#') && !line.starts_with("typeinfo")) {
            names.insert(line.substr(0, line.find('(')));
        }
    }
    return names;
}

/// The operations of classes that hosts derive from, and which the library calls.
Names derivedByHosts()
{
    Names names;
    const std::regex operation("virtual [^;{}]*?(\\w+)\\([^;{}]*= 0;");
    for (const std::string file : { "host/vorn/VORN.hpp", "host/iqm/Iqm.hpp",
             "host/foundation/feature/Feature.hpp", "timer_src/main/TimerObserver.hpp" }) {
        const std::string text = readFile(sources + "/" + file);
        for (std::sregex_iterator found(text.begin(), text.end(), operation), end; found != end; ++found) {
            names.insert(found->str(1));
        }
    }
    return names;
}

std::string lastPart(const std::string& name)
{
    return name.substr(name.rfind(':') + 1);
}

TEST(ThreadTableTest, HasEachOperationThatTheLibraryNeedsOfItsHostAndNoOther)
{
    const Names needed = neededByTheLoader();
    const Names derived = derivedByHosts();
    ASSERT_TRUE(needed.contains("vorn::VORN::createRequestID"));
    ASSERT_TRUE(derived.contains("feval"));
    ASSERT_TRUE(derived.contains("dropped"));

    Names missing = needed;
    Names missingOfDerived = derived;
    Names others;
    for (const std::string& name : namesOfTable()) {
        const bool isKnown = needed.contains(name) || derived.contains(lastPart(name));
        if (!isKnown) {
            others.insert(name);
        }
        missing.erase(name);
        missingOfDerived.erase(lastPart(name));
    }

    EXPECT_THAT(missing, IsEmpty());
    EXPECT_THAT(missingOfDerived, IsEmpty());
    EXPECT_THAT(others, IsEmpty());
}

} // namespace

} // namespace docs
