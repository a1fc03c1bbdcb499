#include "tests/shell/linux/ShellProgram.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace shell_tests {

namespace {

constexpr std::chrono::seconds limit { 60 };

winsize sizeOf(int width, int height)
{
    winsize size {};
    size.ws_col = static_cast<unsigned short>(width);
    size.ws_row = static_cast<unsigned short>(height);
    return size;
}

} // namespace

ShellProgram::ShellProgram(const std::string& folder, const Options& options)
    : m_screen(options.width, options.height)
{
    const winsize size = sizeOf(options.width, options.height);
    m_process = forkpty(&m_terminal, nullptr, nullptr, &size);
    if (m_process == 0) {
        setenv("HOME", folder.c_str(), 1);
        setenv("TERM", "xterm", 1);
        unsetenv("XDG_STATE_HOME");
        unsetenv("XDG_CONFIG_HOME");
        for (const auto& [name, value] : options.variables) {
            setenv(name.c_str(), value.c_str(), 1);
        }
        std::vector<std::string> words { TOVRIN_PROGRAM };
        if (options.isNamed) {
            words.emplace_back("shell");
        }
        words.insert(words.end(), options.words.begin(), options.words.end());
        std::vector<char*> pointers;
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        pointers.push_back(nullptr);
        if (chdir(folder.c_str()) == 0) {
            execv(pointers.front(), pointers.data());
        }
        _exit(127);
    }
    fcntl(m_terminal, F_SETFL, O_NONBLOCK);
    waitFor([this] { return cursorRow() == ">"; });
}

ShellProgram::~ShellProgram()
{
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    close(m_terminal);
}

void ShellProgram::type(const std::string& keys)
{
    std::size_t done = 0;
    waitFor([&] {
        const ssize_t now = write(m_terminal, keys.data() + done, keys.size() - done);
        done += now > 0 ? static_cast<std::size_t>(now) : 0;
        return done == keys.size();
    });
}

void ShellProgram::press(const std::string& keys)
{
    const std::size_t before = m_sent.size();
    type(keys);
    // The prompt is shown anew, and nothing more comes that would change it.
    EXPECT_TRUE(waitFor([&] {
        return m_sent.find("\033[?2004h", before) != std::string::npos && cursorRow() == ">"
            && cursorColumn() == 2;
    })) << keys;
}

void ShellProgram::paste(const std::string& text)
{
    type("\033[200~" + text + "\033[201~");
}

void ShellProgram::resize(int width, int height)
{
    m_screen.resize(width, height);
    const winsize size = sizeOf(width, height);
    ioctl(m_terminal, TIOCSWINSZ, &size);
}

void ShellProgram::signal(int signal) const
{
    kill(m_process, signal);
}

void ShellProgram::hangUp()
{
    close(m_terminal);
    m_terminal = -1;
}

bool ShellProgram::waitFor(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end || !read(20)) {
            return condition();
        }
    }
    return true;
}

bool ShellProgram::waitForRow(const std::string& row)
{
    return waitFor([&] { return has(row); });
}

bool ShellProgram::waitForCursorRow(const std::string& row)
{
    return waitFor([&] { return cursorRow() == row; });
}

bool ShellProgram::waitUntilStopped() const
{
    int status = 0;
    return waitpid(m_process, &status, WUNTRACED) == m_process && WIFSTOPPED(status);
}

int ShellProgram::wait()
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (m_terminal >= 0 && read(20)) {
        if (std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << "the program has not ended";
            kill(m_process, SIGKILL);
            break;
        }
    }
    int status = 0;
    waitpid(m_process, &status, 0);
    m_process = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool ShellProgram::has(const std::string& row) const
{
    const Rows all = rows();
    return std::find(all.begin(), all.end(), row) != all.end();
}

bool ShellProgram::isTerminalAsUsual() const
{
    termios modes {};
    tcgetattr(m_terminal, &modes);
    return (modes.c_lflag & ICANON) != 0 && (modes.c_lflag & ECHO) != 0;
}

void ShellProgram::makeTerminalAsUsual() const
{
    termios modes {};
    tcgetattr(m_terminal, &modes);
    modes.c_lflag |= static_cast<tcflag_t>(ICANON | ECHO);
    tcsetattr(m_terminal, TCSANOW, &modes);
}

bool ShellProgram::read(int milliseconds)
{
    pollfd awaited { m_terminal, POLLIN, 0 };
    if (poll(&awaited, 1, milliseconds) == 0) {
        return true;
    }
    std::array<char, 65536> piece {};
    const ssize_t count = ::read(m_terminal, piece.data(), piece.size());
    if (count > 0) {
        const std::string_view text(piece.data(), static_cast<std::size_t>(count));
        m_screen.feed(text);
        m_sent += text;
    }
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

} // namespace shell_tests
