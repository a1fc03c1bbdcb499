#include "c_interface/ReadySignal.hpp"

#include <cerrno>
#include <system_error>

#include <sys/eventfd.h>
#include <unistd.h>

namespace tovrin_c {

namespace {

int makeEventDescriptor()
{
    const int made = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (made < 0) {
        throw std::system_error(errno, std::generic_category(), "there is no file descriptor to be had");
    }
    return made;
}

} // namespace

ReadySignal::ReadySignal()
    : m_native(makeEventDescriptor())
{
}

ReadySignal::~ReadySignal()
{
    close(static_cast<int>(m_native));
}

void ReadySignal::set() noexcept
{
    eventfd_write(static_cast<int>(m_native), 1); // fails only where it is as ready as can be
}

void ReadySignal::clear() noexcept
{
    eventfd_t count = 0;
    eventfd_read(static_cast<int>(m_native), &count);
}

} // namespace tovrin_c
