#include "embedded_host/shell/platform/LinuxTerminal.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace tovrinhost::platform {

namespace {

int checked(int result, const char* what)
{
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

sigset_t signalsOfJobControl()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : { SIGTSTP, SIGCONT, SIGWINCH }) {
        sigaddset(&signals, signal);
    }
    return signals;
}

void writeAll(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return; // the terminal has gone away
        }
        text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
}

termios modesOf(int terminal)
{
    termios modes {};
    checked(tcgetattr(terminal, &modes), "tcgetattr");
    return modes;
}

winsize sizeOf(int terminal)
{
    winsize size {};
    if (ioctl(terminal, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
        size.ws_col = 80;
        size.ws_row = 24;
    }
    return size;
}

} // namespace

Terminal::Terminal()
    : m_terminal(checked(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3), "dup"))
    , m_modesBefore(modesOf(STDIN_FILENO))
    , m_poke(checked(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd"))
    , m_screen([this](std::string_view text) { writeAll(m_terminal, text); }, sizeOf(m_terminal).ws_col,
          sizeOf(m_terminal).ws_row)
    , m_modesOfPrompt(m_modesBefore)
{
    const sigset_t signals = signalsOfJobControl();
    pthread_sigmask(SIG_BLOCK, &signals, &m_signalsBefore);
    m_signals = checked(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK), "signalfd");
    std::array<int, 2> ends {};
    checked(pipe2(ends.data(), O_CLOEXEC), "pipe");
    m_pipe = ends[0];
    std::fflush(stdout);
    dup2(ends[1], STDOUT_FILENO);
    if (isatty(STDERR_FILENO) != 0) {
        m_errorBefore = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
        dup2(ends[1], STDERR_FILENO);
    }
    close(ends[1]);
    m_thread = std::thread([this] { serve(); });
}

Terminal::~Terminal()
{
    std::fflush(stdout);
    {
        const std::lock_guard lock(m_mutex);
        m_isClosing = true;
    }
    poke();
    m_thread.join();
    showOutput();
    m_screen.hide();
    dup2(m_terminal, STDOUT_FILENO);
    if (m_errorBefore >= 0) {
        dup2(m_errorBefore, STDERR_FILENO);
        close(m_errorBefore);
    }
    giveBack();
    for (const int file : { m_terminal, m_signals, m_poke, m_pipe }) {
        close(file);
    }
    pthread_sigmask(SIG_SETMASK, &m_signalsBefore, nullptr);
}

void Terminal::giveBack() noexcept
{
    tcsetattr(STDIN_FILENO, TCSANOW, &m_modesBefore);
}

bool Terminal::read(std::string& keys)
{
    std::array<char, 4096> piece {};
    pollfd input { STDIN_FILENO, POLLIN, 0 };
    if (poll(&input, 1, 0) <= 0) {
        return false;
    }
    const ssize_t count = ::read(STDIN_FILENO, piece.data(), piece.size());
    if (count > 0) {
        keys.append(piece.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
        m_hasEnded = true;
    }
    return count > 0;
}

void Terminal::whenThereAreKeys(std::function<void()> wake)
{
    {
        const std::lock_guard lock(m_mutex);
        m_wake = std::move(wake);
    }
    poke();
}

void Terminal::wake()
{
    const std::lock_guard lock(m_mutex);
    if (m_wake) {
        std::exchange(m_wake, nullptr)();
    }
}

void Terminal::show(Typed typed)
{
    const std::lock_guard lock(m_mutex);
    if (!m_screen.hasPrompt()) {
        tcgetattr(STDIN_FILENO, &m_modesOfPrompt);
    }
    m_screen.show(std::move(typed));
}

void Terminal::leave(const std::string& typed, std::string_view mark)
{
    const std::lock_guard lock(m_mutex);
    printPending();
    m_screen.leave(typed, mark);
}

void Terminal::clear()
{
    const std::lock_guard lock(m_mutex);
    m_screen.clear();
}

void Terminal::showOutput()
{
    std::fflush(stdout);
    const std::lock_guard lock(m_mutex);
    takeOutput();
    printPending();
}

/// The thread.
void Terminal::serve()
{
    for (;;) {
        std::array<pollfd, 4> sources { { { m_pipe, POLLIN, 0 }, { m_signals, POLLIN, 0 }, { m_poke, POLLIN, 0 },
            { -1, POLLIN, 0 } } };
        {
            const std::lock_guard lock(m_mutex);
            if (m_isClosing) {
                return;
            }
            sources[3].fd = m_wake ? STDIN_FILENO : -1;
        }
        poll(sources.data(), sources.size(), timeout());
        std::uint64_t pokes = 0;
        [[maybe_unused]] const ssize_t poked = ::read(m_poke, &pokes, sizeof pokes);
        if (sources[1].revents != 0) {
            takeSignals();
        }
        if (sources[3].revents != 0) {
            wake();
        }
        const std::lock_guard lock(m_mutex);
        if (sources[0].revents != 0) {
            takeOutput();
        }
        if (!m_screen.hasPrompt() || m_pending.size() > mostPending || Clock::now() >= m_printed + frame) {
            printPending();
        }
    }
}

/// How many milliseconds what is pending can wait; -1 if nothing is.
int Terminal::timeout()
{
    const std::lock_guard lock(m_mutex);
    if (m_pending.empty()) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_printed + frame - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

/// Reads what is in the pipe now. The caller holds m_mutex.
void Terminal::takeOutput()
{
    int size = 0;
    if (ioctl(m_pipe, FIONREAD, &size) != 0 || size <= 0) {
        return;
    }
    const std::size_t before = m_pending.size();
    m_pending.resize(before + static_cast<std::size_t>(size));
    const ssize_t count = ::read(m_pipe, m_pending.data() + before, static_cast<std::size_t>(size));
    m_pending.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
}

/// The caller holds m_mutex.
void Terminal::printPending()
{
    if (!m_pending.empty()) {
        m_screen.print(m_pending);
        m_pending.clear();
        m_printed = Clock::now();
    }
}

void Terminal::takeSignals()
{
    signalfd_siginfo signal {};
    while (::read(m_signals, &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal)) {
        const std::lock_guard lock(m_mutex);
        switch (signal.ssi_signo) {
        case SIGTSTP:
            suspend();
            break;
        case SIGCONT:
            goOn();
            break;
        default:
            resize();
            break;
        }
    }
}

/// The caller holds m_mutex: nobody writes to the terminal any more. Returns once the process is continued.
void Terminal::suspend()
{
    printPending();
    if (m_screen.hasPrompt()) {
        m_screen.suspend();
        tcsetattr(STDIN_FILENO, TCSANOW, &m_modesBefore);
    }
    raise(SIGSTOP); // on this thread, so that it stands still before it goes on
    goOn();
}

/// The process has been stopped, and goes on: others have had the terminal. The caller holds m_mutex.
void Terminal::goOn()
{
    if (m_screen.hasPrompt()) {
        tcsetattr(STDIN_FILENO, TCSANOW, &m_modesOfPrompt);
        resize();
    }
}

/// The caller holds m_mutex.
void Terminal::resize()
{
    const winsize size = sizeOf(m_terminal);
    m_screen.resize(size.ws_col, size.ws_row);
}

void Terminal::poke() const
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_poke, &one, sizeof one);
}

} // namespace tovrinhost::platform
