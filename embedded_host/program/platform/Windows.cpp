#include "embedded_host/program/platform/Platform.hpp"

#include <windows.h>

#include <cstdio>
#include <mutex>
#include <utility>

namespace tovrinhost::platform {

namespace {

/// The function to call, for the system's own thread that brings a Ctrl-C or a Ctrl-Break.
struct Registration {
    std::mutex mutex;
    std::function<void()> onInterrupt; // guarded by mutex
};

Registration& registration()
{
    static Registration instance;
    return instance;
}

BOOL WINAPI onControl(DWORD event)
{
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        return FALSE; // the next handler's
    }
    const std::lock_guard lock(registration().mutex);
    if (!registration().onInterrupt) {
        return FALSE;
    }
    registration().onInterrupt();
    return TRUE;
}

} // namespace

void setUpStandardOutput()
{
    // This system has no buffering by lines.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
}

struct InterruptWatcher::State { };

InterruptWatcher::InterruptWatcher(std::function<void()> onInterrupt)
{
    {
        const std::lock_guard lock(registration().mutex);
        registration().onInterrupt = std::move(onInterrupt);
    }
    SetConsoleCtrlHandler(onControl, TRUE);
}

InterruptWatcher::~InterruptWatcher()
{
    SetConsoleCtrlHandler(onControl, FALSE);
    // A call that is under way is waited for.
    const std::lock_guard lock(registration().mutex);
    registration().onInterrupt = nullptr;
}

} // namespace tovrinhost::platform
