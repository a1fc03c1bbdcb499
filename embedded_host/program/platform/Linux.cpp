#include "embedded_host/program/platform/Platform.hpp"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace tovrinhost::platform {

namespace {

constexpr int firstSignalStatus = 128; // as shells have it
constexpr unsigned char ended = 0;
constexpr std::array watched { SIGINT, SIGTERM, SIGHUP };

// Written by the watcher before the handler is in place, read by the handler.
volatile std::sig_atomic_t pipeOfHandler = -1;

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

void tell(int pipe, unsigned char what)
{
    // Nothing is lost that matters: a pipe that is full tells of thousands of signals.
    [[maybe_unused]] const ssize_t written = write(pipe, &what, 1);
}

/// Does only what a signal handler may.
void onSignal(int signal)
{
    const int errorBefore = errno;
    tell(pipeOfHandler, static_cast<unsigned char>(signal));
    errno = errorBefore;
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

int flushStandardOutput()
{
    std::fflush(stdout);
    return outputError;
}

struct SignalWatcher::State {
    std::array<int, 2> pipe;
    std::array<struct sigaction, watched.size()> before;
    std::thread thread;
};

SignalWatcher::SignalWatcher(std::function<void(int status)> onSignalStatus)
    : m_state(std::make_unique<State>())
{
    if (pipe2(m_state->pipe.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    const auto [readingEnd, writingEnd] = m_state->pipe;
    fcntl(writingEnd, F_SETFL, O_NONBLOCK); // a handler must not wait
    m_state->thread = std::thread([readingEnd = readingEnd, onSignalStatus = std::move(onSignalStatus)] {
        unsigned char told = ended;
        while (read(readingEnd, &told, 1) == 1 && told != ended) {
            onSignalStatus(firstSignalStatus + told);
        }
    });
    pipeOfHandler = writingEnd;
    struct sigaction action { };
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < watched.size(); ++i) {
        sigaction(watched[i], &action, &m_state->before[i]);
        if (watched[i] == SIGHUP && m_state->before[i].sa_handler == SIG_IGN) {
            sigaction(SIGHUP, &m_state->before[i], nullptr);
        }
    }
}

SignalWatcher::~SignalWatcher()
{
    for (std::size_t i = 0; i < watched.size(); ++i) {
        sigaction(watched[i], &m_state->before[i], nullptr);
    }
    const auto [readingEnd, writingEnd] = m_state->pipe;
    tell(writingEnd, ended);
    m_state->thread.join();
    close(readingEnd);
    close(writingEnd);
}

} // namespace tovrinhost::platform
