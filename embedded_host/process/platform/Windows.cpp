#include "embedded_host/process/platform/Platform.hpp"

#include <windows.h>

#include <array>
#include <cstdlib>
#include <string_view>

namespace tovrinhost::platform {

namespace {

using SetDescription = HRESULT(WINAPI*)(HANDLE, PCWSTR);

/// \returns null on a system that is too old to have it
SetDescription findSetDescription() noexcept
{
    const HMODULE library = GetModuleHandleW(L"KernelBase.dll");
    const FARPROC found = library == nullptr ? nullptr : GetProcAddress(library, "SetThreadDescription");
    // Through a pointer without a type: a system call is found only without its own.
    return reinterpret_cast<SetDescription>(reinterpret_cast<void*>(found));
}

} // namespace

void nameCurrentThread(const char* name) noexcept
{
    constexpr int longest = 255;
    std::array<wchar_t, longest + 1> wide {};
    // A name that does not fit, or is no UTF-8, leaves the thread as it is.
    static const SetDescription setDescription = findSetDescription();
    if (setDescription != nullptr
        && MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, name, -1, wide.data(), longest + 1) > 0) {
        setDescription(GetCurrentThread(), wide.data());
    }
}

// A Ctrl-C goes to both.
int runCommand(const char* command, const std::function<bool()>& /*isInterrupted*/)
{
    return std::system(command);
}

std::FILE* openPipe(const char* command, const char* mode)
{
    return _popen(command, mode);
}

bool isPipeMode(const char* mode) noexcept
{
    const std::string_view text(mode);
    const bool endsAsItMay = text.size() == 1 || (text.size() == 2 && (text[1] == 'b' || text[1] == 't'));
    return endsAsItMay && (text[0] == 'r' || text[0] == 'w');
}

int closePipe(std::FILE* pipe)
{
    return _pclose(pipe);
}

bool isEndedByControlC(int result) noexcept
{
    constexpr unsigned int controlCExit = 0xC000013A;
    return static_cast<unsigned int>(result) == controlCExit;
}

} // namespace tovrinhost::platform
