#include "host/setCurrentThreadName.hpp"

#include <windows.h>

#include <array>

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

void setCurrentThreadName(const std::string& name)
{
    constexpr int longest = 255;
    std::array<wchar_t, longest + 1> wide {};
    // A name that does not fit, or is no UTF-8, leaves the thread as it is.
    static const SetDescription setDescription = findSetDescription();
    if (setDescription != nullptr
        && MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, name.c_str(), -1, wide.data(), longest + 1) > 0) {
        setDescription(GetCurrentThread(), wide.data());
    }
}
