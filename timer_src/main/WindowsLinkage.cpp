#include "timer_src/main/Export.hpp"

// So that the library always has an export to link against.
extern "C" TOVRINTIMER_API void DummyFcnRequiredForWindowsLinkage_tovrintimer_timer_src();

void DummyFcnRequiredForWindowsLinkage_tovrintimer_timer_src()
{
}
