#include "tests/faults/Locks.hpp"

#include <pthread.h>

#include <cerrno>
#include <functional>

namespace faults {

namespace {

std::atomic<FailingLock*> current { nullptr };

} // namespace

FailingLock::FailingLock(const void* object, std::size_t size, int ordinal, On on)
    : m_begin(static_cast<const std::byte*>(object))
    , m_end(m_begin + size)
    , m_on(on)
    , m_thread(std::this_thread::get_id())
    , m_left(ordinal)
{
    current = this;
}

FailingLock::~FailingLock()
{
    current = nullptr;
}

bool FailingLock::strikes(const void* mutex)
{
    const auto* place = static_cast<const std::byte*>(mutex);
    const bool isPart = !std::less<>()(place, m_begin) && std::less<>()(place, m_end);
    const bool isHere = std::this_thread::get_id() == m_thread;
    return isPart && isHere == (m_on == On::ThisThread) && m_left.fetch_sub(1) == 1;
}

} // namespace faults

extern "C" int __real_pthread_mutex_lock(pthread_mutex_t* mutex);

extern "C" int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);

extern "C" int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    faults::FailingLock* const fault = faults::current;
    return fault != nullptr && fault->strikes(mutex) ? EINVAL : __real_pthread_mutex_lock(mutex);
}
