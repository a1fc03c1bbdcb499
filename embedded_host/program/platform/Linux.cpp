#include "embedded_host/program/platform/Platform.hpp"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/personality.h>
#include <unistd.h>

namespace tovrinhost::platform {

namespace {

constexpr int firstSignalStatus = 128; // as shells have it
constexpr std::array watched { SIGINT, SIGTERM, SIGHUP, SIGUSR1 };

// Written by the watcher before the handler is in place, read by the handler.
std::atomic<pthread_t> threadOfHandler {};

std::atomic<int> outputError { 0 };

/// Writes for a stream, which itself forgets why it could not.
ssize_t writeOutput(void* /*unused*/, const char* text, std::size_t size)
{
    std::size_t written = 0;
    while (written < size) {
        const ssize_t now = write(STDOUT_FILENO, text + written, size - written);
        if (now < 0 && errno != EINTR) {
            int none = 0;
            outputError.compare_exchange_strong(none, errno);
            return static_cast<ssize_t>(written);
        }
        written += now > 0 ? static_cast<std::size_t>(now) : 0;
    }
    return static_cast<ssize_t>(size);
}

bool isIgnored(int signal)
{
    struct sigaction action { };
    sigaction(signal, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

/// The signals that are watched for.
sigset_t watchedSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : watched) {
        if (signal != SIGHUP || !isIgnored(signal)) {
            sigaddset(&signals, signal);
        }
    }
    return signals;
}

/// For a thread that has let them in for a moment, as one does that starts a program. Does only what a signal
/// handler may.
void passOn(int signal)
{
    pthread_kill(threadOfHandler, signal);
}

} // namespace

void setUpStandardOutput()
{
    cookie_io_functions_t functions {};
    functions.write = writeOutput;
    if (std::FILE* const stream = fopencookie(nullptr, "w", functions)) {
        stdout = stream;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

std::FILE* divertStandardOutput(bool toStandardError)
{
    const int before = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    std::FILE* const stream = before < 0 ? nullptr : fdopen(before, "w");
    if (stream == nullptr) {
        throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
    }
    const int next = toStandardError ? STDERR_FILENO : ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (next < 0 || dup2(next, STDOUT_FILENO) < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot divert standard output");
    }
    if (!toStandardError) {
        close(next);
    }
    return stream;
}

bool isInputATerminal()
{
    return isatty(STDIN_FILENO) == 1;
}

int flushStandardOutput()
{
    std::fflush(stdout);
    return outputError;
}

int continueAs(const char* name, const std::vector<const char*>& words)
{
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    std::filesystem::path program = folder / name;
    if (std::error_code ignored; !std::filesystem::exists(program, ignored)) {
        program = folder.parent_path() / "libexec" / "tovrin" / name;
    }
    // Objects lie at the same places each time then, and so whatever scripts are told of these is the same. Not
    // all containers allow it.
    if (const int now = personality(0xffffffff); now != -1) {
        personality(static_cast<unsigned long>(now) | ADDR_NO_RANDOMIZE);
    }
    std::vector<std::string> own(words.begin(), words.end());
    std::vector<char*> arguments;
    arguments.reserve(own.size() + 1);
    for (std::string& word : own) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    execv(program.c_str(), arguments.data());
    throw std::system_error(errno, std::generic_category(), "cannot start " + program.string());
}

SignalsLeftToWatcher::SignalsLeftToWatcher()
{
    const sigset_t signals = watchedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

SignalsLeftToWatcher::~SignalsLeftToWatcher()
{
    const sigset_t signals = watchedSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

struct SignalWatcher::State {
    const sigset_t signals = watchedSignals();
    std::array<struct sigaction, watched.size()> before {};
    std::atomic<bool> hasEnded { false };
    std::thread thread;
};

SignalWatcher::SignalWatcher(std::function<void(int status)> onSignalStatus, std::function<void()> onQuestion)
    : m_state(std::make_unique<State>())
{
    m_state->thread = std::thread(
        [&state = *m_state, onSignalStatus = std::move(onSignalStatus), onQuestion = std::move(onQuestion)] {
            int signal = 0;
            while (sigwait(&state.signals, &signal) == 0 && !state.hasEnded) {
                if (signal == SIGUSR1) {
                    onQuestion();
                } else {
                    onSignalStatus(firstSignalStatus + signal);
                }
            }
        });
    threadOfHandler = m_state->thread.native_handle();
    struct sigaction action { };
    action.sa_handler = passOn;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < watched.size(); ++i) {
        const bool isWatched = sigismember(&m_state->signals, watched[i]) == 1;
        sigaction(watched[i], isWatched ? &action : nullptr, &m_state->before[i]);
    }
}

SignalWatcher::~SignalWatcher()
{
    m_state->hasEnded = true;
    pthread_kill(m_state->thread.native_handle(), SIGINT);
    m_state->thread.join();
    for (std::size_t i = 0; i < watched.size(); ++i) {
        sigaction(watched[i], &m_state->before[i], nullptr);
    }
}

} // namespace tovrinhost::platform
