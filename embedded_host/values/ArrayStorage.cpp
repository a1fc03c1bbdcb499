#include "embedded_host/values/ArrayStorage.hpp"

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

[[noreturn]] void failType(const Array& array, ArrayType needed, const char* className)
{
    throw std::invalid_argument(std::string(className) + " made from an array of type " + typeName(array.getType())
        + ": the type must be " + typeName(needed));
}

} // namespace

void requireType(const Array& array, ArrayType needed, const char* className)
{
    if (array.getType() != needed) {
        failType(array, needed, className);
    }
}

const std::string& charactersOf(const Array& array)
{
    if (const auto* const characters = elementsOf<CharElements>(array)) {
        return characters->utf8;
    }
    failType(array, ArrayType::Char, "CharArray");
}

} // namespace foundation::tovrindata::detail
