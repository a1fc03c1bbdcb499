#pragma once

#include "tests/terminal/TerminalProgram.hpp"

#include <map>
#include <string>
#include <vector>

namespace shell_tests {

using Rows = std::vector<std::string>;

/// `tovrin shell` on a terminal that the test plays.
class ShellProgram : public terminals::TerminalProgram {
public:
    struct Options {
        std::vector<std::string> words; ///< behind "shell"
        std::map<std::string, std::string> variables;
        int width = 80;
        int height = 24;
        bool isNamed = true; ///< "tovrin shell", not "tovrin" alone
    };

    /// Returns once the prompt is there, or the program has ended.
    /// \param folder where it runs; the user's home, too
    ShellProgram(const std::string& folder, const Options& options);

    /// Types keys that end the input, and waits for the next prompt, with nothing behind it.
    void press(const std::string& keys);
    void enter(const std::string& keys) { press(keys + '\r'); }

    /// As a terminal sends what is pasted.
    void paste(const std::string& text);

    bool waitForRow(const std::string& row);
    bool waitForCursorRow(const std::string& row);

    Rows rows() const { return terminal().rows(); }
    std::string cursorRow() const { return terminal().cursorRow(); }
    int cursorColumn() const { return terminal().cursorColumn(); }
    bool has(const std::string& row) const;
};

} // namespace shell_tests
