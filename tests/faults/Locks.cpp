#include "tests/faults/Locks.hpp"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <deque>
#include <functional>
#include <thread>

namespace faults {

namespace {

/// Which lock fails.
class Fault {
public:
    Fault(const void* object, std::size_t size, int ordinal, FailingLock::On on)
        : m_begin(static_cast<const std::byte*>(object))
        , m_end(m_begin + size)
        , m_on(on)
        , m_left(ordinal)
    {
    }

    /// Whether this lock is the one.
    bool strikes(const void* mutex)
    {
        const auto* place = static_cast<const std::byte*>(mutex);
        const bool isPart = !std::less<>()(place, m_begin) && std::less<>()(place, m_end);
        const bool isHere = std::this_thread::get_id() == m_thread;
        return isPart && isHere == (m_on == FailingLock::On::ThisThread) && m_left.fetch_sub(1) == 1;
    }

private:
    const std::byte* const m_begin;
    const std::byte* const m_end;
    const FailingLock::On m_on;
    const std::thread::id m_thread = std::this_thread::get_id();
    std::atomic<int> m_left;
};

std::atomic<Fault*> current { nullptr };

/// All of the process, kept to its end: another thread may still look at one that is not current any more.
std::deque<Fault>& faultsOfProcess()
{
    static auto& faults = *new std::deque<Fault>();
    return faults;
}

} // namespace

FailingLock::FailingLock(const void* object, std::size_t size, int ordinal, On on)
{
    current = &faultsOfProcess().emplace_back(object, size, ordinal, on);
}

FailingLock::~FailingLock()
{
    current = nullptr;
}

} // namespace faults

extern "C" int __real_pthread_mutex_lock(pthread_mutex_t* mutex);

extern "C" int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);

extern "C" int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    faults::Fault* const fault = faults::current;
    return fault != nullptr && fault->strikes(mutex) ? EINVAL : __real_pthread_mutex_lock(mutex);
}
