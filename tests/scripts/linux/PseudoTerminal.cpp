#include "tests/scripts/linux/PseudoTerminal.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace scripts {

namespace {

constexpr char escape = '\033';

void makeType(const std::string& folder)
{
    std::ofstream(folder + "/type.ti")
        << "tovrin-test|what tests can play,\n\tam, cols#80, lines#24, clear=\\E[H\\E[2J, cup=\\E[%i%p1%d;%p2%dH, "
           "cr=\\r, ind=\\n, kcuu1=\\E[A, kcud1=\\E[B, kcuf1=\\E[C, kcub1=\\E[D,\n";
    const std::string command = "tic -x -o '" + folder + "/terminfo' '" + folder + "/type.ti'";
    EXPECT_EQ(std::system(command.c_str()), 0) << command; // NOLINT(concurrency-mt-unsafe)
}

winsize sizeOf(int width, int height)
{
    winsize size {};
    size.ws_col = static_cast<unsigned short>(width);
    size.ws_row = static_cast<unsigned short>(height);
    return size;
}

} // namespace

PseudoTerminal::PseudoTerminal(const std::vector<std::string>& program,
    const std::map<std::string, std::string>& variables, const std::string& folder, int width, int height)
    : m_screen(static_cast<std::size_t>(height), std::string(static_cast<std::size_t>(width), ' '))
{
    makeType(folder);
    const winsize size = sizeOf(width, height);
    m_process = forkpty(&m_terminal, nullptr, nullptr, &size);
    if (m_process == 0) {
        setenv("TERMINFO", (folder + "/terminfo").c_str(), 1);
        for (const auto& [name, value] : variables) {
            setenv(name.c_str(), value.c_str(), 1);
        }
        std::vector<char*> words;
        for (const std::string& word : program) {
            words.push_back(const_cast<char*>(word.c_str()));
        }
        words.push_back(nullptr);
        if (chdir(folder.c_str()) == 0) {
            execv(words.front(), words.data());
        }
        _exit(127);
    }
}

PseudoTerminal::~PseudoTerminal()
{
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    close(m_terminal);
}

void PseudoTerminal::press(const std::string& keys) const
{
    EXPECT_EQ(write(m_terminal, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

void PseudoTerminal::resize(int width, int height)
{
    m_screen.assign(static_cast<std::size_t>(height), std::string(static_cast<std::size_t>(width), ' '));
    m_row = 0;
    m_column = 0;
    const winsize size = sizeOf(width, height);
    ioctl(m_terminal, TIOCSWINSZ, &size);
}

bool PseudoTerminal::waitFor(const std::function<bool()>& condition, double seconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end || !read(50)) {
            return condition();
        }
    }
    return true;
}

int PseudoTerminal::wait()
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (read(50)) {
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

bool PseudoTerminal::has(const std::string& text) const
{
    for (const std::string& line : m_screen) {
        if (line.find(text) != std::string::npos) {
            return true;
        }
    }
    return false;
}

bool PseudoTerminal::read(int milliseconds)
{
    pollfd awaited { m_terminal, POLLIN, 0 };
    if (poll(&awaited, 1, milliseconds) == 0) {
        return true;
    }
    std::array<char, 4096> piece {};
    const ssize_t count = ::read(m_terminal, piece.data(), piece.size());
    for (ssize_t i = 0; i < count; ++i) {
        put(piece.at(static_cast<std::size_t>(i)));
    }
    return count > 0;
}

void PseudoTerminal::put(char byte)
{
    const std::size_t width = m_screen.front().size();
    if (!m_sequence.empty() || byte == escape) {
        m_sequence += byte;
        if (std::isalpha(static_cast<unsigned char>(byte)) != 0) {
            obey();
            m_sequence.clear();
        }
    } else if (byte == '\r') {
        m_column = 0;
    } else if (byte == '\b') {
        m_column -= m_column > 0 ? 1 : 0;
    } else if (byte == '\n') {
        m_row += m_row + 1 < m_screen.size() ? 1 : 0;
    } else if (byte >= ' ' || byte < 0) {
        if (m_column == width) {
            m_column = 0;
            m_row += m_row + 1 < m_screen.size() ? 1 : 0;
        }
        m_screen[m_row][m_column++] = byte;
    }
}

void PseudoTerminal::obey()
{
    std::size_t row = 0;
    std::size_t column = 0;
    if (m_sequence == "\033[2J") {
        for (std::string& line : m_screen) {
            line.assign(line.size(), ' ');
        }
    } else if (m_sequence == "\033[H") {
        m_row = m_column = 0;
    } else if (std::sscanf(m_sequence.c_str(), "\033[%zu;%zuH", &row, &column) == 2) { // NOLINT(cert-err34-c)
        m_row = std::min(row, m_screen.size()) - 1;
        m_column = std::min(column, m_screen.front().size()) - 1;
    } else {
        ADD_FAILURE() << "this terminal does not know \"\\033" << m_sequence.substr(1) << '"';
    }
}

} // namespace scripts
