#include "host/foundation/tovrindata/TypedArray.hpp"

#include "embedded_host/values/ArrayStorage.hpp"

#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::tovrindata {

TypedArray<double>::TypedArray(Array array)
    : Array(std::move(array))
{
    detail::requireType(*this, ArrayType::Double, "TypedArray<double>");
}

double TypedArray<double>::at(std::size_t index) const
{
    const auto* const numbers = detail::elementsOf<detail::DoubleElements>(*this);
    const std::size_t count = numbers != nullptr ? numbers->values.size() : 0;
    if (index >= count) {
        throw std::out_of_range(
            "element " + std::to_string(index) + " of an array: the index must be below " + std::to_string(count));
    }
    return numbers->values[index];
}

} // namespace foundation::tovrindata
