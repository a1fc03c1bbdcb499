#include "tests/shell/linux/ShellTest.hpp"

#include <algorithm>

namespace shell_tests {

namespace {

using testing::ElementsAreArray;

/// Writes a thousand pieces a second, of which each second one ends no line; now and then a line is longer than
/// the terminal is wide.
constexpr const char* flood = R"lua(
n = 0
t = timer { ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.001, StartDelay = 0.1, TasksToExecute = 3000,
            TimerFcn = function()
  n = n + 1
  io.write(n % 2 == 1 and n .. " and" or " " .. n .. (n % 50 == 0 and (" long"):rep(30) or "") .. "\n")
end }
t:start()
)lua";

/// As a terminal of this width shows it.
Rows floodedRows(std::size_t width)
{
    Rows rows;
    for (int n = 2; n <= 3000; n += 2) {
        std::string line = std::to_string(n - 1) + " and " + std::to_string(n);
        for (int i = 0; n % 50 == 0 && i < 30; ++i) {
            line += " long";
        }
        for (; line.size() > width; line.erase(0, width)) {
            std::string row = line.substr(0, width);
            row.erase(row.find_last_not_of(' ') + 1);
            rows.push_back(row);
        }
        rows.push_back(line);
    }
    return rows;
}

/// By the terminal's width.
class FloodTest : public ShellTest, public testing::WithParamInterface<int> { };

INSTANTIATE_TEST_SUITE_P(Widths, FloodTest, testing::Values(80, 40));

TEST_P(FloodTest, EveryLineIsThereOnceInOrderAndTheInputIntact)
{
    write("flood.lua", flood);
    const auto width = static_cast<std::size_t>(GetParam());
    ShellProgram shell(folder(), { { "flood.lua" }, {}, GetParam(), 24 });
    const std::string word = "abcdefghijklmnopqrstuvwxyz";
    // A chunk of several lines, the first of them wrapped; each key on its own, while output goes on.
    for (const char key : "x = { '" + word + word + word + word + "',\r'second',\r") {
        shell.type({ key });
        shell.waitFor([&, before = shell.sent().size()] { return shell.sent().size() > before; });
    }
    shell.paste("'pasted \xe6\xbc\xa2\xe5\xad\x97',\n'twice',\n");
    // In the line above: "twice" becomes "thrice".
    for (const char* key : { "\033[A", "\033[C", "\033[C", "\033[C", "\b", "hr" }) {
        shell.type(key);
        shell.waitFor([&, before = shell.sent().size()] { return shell.sent().size() > before; });
    }
    shell.type("\033[B}");

    Rows input { "> x = { '" + word + word + word + word + "',", ">> 'second',",
        ">> 'pasted \xe6\xbc\xa2\xe5\xad\x97',", ">> 'thrice',", ">> }" };
    for (auto row = input.begin(); row->size() > width; ++row) {
        const std::string rest = row->substr(width);
        row->resize(width);
        row = input.insert(row + 1, rest) - 1;
    }
    Rows expected = floodedRows(width);
    expected.insert(expected.end(), input.begin(), input.end());
    EXPECT_TRUE(
        shell.waitFor([&] { return below(shell).size() >= expected.size() && shell.cursorRow() == ">> }"; }));
    const Rows rows = below(shell);
    for (std::size_t row = 0; row < std::min(rows.size(), expected.size()); ++row) {
        ASSERT_EQ(rows[row], expected[row]) << "row " << row;
    }
    ASSERT_EQ(rows.size(), expected.size());

    shell.enter("");
    shell.enter("#x .. ' ' .. #x[1] .. ' ' .. x[4]");
    EXPECT_TRUE(shell.has("\"4 104 thrice\""));
    shell.enter("x[2] .. ' ' .. x[3]");
    EXPECT_TRUE(shell.has("\"second pasted \xe6\xbc\xa2\xe5\xad\x97\""));
}

using BurstTest = ShellTest;

TEST_F(BurstTest, ABurstOfOutputIsWholeAndInOrder)
{
    ShellProgram shell(folder(), {});
    shell.enter("after(0.2, function() for i = 1, 20000 do print('line ' .. i) end end)");
    shell.type("1 + 1");
    EXPECT_TRUE(shell.waitForRow("line 20000"));
    EXPECT_TRUE(shell.waitForCursorRow("> 1 + 1"));
    Rows expected;
    for (int i = 1; i <= 20000; ++i) {
        expected.push_back("line " + std::to_string(i));
    }
    expected.push_back("> 1 + 1");
    const Rows rows = shell.rows();
    ASSERT_GE(rows.size(), expected.size());
    EXPECT_TRUE(std::equal(expected.rbegin(), expected.rend(), rows.rbegin()));
}

} // namespace

} // namespace shell_tests
