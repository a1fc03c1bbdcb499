#include "embedded_host/engine/platform/Platform.hpp"

#include <cerrno>
#include <csignal>
#include <system_error>

#include <pthread.h>

namespace tovrinhost::platform {

struct Interjection::State {
    Action action;
    void* context;
    pthread_t thread;
};

namespace {

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define __SANITIZE_THREAD__ // as the other compiler says it
#endif
#endif

#if defined(__SANITIZE_THREAD__)
// ThreadSanitizer keeps all signals back until the next system call, but for those that instructions cause. A loop
// makes none.
constexpr int signalNumber = SIGSYS;
#else
// By default nothing comes of it: one too many does no harm.
constexpr int signalNumber = SIGURG;
#endif

/// What the signal has to do on this thread. Its place is there from the start, since a handler cannot make it.
struct Here {
    Interjection::Action action;
    void* context;
};
[[gnu::tls_model("initial-exec")]] thread_local volatile Here here {};

void onSignal(int /*signal*/)
{
    const int errorBefore = errno;
    if (const Interjection::Action action = here.action; action != nullptr) {
        action(here.context);
    }
    errno = errorBefore;
}

void prepare()
{
    struct sigaction action { };
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigset_t own;
    sigemptyset(&own);
    sigaddset(&own, signalNumber);
    if (sigaction(signalNumber, &action, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), "sigaction");
    }
    if (const int error = pthread_sigmask(SIG_UNBLOCK, &own, nullptr); error != 0) {
        throw std::system_error(error, std::generic_category(), "pthread_sigmask");
    }
}

} // namespace

Interjection::Interjection(Action action, void* context)
    : m_state(std::make_unique<State>(State { action, context, pthread_self() }))
{
    prepare();
    here.context = context;
    here.action = action;
}

Interjection::~Interjection()
{
    // A signal may still be on its way.
    here.action = nullptr;
}

void Interjection::interject() noexcept
{
    pthread_kill(m_state->thread, signalNumber);
}

} // namespace tovrinhost::platform
