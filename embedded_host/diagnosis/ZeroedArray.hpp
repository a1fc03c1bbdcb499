#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

namespace tovrinhost {

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};

template <typename Element> using ZeroedArray = std::unique_ptr<Element[], FreeMemory>; // NOLINT(*-avoid-c-arrays)

/// Elements of zeros. The system gives the memory as it is used, page by page.
/// \throws std::bad_alloc
template <typename Element> ZeroedArray<Element> makeZeroed(std::size_t count)
{
    static_assert(std::is_trivially_default_constructible_v<Element>);
    static_assert(std::is_trivially_destructible_v<Element>);
    auto* const elements = static_cast<Element*>(std::calloc(count, sizeof(Element)));
    if (elements == nullptr) {
        throw std::bad_alloc();
    }
    return ZeroedArray<Element>(elements);
}

} // namespace tovrinhost
