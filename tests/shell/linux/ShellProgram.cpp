#include "tests/shell/linux/ShellProgram.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace shell_tests {

namespace {

std::vector<std::string> wordsOf(const ShellProgram::Options& options)
{
    std::vector<std::string> words { TOVRIN_PROGRAM };
    if (options.isNamed) {
        words.emplace_back("shell");
    }
    words.insert(words.end(), options.words.begin(), options.words.end());
    return words;
}

/// The user's folders are all in this one, unless it is told otherwise.
std::map<std::string, std::string> variablesOf(const ShellProgram::Options& options, const std::string& folder)
{
    std::map<std::string, std::string> variables { { "HOME", folder }, { "XDG_STATE_HOME", "" },
        { "XDG_CONFIG_HOME", "" } };
    for (const auto& [name, value] : options.variables) {
        variables[name] = value;
    }
    return variables;
}

} // namespace

ShellProgram::ShellProgram(const std::string& folder, const Options& options)
    : TerminalProgram(wordsOf(options), variablesOf(options, folder), folder, options.width, options.height)
{
    waitFor([this] { return cursorRow() == ">"; });
}

void ShellProgram::press(const std::string& keys)
{
    const std::size_t before = sent().size();
    type(keys);
    // The prompt is shown anew, and nothing more comes that would change it.
    EXPECT_TRUE(waitFor([&] {
        return sent().find("\033[?2004h", before) != std::string::npos && cursorRow() == ">"
            && cursorColumn() == 2;
    })) << keys;
}

void ShellProgram::paste(const std::string& text)
{
    type("\033[200~" + text + "\033[201~");
}

bool ShellProgram::waitForRow(const std::string& row)
{
    return waitFor([&] { return has(row); });
}

bool ShellProgram::waitForCursorRow(const std::string& row)
{
    return waitFor([&] { return cursorRow() == row; });
}

bool ShellProgram::has(const std::string& row) const
{
    const Rows all = rows();
    return std::find(all.begin(), all.end(), row) != all.end();
}

} // namespace shell_tests
