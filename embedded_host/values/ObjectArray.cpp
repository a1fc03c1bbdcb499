#include "embedded_host/values/ObjectArray.hpp"

#include "embedded_host/values/ArrayStorage.hpp"

#include <memory>

namespace tovrinhost {

using foundation::tovrindata::Array;
using foundation::tovrindata::ArrayType;

namespace detail = foundation::tovrindata::detail;

Array makeObjectArray(std::uint64_t object)
{
    auto storage = std::make_shared<detail::ArrayStorage>();
    storage->dimensions = { 1, 1 };
    storage->elements = detail::ObjectElement { object };
    return Array(std::move(storage));
}

std::uint64_t getObject(const Array& array)
{
    detail::requireType(array, ArrayType::Object, "object");
    return detail::elementsOf<detail::ObjectElement>(array)->number;
}

} // namespace tovrinhost
