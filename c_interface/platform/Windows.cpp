#include "c_interface/ReadySignal.hpp"

#include <system_error>

#include <windows.h>

namespace tovrin_c {

namespace {

HANDLE makeEvent()
{
    const HANDLE made = CreateEventW(nullptr, TRUE, FALSE, nullptr); // ready until it is cleared
    if (made == nullptr) {
        throw std::system_error(
            static_cast<int>(GetLastError()), std::system_category(), "there is no event to be had");
    }
    return made;
}

HANDLE handleOf(std::intptr_t native) noexcept
{
    return reinterpret_cast<HANDLE>(native);
}

} // namespace

ReadySignal::ReadySignal()
    : m_native(reinterpret_cast<std::intptr_t>(makeEvent()))
{
}

ReadySignal::~ReadySignal()
{
    CloseHandle(handleOf(m_native));
}

void ReadySignal::set() noexcept
{
    SetEvent(handleOf(m_native));
}

void ReadySignal::clear() noexcept
{
    ResetEvent(handleOf(m_native));
}

} // namespace tovrin_c
