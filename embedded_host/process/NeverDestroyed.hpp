#pragma once

#include <array>
#include <cstddef>
#include <new>
#include <utility>

namespace tovrinhost {

/// An object that is made in its place and never destroyed: for the static objects that are in use to the last,
/// whichever way the process ends.
template <typename T> class NeverDestroyed {
public:
    template <typename... Arguments> explicit NeverDestroyed(Arguments&&... arguments)
    {
        ::new (m_place.data()) T(std::forward<Arguments>(arguments)...);
    }

    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;
    ~NeverDestroyed() = default;

    T& operator*() noexcept { return *std::launder(reinterpret_cast<T*>(m_place.data())); }
    T* operator->() noexcept { return &**this; }

private:
    alignas(T) std::array<std::byte, sizeof(T)> m_place;
};

} // namespace tovrinhost
