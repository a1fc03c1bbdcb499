#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

namespace tovrinhost {

/// A word that one thread at a time writes and any may read. What was written before it is seen by whoever has
/// read it; on x86 both are plain moves.
///
/// It begins without a value, for an array of zeros; std::atomic writes one.
class SharedWord {
public:
    // Each is one instruction, where a compiler that counts them beforehand sees several.
    [[gnu::always_inline]] void set(std::int64_t value) { __atomic_store_n(&m_value, value, __ATOMIC_RELEASE); }
    [[gnu::always_inline]] std::int64_t get() const { return __atomic_load_n(&m_value, __ATOMIC_ACQUIRE); }

private:
    std::int64_t m_value;
};

static_assert(__atomic_always_lock_free(sizeof(std::int64_t), nullptr));

/// Elements of zeros, in cache lines of their own. The system gives the memory as it is used, page by page.
template <typename Element> class ZeroedArray {
    static_assert(std::is_trivially_default_constructible_v<Element>);
    static_assert(std::is_trivially_destructible_v<Element>);

public:
    /// \throws std::bad_alloc
    explicit ZeroedArray(std::size_t count)
    {
        std::size_t size = (count * sizeof(Element)) + line;
        // Whoever else gives memory writes its zeros at once. NOLINTNEXTLINE(cppcoreguidelines-no-malloc)
        m_block.reset(std::calloc(size, 1));
        if (m_block == nullptr) {
            throw std::bad_alloc();
        }
        void* elements = m_block.get();
        m_elements = static_cast<Element*>(std::align(line, count * sizeof(Element), elements, size));
    }

    Element& operator[](std::size_t place) const noexcept { return m_elements[place]; }

private:
    static constexpr std::size_t line = 64;

    struct Free {
        void operator()(void* block) const { std::free(block); } // NOLINT(cppcoreguidelines-no-malloc): calloc's
    };

    std::unique_ptr<void, Free> m_block;
    Element* m_elements;
};

} // namespace tovrinhost
