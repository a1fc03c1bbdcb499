#include "tests/library/NoThreads.hpp"

#include <windows.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <system_error>
#include <utility>

namespace tovrintimer {

namespace {

constexpr const char* standardLibrary = "libstdc++-6.dll";
constexpr const char* threadLibrary = "libwinpthread-1.dll";

using Function = FARPROC;

int refuse()
{
    return EAGAIN;
}

/// Puts another function in the place through which the standard library calls one of the thread library's.
/// \returns what stood there
Function redirect(const char* name, Function target)
{
    const auto base = reinterpret_cast<std::uintptr_t>(GetModuleHandleA(standardLibrary));
    const auto at = [base](auto* type, auto offset) {
        return reinterpret_cast<decltype(type)>(base + static_cast<std::uintptr_t>(offset));
    };
    const Function original = GetProcAddress(GetModuleHandleA(threadLibrary), name);
    if (base == 0 || original == nullptr) {
        throw std::system_error(ENOENT, std::generic_category(), "the thread library is linked in another way");
    }
    const auto* dos = at(static_cast<const IMAGE_DOS_HEADER*>(nullptr), 0);
    const auto* headers = at(static_cast<const IMAGE_NT_HEADERS*>(nullptr), dos->e_lfanew);
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (const auto* library = at(static_cast<const IMAGE_IMPORT_DESCRIPTOR*>(nullptr), directory.VirtualAddress);
         library->Name != 0; ++library) {
        if (std::strcmp(at(static_cast<const char*>(nullptr), library->Name), threadLibrary) != 0) {
            continue;
        }
        const auto* names = at(static_cast<const IMAGE_THUNK_DATA*>(nullptr), library->OriginalFirstThunk);
        auto* places = at(static_cast<Function*>(nullptr), library->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++places) {
            const auto* import = at(static_cast<const IMAGE_IMPORT_BY_NAME*>(nullptr), names->u1.AddressOfData);
            if (std::strcmp(static_cast<const char*>(import->Name), name) == 0) {
                DWORD before = 0;
                VirtualProtect(places, sizeof *places, PAGE_READWRITE, &before);
                const Function stood = std::exchange(*places, target);
                VirtualProtect(places, sizeof *places, before, &before);
                return stood;
            }
        }
    }
    throw std::system_error(ENOENT, std::generic_category(), "the standard library starts threads in another way");
}

constexpr const char* threadStart = "pthread_create";

Function original = nullptr;

} // namespace

NoThreads::NoThreads()
{
    original = redirect(threadStart, reinterpret_cast<Function>(reinterpret_cast<void*>(refuse)));
}

NoThreads::~NoThreads()
{
    redirect(threadStart, original);
}

} // namespace tovrintimer
