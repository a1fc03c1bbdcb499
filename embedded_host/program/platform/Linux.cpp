#include "embedded_host/program/platform/Platform.hpp"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <system_error>
#include <thread>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

namespace tovrinhost::platform {

namespace {

constexpr std::uint64_t interrupted = 1;
constexpr std::uint64_t ended = std::uint64_t { 1 } << 32;

// Written by the watcher before the handler is in place, read by the handler.
volatile std::sig_atomic_t eventOfHandler = -1;

void add(int event, std::uint64_t value)
{
    // A write of eight bytes to an event counter does not fail but for overflow, when it has been told often
    // enough.
    [[maybe_unused]] const ssize_t written = write(event, &value, sizeof value);
}

/// Does only what a signal handler may.
void onSignal(int /*signal*/)
{
    const int errorBefore = errno;
    add(eventOfHandler, interrupted);
    errno = errorBefore;
}

} // namespace

void setUpStandardOutput()
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

struct InterruptWatcher::State {
    int event;
    struct sigaction before;
    std::thread thread;
};

InterruptWatcher::InterruptWatcher(std::function<void()> onInterrupt)
    : m_state(std::make_unique<State>())
{
    m_state->event = eventfd(0, EFD_CLOEXEC);
    if (m_state->event < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    m_state->thread = std::thread([event = m_state->event, onInterrupt = std::move(onInterrupt)] {
        std::uint64_t told = 0;
        while (read(event, &told, sizeof told) == sizeof told && told < ended) {
            onInterrupt();
        }
    });
    eventOfHandler = m_state->event;
    struct sigaction action { };
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, &m_state->before);
}

InterruptWatcher::~InterruptWatcher()
{
    sigaction(SIGINT, &m_state->before, nullptr);
    add(m_state->event, ended);
    m_state->thread.join();
    close(m_state->event);
}

} // namespace tovrinhost::platform
