#include "embedded_host/engine/platform/Commands.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tovrinhost::platform {

namespace {

/// Returns when the process has ended; it is still to be waited for.
void awaitEnd(pid_t process, const std::function<bool()>& isInterrupted)
{
    constexpr int look = 50; // milliseconds
    int looksUntilToldToEnd = 1000 / look;
    const int end = static_cast<int>(syscall(SYS_pidfd_open, process, 0U));
    if (end < 0) {
        return; // a system that has none: the wait itself cannot be left
    }
    for (;;) {
        pollfd event { end, POLLIN, 0 };
        const int ready = poll(&event, 1, look);
        if (ready > 0 || (ready < 0 && errno != EINTR)) {
            break;
        }
        if (isInterrupted() && looksUntilToldToEnd-- == 0) {
            kill(process, SIGTERM);
        }
    }
    close(end);
}

/// A program that is started meanwhile gets the signals that ask it to end, to stand still or something else,
/// although this thread leaves them to another.
class SignalsOfPrograms {
public:
    SignalsOfPrograms()
    {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : { SIGINT, SIGTERM, SIGHUP, SIGUSR1, SIGTSTP, SIGCONT, SIGWINCH }) {
            sigaddset(&signals, signal);
        }
        pthread_sigmask(SIG_UNBLOCK, &signals, &m_before);
    }
    SignalsOfPrograms(const SignalsOfPrograms&) = delete;
    SignalsOfPrograms& operator=(const SignalsOfPrograms&) = delete;
    ~SignalsOfPrograms() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

private:
    sigset_t m_before {};
};

} // namespace

// Unlike std::system, does not have the program ignore Ctrl-C meanwhile.
int runCommand(const char* command, const std::function<bool()>& isInterrupted)
{
    std::array<std::string, 3> words { "sh", "-c", command };
    const std::array<char*, 4> pointers { words[0].data(), words[1].data(), words[2].data(), nullptr };
    pid_t shell = 0;
    const int error = [&] {
        const SignalsOfPrograms asUsual;
        return posix_spawn(&shell, "/bin/sh", nullptr, nullptr, pointers.data(), environ);
    }();
    if (error != 0) {
        errno = error;
        return -1;
    }
    awaitEnd(shell, isInterrupted);
    int result = 0;
    while (waitpid(shell, &result, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return result;
}

std::FILE* openPipe(const char* command, const char* mode)
{
    const SignalsOfPrograms asUsual;
    return popen(command, mode);
}

bool isPipeMode(const char* mode) noexcept
{
    return std::strcmp(mode, "r") == 0 || std::strcmp(mode, "w") == 0;
}

int closePipe(std::FILE* pipe)
{
    return pclose(pipe);
}

bool isEndedByControlC(int result) noexcept
{
    return result != -1 && WIFSIGNALED(result) && (WTERMSIG(result) == SIGINT || WTERMSIG(result) == SIGQUIT);
}

} // namespace tovrinhost::platform
