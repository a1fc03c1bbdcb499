#pragma once

#include "tests/terminal/VirtualTerminal.hpp"

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace terminals {

/// A program on a terminal that the test plays: it types, and reads the screen.
class TerminalProgram {
public:
    /// \param words the program's path, and what follows it
    /// \param variables of its environment; TERM is xterm, and LC_ALL C.UTF-8, where nothing else stands here
    /// \param folder where it runs
    TerminalProgram(std::vector<std::string> words, const std::map<std::string, std::string>& variables,
        const std::string& folder, int width, int height);
    TerminalProgram(const TerminalProgram&) = delete;
    TerminalProgram& operator=(const TerminalProgram&) = delete;

    /// Kills the program, if it has not ended.
    ~TerminalProgram();

    void type(const std::string& keys);
    void resize(int width, int height);
    void signal(int signal) const;

    /// The terminal goes away.
    void hangUp();

    /// Reads what comes until the condition holds. \returns whether it does
    bool waitFor(const std::function<bool()>& condition, double seconds = 60);

    /// \returns whether it is stopped, as by SIGTSTP
    bool waitUntilStopped() const;

    /// Reads what comes until the program has ended. \returns its exit status, or 128 and the signal that ended it
    int wait();

    const VirtualTerminal& terminal() const { return m_terminal; }
    std::vector<std::string> screen() const { return m_terminal.screen(); }

    /// Whether the screen has this text in one of its rows.
    bool shows(const std::string& text) const;

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
    int m_line = -1; // to the program
    VirtualTerminal m_terminal;
    std::string m_sent;
};

} // namespace terminals
