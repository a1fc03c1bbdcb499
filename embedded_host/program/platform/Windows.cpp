#include "embedded_host/program/platform/Platform.hpp"

#include "embedded_host/timers/ScriptRunner.hpp"

#include <windows.h>

#include <cerrno>
#include <cstdio>
#include <mutex>
#include <utility>

namespace tovrinhost::platform {

namespace {

/// The functions to call, for the system's own thread that brings a Ctrl-C or a Ctrl-Break.
struct Registration {
    std::mutex mutex;
    std::function<void(int status)> onSignal; // guarded by mutex, like the next
    std::function<void()> onQuestion;
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
    if (!registration().onSignal) {
        return FALSE;
    }
    if (event == CTRL_BREAK_EVENT) {
        registration().onQuestion();
    } else {
        registration().onSignal(controlCStatus);
    }
    return TRUE;
}

} // namespace

void setUpStandardOutput()
{
    // This system has no buffering by lines.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
}

bool isInputATerminal()
{
    DWORD mode = 0; // only a console has one
    return GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode) != 0;
}

int flushStandardOutput()
{
    // Unbuffered, so that why it could not be written is not known any more.
    return std::ferror(stdout) != 0 ? EIO : 0;
}

// The system calls the handler on a thread of its own anyway.
SignalsLeftToWatcher::SignalsLeftToWatcher() = default;
SignalsLeftToWatcher::~SignalsLeftToWatcher() = default;

struct SignalWatcher::State { };

SignalWatcher::SignalWatcher(std::function<void(int status)> onSignal, std::function<void()> onQuestion)
{
    {
        const std::lock_guard lock(registration().mutex);
        registration().onSignal = std::move(onSignal);
        registration().onQuestion = std::move(onQuestion);
    }
    SetConsoleCtrlHandler(onControl, TRUE);
}

SignalWatcher::~SignalWatcher()
{
    SetConsoleCtrlHandler(onControl, FALSE);
    // A call that is under way is waited for.
    const std::lock_guard lock(registration().mutex);
    registration().onSignal = nullptr;
    registration().onQuestion = nullptr;
}

} // namespace tovrinhost::platform
