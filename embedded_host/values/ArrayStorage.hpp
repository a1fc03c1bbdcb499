#pragma once

#include "host/foundation/tovrindata/Array.hpp"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace foundation::tovrindata::detail {

struct CharElements {
    std::string utf8;
};

struct DoubleElements {
    std::vector<double> values; ///< column by column
};

struct StructElements {
    std::vector<std::string> fieldNames;
    std::vector<Array> values; ///< record by record, each in the order of the field names
};

struct ObjectElement {
    std::uint64_t number;
};

/// The elements of an array, and how they are laid out.
///
/// Threading: what several arrays share is never written to.
class ArrayStorage {
public:
    using Elements = std::variant<CharElements, DoubleElements, StructElements, ObjectElement>;

    ArrayDimensions dimensions;
    Elements elements;
};

/// The product of the dimensions.
/// \throws std::invalid_argument if it is more than can be counted
std::size_t countElements(const ArrayDimensions& dimensions);

/// As in "2x3".
std::string toText(const ArrayDimensions& dimensions);

/// \throws std::invalid_argument unless the array is of the type that an array class, named for the text, needs
void requireType(const Array& array, ArrayType needed, const char* className);

/// \returns null where the array holds something else, or nothing
template <typename Elements> const Elements* elementsOf(const Array& array) noexcept
{
    return array.storage() ? std::get_if<Elements>(&array.storage()->elements) : nullptr;
}

} // namespace foundation::tovrindata::detail
