#include "virtual_time/Types.hpp"

#include <exception>
#include <map>
#include <utility>

namespace virtual_time {

namespace {

std::int64_t numberOfNew()
{
    return Kernel::current() != nullptr ? Kernel::current()->nextNumber() : 0;
}

} // namespace

SteadyClock::time_point SteadyClock::now()
{
    Kernel* const kernel = Kernel::current();
    if (kernel == nullptr) {
        return {};
    }
    const Operation operation("steady clock");
    if (kernel->witness() != nullptr) {
        kernel->witness()->clockWasRead(kernel->now());
    }
    return time_point(duration(kernel->now()));
}

SystemClock::time_point SystemClock::now()
{
    const Operation operation("system clock");
    return time_point(duration(Kernel::current() != nullptr ? Kernel::current()->calendar() : 0));
}

void atomicWasWritten()
{
    if (Kernel::current() != nullptr && Kernel::current()->witness() != nullptr) {
        Kernel::current()->witness()->atomicWasWritten();
    }
}

// ---- Mutex

Mutex::Mutex()
    : m_number(numberOfNew())
{
}

void Mutex::lock()
{
    const Operation operation("lock mutex", m_number);
    acquire();
}

void Mutex::acquire()
{
    Kernel& kernel = *Kernel::current();
    if (m_owner == kernel.self()) {
        kernel.fail("a thread locks a mutex that it holds already");
    }
    while (m_owner != -1) {
        kernel.block(this, never);
    }
    m_owner = kernel.self();
    kernel.lockTaken();
}

void Mutex::unlock()
{
    {
        const Operation operation("unlock mutex", m_number);
        release();
    }
    // What comes next may be unprotected.
    Kernel::current()->point();
}

void Mutex::release()
{
    Kernel& kernel = *Kernel::current();
    if (m_owner != kernel.self()) {
        kernel.fail("a thread unlocks a mutex that it does not hold");
    }
    if (kernel.witness() != nullptr) {
        kernel.witness()->mutexWasReleased(this);
    }
    m_owner = -1;
    kernel.lockGiven();
    kernel.wakeAll(this);
}

// ---- Condition variable

ConditionVariable::ConditionVariable()
    : m_number(numberOfNew())
{
}

void ConditionVariable::notify_one() noexcept
{
    const Operation operation("notify condition", m_number);
    Kernel& kernel = *Kernel::current();
    kernel.wakeOne(this);
    if (kernel.witness() != nullptr) {
        kernel.witness()->conditionWasNotified(this);
    }
}

bool ConditionVariable::wait(Mutex& mutex, Moment until)
{
    // The mutex is still held here: others may go on, but for those who need it.
    const Operation operation("wait for condition", m_number);
    Kernel& kernel = *Kernel::current();
    mutex.release();
    try {
        const bool woken = kernel.block(this, until, true);
        kernel.note(woken ? "woken" : "timed out");
        mutex.acquire();
        return woken;
    } catch (const Failure&) {
        mutex.acquire(); // who waits expects to hold it, whatever happens
        throw;
    }
}

// ---- Thread

Thread::Thread(std::function<void()> body)
{
    const Operation operation("start thread");
    m_number = Kernel::current()->spawn("thread", std::move(body));
}

Thread::Thread(Thread&& other) noexcept
    : m_number(std::exchange(other.m_number, -1))
{
}

Thread& Thread::operator=(Thread&& other) noexcept
{
    if (joinable()) {
        std::terminate();
    }
    m_number = std::exchange(other.m_number, -1);
    return *this;
}

Thread::~Thread()
{
    if (joinable()) {
        std::terminate();
    }
}

void Thread::join()
{
    const Operation operation("join thread", m_number);
    Kernel& kernel = *Kernel::current();
    kernel.join(m_number);
    m_number = -1;
}

Thread::id currentThreadId()
{
    const Operation operation("current thread");
    return Thread::id(Kernel::current()->self());
}

void sleepFor(std::chrono::nanoseconds duration)
{
    const Operation operation("sleep");
    Kernel::current()->sleepFor(duration.count());
}

bool isAtMillisecond()
{
    return Kernel::current()->isAtMillisecond();
}

void clockWasLookedAt()
{
    Kernel::current()->clockWasLookedAt();
}

std::chrono::duration<double> timeAtWork()
{
    return std::chrono::nanoseconds(Kernel::current()->sinceBeginning());
}

std::shared_ptr<void>& placeOfThisThread(const void* kind)
{
    if (Kernel::current() != nullptr) {
        return Kernel::current()->own(kind);
    }
    static std::map<const void*, std::shared_ptr<void>> whereNothingRuns;
    return whereNothingRuns[kind];
}

void fromOutside(std::function<void()> call)
{
    Kernel::current()->callFromOutside(std::move(call));
}

} // namespace virtual_time
