#include "tests/faults/Allocations.hpp"

#include "tests/recording_host/Journal.hpp"

#include <atomic>
#include <cstdlib>
#include <new>

namespace faults {

namespace {

std::atomic<std::int64_t> live { 0 };

// Of the fault that is set; the thread's own count where it is for one thread.
std::atomic<bool> armed { false };
std::atomic<bool> forAnyThread { false };
std::atomic<std::int64_t> leftOfAnyThread { 0 };
thread_local std::int64_t leftOfThread = 0;
thread_local int exemptions = 0;

bool strikesNow()
{
    if (!armed || exemptions > 0) {
        return false;
    }
    if (forAnyThread) {
        return leftOfAnyThread.fetch_sub(1) == 1;
    }
    return leftOfThread > 0 && --leftOfThread == 0;
}

void* allocate(std::size_t size)
{
    if (strikesNow()) {
        return nullptr;
    }
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block != nullptr) {
        ++live;
    }
    return block;
}

void* allocateAligned(std::size_t size, std::size_t alignment)
{
    if (strikesNow()) {
        return nullptr;
    }
    void* const block = std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
    if (block != nullptr) {
        ++live;
    }
    return block;
}

void* orThrow(void* block)
{
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void release(void* block)
{
    if (block != nullptr) {
        --live;
        std::free(block);
    }
}

} // namespace

std::int64_t liveBlocks()
{
    return live;
}

FailingAllocation::FailingAllocation(std::int64_t ordinal, On on)
{
    forAnyThread = on == On::AnyThread;
    leftOfAnyThread = ordinal;
    leftOfThread = ordinal;
    armed = true;
}

FailingAllocation::~FailingAllocation()
{
    armed = false;
}

bool FailingAllocation::hasStruck() const
{
    return forAnyThread ? leftOfAnyThread <= 0 : leftOfThread <= 0;
}

Exempt::Exempt()
{
    ++exemptions;
}

Exempt::~Exempt()
{
    --exemptions;
}

} // namespace faults

using faults::allocate;
using faults::allocateAligned;
using faults::orThrow;
using faults::release;

void* operator new(std::size_t size)
{
    return orThrow(allocate(size));
}

void* operator new[](std::size_t size)
{
    return orThrow(allocate(size));
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return allocate(size);
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    return orThrow(allocateAligned(size, static_cast<std::size_t>(alignment)));
}

void* operator new[](std::size_t size, std::align_val_t alignment)
{
    return orThrow(allocateAligned(size, static_cast<std::size_t>(alignment)));
}

void operator delete(void* block) noexcept
{
    release(block);
}

void operator delete[](void* block) noexcept
{
    release(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    release(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept
{
    release(block);
}

void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept
{
    release(block);
}

void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept
{
    release(block);
}

void operator delete(void* block, std::align_val_t /*alignment*/) noexcept
{
    release(block);
}

void operator delete[](void* block, std::align_val_t /*alignment*/) noexcept
{
    release(block);
}

void operator delete(void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept
{
    release(block);
}

void operator delete[](void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept
{
    release(block);
}

// recording::Journal::add, which destructors call: what the test's own notebook takes is not what is tested.
extern "C" void __real__ZN9recording7Journal3addERKNS_5EventE(
    recording::Journal* self, const recording::Event& event);

extern "C" void __wrap__ZN9recording7Journal3addERKNS_5EventE(
    recording::Journal* self, const recording::Event& event);

extern "C" void __wrap__ZN9recording7Journal3addERKNS_5EventE(
    recording::Journal* self, const recording::Event& event)
{
    const faults::Exempt exempt;
    __real__ZN9recording7Journal3addERKNS_5EventE(self, event);
}

// boost::log::sources::aux::get_severity_level, which every record asks: where memory runs out as a thread asks
// for the first time, it loses the block that it has made already. That is nobody's fault here. (Its reference is
// a pointer to the linker.)
extern "C" std::uintmax_t* __real__ZN5boost3log11v2_mt_posix7sources3aux18get_severity_levelEv();

extern "C" std::uintmax_t* __wrap__ZN5boost3log11v2_mt_posix7sources3aux18get_severity_levelEv();

extern "C" std::uintmax_t* __wrap__ZN5boost3log11v2_mt_posix7sources3aux18get_severity_levelEv()
{
    const faults::Exempt exempt;
    return __real__ZN5boost3log11v2_mt_posix7sources3aux18get_severity_levelEv();
}
