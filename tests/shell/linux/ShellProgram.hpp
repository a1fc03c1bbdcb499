#pragma once

#include "tests/shell/linux/VirtualTerminal.hpp"

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace shell_tests {

using Rows = std::vector<std::string>;

/// `tovrin shell` on a terminal that the test plays: it types, and reads the screen.
class ShellProgram {
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
    ShellProgram(const ShellProgram&) = delete;
    ShellProgram& operator=(const ShellProgram&) = delete;

    /// Kills the program, if it has not ended.
    ~ShellProgram();

    void type(const std::string& keys);

    /// Types keys that end the input, and waits for the next prompt, with nothing behind it.
    void press(const std::string& keys);
    void enter(const std::string& keys) { press(keys + '\r'); }

    /// As a terminal sends what is pasted.
    void paste(const std::string& text);

    void resize(int width, int height);
    void signal(int signal) const;

    /// The terminal goes away.
    void hangUp();

    /// Reads what comes until the condition holds. \returns whether it does
    bool waitFor(const std::function<bool()>& condition);
    bool waitForRow(const std::string& row);
    bool waitForCursorRow(const std::string& row);

    /// \returns whether it is stopped, as by SIGTSTP
    bool waitUntilStopped() const;

    /// Reads what comes until the program has ended. \returns its exit status, or 128 and the signal that ended it
    int wait();

    Rows rows() const { return m_screen.rows(); }
    std::string cursorRow() const { return m_screen.cursorRow(); }
    int cursorColumn() const { return m_screen.cursorColumn(); }
    bool has(const std::string& row) const;

    /// Whether what is typed waits for Enter, and is shown by the terminal itself.
    bool isTerminalAsUsual() const;

    /// As another program leaves the terminal that has had it meanwhile.
    void makeTerminalAsUsual() const;

    /// All that it has sent.
    const std::string& sent() const { return m_sent; }

private:
    /// \returns whether something came, or might still
    bool read(int milliseconds);

    pid_t m_process = 0;
    int m_terminal = -1;
    VirtualTerminal m_screen;
    std::string m_sent;
};

} // namespace shell_tests
