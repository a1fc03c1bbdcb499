#include "embedded_host/shell/History.hpp"

#include "tests/shell/linux/Folder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace shell_tests {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using tovrinhost::History;

class HistoryTest : public testing::Test {
protected:
    const Folder folder;
};

TEST_F(HistoryTest, EntriesComeBackAsTheyWere)
{
    History history(folder.path() + "/a/b");
    EXPECT_THAT(history.load(), IsEmpty());
    history.append("x = 1");
    history.append("for i = 1, 2 do\n\tprint('\\n')\nend");
    history.append("\xff\\");
    EXPECT_THAT(History(folder.path() + "/a/b").load(),
        ElementsAre("x = 1", "for i = 1, 2 do\n\tprint('\\n')\nend", "\xff\\"));
    EXPECT_EQ(std::filesystem::status(folder.path() + "/a").permissions(), std::filesystem::perms::owner_all);
}

TEST_F(HistoryTest, TheLatestThousandAreKept)
{
    std::string text;
    for (int i = 1; i <= 2001; ++i) {
        text += std::to_string(i) + "\n";
    }
    folder.write("history", text);
    const auto entries = History(folder.path()).load();
    EXPECT_EQ(entries.size(), History::mostEntries);
    EXPECT_EQ(entries.front(), "1002");
    EXPECT_EQ(entries.back(), "2001");
    EXPECT_THAT(folder.read("history"), StartsWith("1002\n1003\n"));
    EXPECT_EQ(std::filesystem::status(folder.path() + "/history").permissions(),
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(HistoryTest, AnEntryOfGreatLengthIsNotKept)
{
    History history(folder.path());
    history.append(std::string(History::longestEntry + 1, 'x'));
    EXPECT_THAT(history.load(), IsEmpty());
    history.append(std::string(History::longestEntry, 'x'));
    EXPECT_EQ(history.load().size(), 1U);
}

TEST_F(HistoryTest, WhatCannotBeWrittenIsNamed)
{
    folder.write("file", "");
    try {
        History(folder.path() + "/file").append("x");
        ADD_FAILURE() << "no error";
    } catch (const std::exception& error) {
        EXPECT_EQ(std::string(error.what()),
            "the history cannot be written: " + folder.path() + "/file/history: Not a directory");
    }
}

} // namespace

} // namespace shell_tests
