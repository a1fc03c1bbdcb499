#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

namespace tovrinhost {

/// Gives a block of memory back, wherever in it the elements begin.
struct FreeBlock {
    void* block = nullptr;

    void operator()(const void* /*elements*/) const
    {
        std::free(block); // NOLINT(cppcoreguidelines-no-malloc): it is calloc's
    }
};

// No container takes elements that are zeros already. NOLINTNEXTLINE(*-avoid-c-arrays)
template <typename Element> using ZeroedArray = std::unique_ptr<Element[], FreeBlock>;

/// Elements of zeros, in cache lines of their own. The system gives the memory as it is used, page by page.
/// \throws std::bad_alloc
template <typename Element> ZeroedArray<Element> makeZeroed(std::size_t count)
{
    static_assert(std::is_trivially_default_constructible_v<Element>);
    static_assert(std::is_trivially_destructible_v<Element>);
    constexpr std::size_t line = 64;
    std::size_t size = (count * sizeof(Element)) + line;
    // Whoever else gives memory writes its zeros at once. NOLINTNEXTLINE(cppcoreguidelines-no-malloc)
    void* const block = std::calloc(size, 1);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    void* elements = block;
    std::align(line, count * sizeof(Element), elements, size);
    return ZeroedArray<Element>(static_cast<Element*>(elements), FreeBlock { block });
}

} // namespace tovrinhost
