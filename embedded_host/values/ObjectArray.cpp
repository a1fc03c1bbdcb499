#include "embedded_host/values/ObjectArray.hpp"

#include "embedded_host/values/ArrayStorage.hpp"

namespace tovrinhost {

using foundation::tovrindata::Array;
using foundation::tovrindata::ArrayType;

namespace detail = foundation::tovrindata::detail;

Array makeObjectArray(std::uint64_t object)
{
    return detail::makeArray({ 1, 1 }, detail::ObjectElement { object });
}

std::uint64_t getObject(const Array& array)
{
    detail::requireType(array, ArrayType::Object, "object");
    return detail::elementsOf<detail::ObjectElement>(array)->number;
}

} // namespace tovrinhost
