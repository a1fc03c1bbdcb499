#include "embedded_host/engine/platform/Platform.hpp"

#include <windows.h>

#include <system_error>

namespace tovrinhost::platform {

struct Interjection::State {
    Action action;
    void* context;
    DWORD threadId;
    HANDLE thread;
};

Interjection::Interjection(Action action, void* context)
    : m_state(std::make_unique<State>(State { action, context, GetCurrentThreadId(), nullptr }))
{
    if (DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &m_state->thread,
            THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT, FALSE, 0)
        == 0) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "DuplicateHandle");
    }
}

Interjection::~Interjection()
{
    CloseHandle(m_state->thread);
}

void Interjection::interject() noexcept
{
    if (GetCurrentThreadId() == m_state->threadId) {
        m_state->action(m_state->context);
        return;
    }
    if (SuspendThread(m_state->thread) == static_cast<DWORD>(-1)) {
        return;
    }
    // The thread stands still only once its context can be read.
    CONTEXT context {};
    context.ContextFlags = CONTEXT_CONTROL;
    GetThreadContext(m_state->thread, &context);
    m_state->action(m_state->context);
    ResumeThread(m_state->thread);
}

} // namespace tovrinhost::platform
