#include "embedded_host/program/platform/Platform.hpp"

#include "embedded_host/timers/ScriptRunner.hpp"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>
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

std::FILE* divertStandardOutput(bool toStandardError)
{
    const int before = _dup(_fileno(stdout));
    std::FILE* const stream = before < 0 ? nullptr : _fdopen(before, "w");
    if (stream == nullptr) {
        throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
    }
    const int next = toStandardError ? _fileno(stderr) : _open("NUL", _O_WRONLY);
    if (next < 0 || _dup2(next, _fileno(stdout)) < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot divert standard output");
    }
    if (!toStandardError) {
        _close(next);
    }
    return stream;
}

bool isInputATerminal()
{
    DWORD mode = 0; // only a console has one
    return GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode) != 0;
}

int continueAs(const char* name, const std::vector<const char*>& /*words*/)
{
    std::array<wchar_t, 32'768> self {};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    const std::filesystem::path folder = std::filesystem::path(self.data()).parent_path();
    std::filesystem::path program = folder / (std::string(name) + ".exe");
    if (std::error_code ignored; !std::filesystem::exists(program, ignored)) {
        program = folder.parent_path() / "libexec" / "tovrin" / program.filename();
    }
    // The other program gets Ctrl-C as well, and ends; this one is to tell its status.
    SetConsoleCtrlHandler([](DWORD) -> BOOL { return TRUE; }, TRUE);
    STARTUPINFOW startup {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process {};
    const BOOL inheritsHandles = TRUE;
    if (!CreateProcessW(program.c_str(), GetCommandLineW(), nullptr, nullptr, inheritsHandles, 0, nullptr, nullptr,
            &startup, &process)) {
        throw std::system_error(
            static_cast<int>(GetLastError()), std::system_category(), "cannot start " + program.string());
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD status = EXIT_FAILURE;
    GetExitCodeProcess(process.hProcess, &status);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<int>(status);
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
