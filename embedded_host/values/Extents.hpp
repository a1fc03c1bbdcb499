#pragma once

#include "host/foundation/tovrindata/Array.hpp"

#include <cstddef>
#include <memory>
#include <string>

namespace foundation::tovrindata::detail {

/// The dimensions of an array, and how many elements that makes. Two dimensions, as nearly all arrays have, take
/// no memory of their own.
///
/// Threading: a value. Copies share what is never changed.
class Extents {
public:
    /// The caller knows that the product can be counted.
    Extents(std::size_t rows, std::size_t columns) noexcept
        : m_rows(rows)
        , m_columns(columns)
        , m_count(rows * columns)
    {
    }

    /// \throws std::invalid_argument if the product is more than can be counted
    explicit Extents(const ArrayDimensions& dimensions);

    std::size_t count() const noexcept { return m_count; }

    ArrayDimensions toDimensions() const;

private:
    std::size_t m_rows = 0;
    std::size_t m_columns = 0;
    std::size_t m_count;
    std::shared_ptr<const ArrayDimensions> m_all; // null where there are two
};

/// Whether the product is more than can be counted.
bool isTooLarge(std::size_t count, std::size_t each) noexcept;

/// The product of the dimensions.
/// \throws std::invalid_argument if it is more than can be counted
std::size_t countElements(const ArrayDimensions& dimensions);

/// As in "2x3".
std::string toText(const ArrayDimensions& dimensions);

} // namespace foundation::tovrindata::detail
