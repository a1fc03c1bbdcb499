#pragma once

#include <utility>

namespace tovrintimer {

/// An object that is never destroyed.
///
/// For what a function keeps in a static variable: in a process that ends without an orderly shutdown, the
/// scheduler thread and the engine's use it to the last.
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

    T& operator*() const { return *m_object; }
    T* operator->() const noexcept { return m_object; }

private:
    T* const m_object;
};

} // namespace tovrintimer
