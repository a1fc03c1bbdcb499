#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace scripts {

/// A program on a terminal that the test plays: it types, and reads the screen.
///
/// The terminal is of a type of its own, which can do little: write, clear, go somewhere. So its screen is easily
/// kept. The type is made with tic, from Debian's ncurses-bin.
class PseudoTerminal {
public:
    static constexpr const char* type = "tovrin-test";

    /// \param folder where the program runs, and the terminal's type lies
    PseudoTerminal(const std::vector<std::string>& program, const std::map<std::string, std::string>& variables,
        const std::string& folder, int width, int height);
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    /// Kills the program, if it has not ended.
    ~PseudoTerminal();

    void press(const std::string& keys) const;
    void resize(int width, int height);

    /// Reads what comes until the condition holds.
    /// \returns whether it does
    bool waitFor(const std::function<bool()>& condition, double seconds = 30);

    /// Reads what comes until the program has ended. \returns its exit status
    int wait();

    /// The lines, each as long as the terminal is wide. What is no ASCII counts by bytes.
    const std::vector<std::string>& screen() const { return m_screen; }
    bool has(const std::string& text) const;

private:
    /// \returns whether something came, or might still
    bool read(int milliseconds);
    void put(char byte);
    void obey();

    pid_t m_process = 0;
    int m_terminal = -1;
    std::vector<std::string> m_screen;
    std::size_t m_row = 0;
    std::size_t m_column = 0;
    std::string m_sequence; // of an escape, as far as it has come
};

} // namespace scripts
