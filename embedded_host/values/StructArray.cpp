#include "host/foundation/tovrindata/StructArray.hpp"

#include "embedded_host/values/ArrayStorage.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace foundation::tovrindata {

namespace {

/// Where the value of a record's field stands among all values.
/// \throws std::out_of_range if there is no such record or field
std::size_t placeOf(const StructArray& array, std::size_t index, const std::string& field)
{
    const std::size_t records = array.getNumberOfElements();
    if (index >= records) {
        throw std::out_of_range("record " + std::to_string(index) + " of an array: the index must be below "
            + std::to_string(records));
    }
    const std::vector<std::string>& names = detail::elementsOf<detail::StructElements>(array)->fieldNames;
    const auto found = std::find(names.begin(), names.end(), field);
    if (found == names.end()) {
        std::string text = "field \"" + field + "\" of a record: the fields are";
        for (const std::string& name : names) {
            text += (name == names.front() ? " \"" : ", \"") + name + "\"";
        }
        throw std::out_of_range(text + (names.empty() ? " none" : ""));
    }
    return index * names.size() + static_cast<std::size_t>(found - names.begin());
}

} // namespace

StructArray::StructArray(Array array)
    : Array(std::move(array))
{
    detail::requireType(*this, ArrayType::Struct, "StructArray");
}

std::vector<std::string> StructArray::getFieldNames() const
{
    const auto* const records = detail::elementsOf<detail::StructElements>(*this);
    return records != nullptr ? records->fieldNames : std::vector<std::string>();
}

Array StructArray::getField(std::size_t index, const std::string& field) const
{
    const std::size_t place = placeOf(*this, index, field);
    return detail::elementsOf<detail::StructElements>(*this)->values[place];
}

void StructArray::setField(std::size_t index, const std::string& field, Array value)
{
    const std::size_t place = placeOf(*this, index, field);
    std::get<detail::StructElements>(ownStorage().elements).values[place] = std::move(value);
}

} // namespace foundation::tovrindata
