#include "embedded_host/values/ArrayStorage.hpp"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace foundation::tovrindata::detail {

namespace {

const char* typeName(ArrayType type) noexcept
{
    switch (type) {
    case ArrayType::Empty:
        return "Empty";
    case ArrayType::Char:
        return "Char";
    case ArrayType::Double:
        return "Double";
    case ArrayType::Struct:
        return "Struct";
    case ArrayType::Object:
        return "Object";
    }
    return "unknown";
}

} // namespace

std::size_t countElements(const ArrayDimensions& dimensions)
{
    // A zero anywhere makes it nothing, however large the others are.
    if (std::find(dimensions.begin(), dimensions.end(), 0U) != dimensions.end()) {
        return 0;
    }
    std::size_t count = 1;
    for (const std::size_t extent : dimensions) {
        if (count > std::numeric_limits<std::size_t>::max() / extent) {
            throw std::invalid_argument("an array of " + toText(dimensions)
                + " is too large: its elements must number at most "
                + std::to_string(std::numeric_limits<std::size_t>::max()));
        }
        count *= extent;
    }
    return count;
}

std::string toText(const ArrayDimensions& dimensions)
{
    std::string text;
    for (const std::size_t extent : dimensions) {
        text += (text.empty() ? "" : "x") + std::to_string(extent);
    }
    return text;
}

void requireType(const Array& array, ArrayType needed, const char* className)
{
    if (array.getType() != needed) {
        throw std::invalid_argument(std::string(className) + " made from an array of type "
            + typeName(array.getType()) + ": the type must be " + typeName(needed));
    }
}

} // namespace foundation::tovrindata::detail
