#pragma once

#include <utility>

namespace tovrinhost {

/// An object that is never destroyed: for the static objects that are in use to the last,
/// whichever way the process ends.
template <typename T> class NeverDestroyed {
public:
    template <typename... Arguments>
    explicit NeverDestroyed(Arguments&&... arguments)
        : m_object(new T(std::forward<Arguments>(arguments)...))
    {
    }

    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;
    ~NeverDestroyed() = default;

    T& operator*() const noexcept { return *m_object; }
    T* operator->() const noexcept { return m_object; }

private:
    T* const m_object;
};

} // namespace tovrinhost
