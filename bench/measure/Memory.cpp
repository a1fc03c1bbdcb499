#include "bench/measure/Memory.hpp"

#include <cstdlib>
#include <new>

#include <malloc.h>

namespace {

// Of each thread, so that counting costs all sides alike, and next to nothing.
thread_local std::uint64_t allocations = 0;

void* allocate(std::size_t size)
{
    ++allocations;
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

// In place of the C++ library's, whose other forms call these two.

void* operator new(std::size_t size)
{
    return allocate(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

namespace bench {

std::uint64_t allocationsOfThread()
{
    return allocations;
}

std::size_t heapInUse()
{
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

} // namespace bench
