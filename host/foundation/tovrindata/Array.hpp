#pragma once

#include "host/Export.hpp"

#include <cstddef>
#include <memory>
#include <vector>

/// Values of the host language.
namespace foundation::tovrindata {

/// Rows, columns and further extents of an array.
using ArrayDimensions = std::vector<std::size_t>;

/// What an array's elements are.
enum class ArrayType {
    Empty, ///< default-constructed, or moved from
    Char, ///< see CharArray
    Double, ///< see TypedArray<double>
    Struct, ///< see StructArray
    Object, ///< an object of the host language; only the host can look inside
};

namespace detail {
/// The elements. The host alone defines and reads it.
class ArrayStorage;
} // namespace detail

/// A value of the host language.
///
/// Threading: distinct arrays may be used by distinct threads at the same time, also where one is a copy of
/// the other; one array is for one thread at a time. The library copies and destroys arrays on any thread.
/// Ownership: a value. A copy never sees a later change of its source. An Object array refers to a host
/// object without keeping anything of the library alive.
/// Errors: copying may throw; moving and destroying must not.
class TOVRINHOST_API Array {
public:
    /// An empty array.
    Array() noexcept;

    /// A copy, which may share its elements with `other` until one of them is changed.
    /// \throws std::bad_alloc, say; nothing is changed then
    Array(const Array& other);

    /// Leaves an empty array behind.
    Array(Array&& other) noexcept;

    /// As the copy. \throws what making one does; nothing is changed then
    Array& operator=(const Array& other);

    /// Leaves an empty array behind.
    Array& operator=(Array&& other) noexcept;

    /// The library destroys arrays on any thread.
    ~Array();

    /// Says which of the derived classes can be made of it.
    ArrayType getType() const noexcept;

    /// 0x0 for an empty array.
    ArrayDimensions getDimensions() const;

    /// The product of the dimensions.
    std::size_t getNumberOfElements() const noexcept;

    /// For the host: wraps elements that it made.
    explicit Array(std::shared_ptr<detail::ArrayStorage> storage) noexcept;

    /// For the host: the elements, null for an empty array.
    const std::shared_ptr<detail::ArrayStorage>& storage() const noexcept;

protected:
    /// The elements for writing, no longer shared with any copy.
    detail::ArrayStorage& ownStorage();

private:
    std::shared_ptr<detail::ArrayStorage> m_storage;
};

} // namespace foundation::tovrindata
