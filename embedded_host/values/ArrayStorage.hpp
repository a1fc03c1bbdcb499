#pragma once

#include "embedded_host/values/Extents.hpp"
#include "host/foundation/tovrindata/Array.hpp"

#include <boost/container/small_vector.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace foundation::tovrindata::detail {

struct CharElements {
    std::string utf8;
};

struct DoubleElements {
    std::vector<double> values; ///< column by column
};

// The moves of its members do not throw; what they are made of could.
// NOLINTNEXTLINE(bugprone-exception-escape)
struct StructElements {
    /// A single small record, as an event is, takes no memory of its own.
    using Values = boost::container::small_vector<Array, 2>;

    std::vector<std::string> fieldNames;
    Values values; ///< record by record, each in the order of the field names
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

    template <typename Kind>
    ArrayStorage(Extents itsExtents, Kind&& itsElements)
        : extents(std::move(itsExtents))
        , elements(std::forward<Kind>(itsElements))
    {
    }

    Extents extents;
    Elements elements;
};

template <typename Kind> Array makeArray(Extents extents, Kind elements)
{
    return Array(std::make_shared<ArrayStorage>(std::move(extents), std::move(elements)));
}

/// \throws std::invalid_argument unless the array is of the type that an array class, named for the text, needs
void requireType(const Array& array, ArrayType needed, const char* className);

/// The characters of an array, which outlives them.
/// \throws std::invalid_argument unless it holds characters
const std::string& charactersOf(const Array& array);

/// \returns null where the array holds something else, or nothing
template <typename Elements> const Elements* elementsOf(const Array& array) noexcept
{
    return array.storage() ? std::get_if<Elements>(&array.storage()->elements) : nullptr;
}

} // namespace foundation::tovrindata::detail
