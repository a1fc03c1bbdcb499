#include "virtual_time/Kernel.hpp"

#include <ctime>

/// Stands in front of the system's function of this name, for the libraries of this program too: Lua makes of it in
/// which order it goes through tables, and what its random numbers begin with.
extern "C" __attribute__((visibility("default"))) std::time_t time(std::time_t* result) noexcept
{
    constexpr virtual_time::Moment second = 1000 * virtual_time::millisecond;
    const virtual_time::Kernel* const kernel = virtual_time::Kernel::current();
    const std::time_t now = kernel != nullptr ? kernel->calendar() / second : 0;
    if (result != nullptr) {
        *result = now;
    }
    return now;
}
