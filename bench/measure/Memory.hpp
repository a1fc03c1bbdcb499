#pragma once

#include <cstddef>
#include <cstdint>

namespace bench {

/// How often the calling thread has called `operator new`, in the program or in a library.
std::uint64_t allocationsOfThread();

/// Bytes of the heap that are in use in the whole process, with what the heap itself needs for them.
std::size_t heapInUse();

} // namespace bench
