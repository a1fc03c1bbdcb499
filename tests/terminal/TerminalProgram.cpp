#include "tests/terminal/TerminalProgram.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
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

namespace terminals {

namespace {

winsize sizeOf(int width, int height)
{
    winsize size {};
    size.ws_col = static_cast<unsigned short>(width);
    size.ws_row = static_cast<unsigned short>(height);
    return size;
}

} // namespace

TerminalProgram::TerminalProgram(std::vector<std::string> words,
    const std::map<std::string, std::string>& variables, const std::string& folder, int width, int height)
    : m_terminal(width, height)
{
    const winsize size = sizeOf(width, height);
    m_process = forkpty(&m_line, nullptr, nullptr, &size);
    if (m_process == 0) {
        setenv("TERM", "xterm", 1);
        setenv("LC_ALL", "C.UTF-8", 1); // what the virtual terminal takes characters for
        for (const auto& [name, value] : variables) {
            setenv(name.c_str(), value.c_str(), 1);
        }
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
    fcntl(m_line, F_SETFL, O_NONBLOCK);
}

TerminalProgram::~TerminalProgram()
{
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    close(m_line);
}

void TerminalProgram::type(const std::string& keys)
{
    std::size_t done = 0;
    waitFor([&] {
        const ssize_t now = write(m_line, keys.data() + done, keys.size() - done);
        done += now > 0 ? static_cast<std::size_t>(now) : 0;
        return done == keys.size();
    });
}

void TerminalProgram::resize(int width, int height)
{
    m_terminal.resize(width, height);
    const winsize size = sizeOf(width, height);
    ioctl(m_line, TIOCSWINSZ, &size);
}

void TerminalProgram::signal(int signal) const
{
    kill(m_process, signal);
}

void TerminalProgram::hangUp()
{
    close(m_line);
    m_line = -1;
}

bool TerminalProgram::waitFor(const std::function<bool()>& condition, double seconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end || !read(20)) {
            return condition();
        }
    }
    return true;
}

bool TerminalProgram::waitUntilStopped() const
{
    int status = 0;
    return waitpid(m_process, &status, WUNTRACED) == m_process && WIFSTOPPED(status);
}

int TerminalProgram::wait()
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (m_line >= 0 && read(20)) {
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

bool TerminalProgram::shows(const std::string& text) const
{
    const auto rows = m_terminal.screen();
    return std::any_of(
        rows.begin(), rows.end(), [&](const std::string& row) { return row.find(text) != std::string::npos; });
}

bool TerminalProgram::isTerminalAsUsual() const
{
    termios modes {};
    tcgetattr(m_line, &modes);
    return (modes.c_lflag & ICANON) != 0 && (modes.c_lflag & ECHO) != 0;
}

void TerminalProgram::makeTerminalAsUsual() const
{
    termios modes {};
    tcgetattr(m_line, &modes);
    modes.c_lflag |= static_cast<tcflag_t>(ICANON | ECHO);
    tcsetattr(m_line, TCSANOW, &modes);
}

bool TerminalProgram::read(int milliseconds)
{
    pollfd awaited { m_line, POLLIN, 0 };
    if (poll(&awaited, 1, milliseconds) == 0) {
        return true;
    }
    std::array<char, 65536> piece {};
    const ssize_t count = ::read(m_line, piece.data(), piece.size());
    if (count > 0) {
        const std::string_view text(piece.data(), static_cast<std::size_t>(count));
        m_terminal.feed(text);
        m_sent += text;
    }
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

} // namespace terminals
