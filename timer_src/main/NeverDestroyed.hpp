#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace tovrintimer {

/// An object that is made in place and never destroyed.
///
/// For what a function keeps in a static variable: in a process that ends without an orderly shutdown, the
/// scheduler thread and the engine's use it to the last.
template <typename T> class NeverDestroyed {
public:
    template <typename... Arguments> explicit NeverDestroyed(Arguments&&... arguments)
    {
        ::new (static_cast<void*>(m_storage)) T(std::forward<Arguments>(arguments)...);
        static_assert(std::is_trivially_destructible_v<NeverDestroyed>);
    }

    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;
    ~NeverDestroyed() = default;

    T& operator*() { return *std::launder(reinterpret_cast<T*>(m_storage)); }
    const T& operator*() const { return *std::launder(reinterpret_cast<const T*>(m_storage)); }

private:
    alignas(T) std::byte m_storage[sizeof(T)];
};

} // namespace tovrintimer
