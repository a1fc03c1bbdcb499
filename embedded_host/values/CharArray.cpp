#include "host/foundation/tovrindata/CharArray.hpp"

#include "embedded_host/values/ArrayStorage.hpp"

#include <utility>

namespace foundation::tovrindata {

CharArray::CharArray(Array array)
    : Array(std::move(array))
{
    detail::requireType(*this, ArrayType::Char, "CharArray");
}

std::string CharArray::toUTF8() const
{
    const auto* const characters = detail::elementsOf<detail::CharElements>(*this);
    return characters != nullptr ? characters->utf8 : std::string();
}

} // namespace foundation::tovrindata
