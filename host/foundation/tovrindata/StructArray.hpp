#pragma once

#include "host/foundation/tovrindata/Array.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace foundation::tovrindata {

/// Records with the same named fields, in a fixed order. A field that nobody set holds an empty array.
class TOVRINHOST_API StructArray : public Array {
public:
    /// \throws std::invalid_argument if `array` does not hold records
    explicit StructArray(Array array);

    /// In their order.
    std::vector<std::string> getFieldNames() const;

    /// \throws std::out_of_range if there is no such record or field
    Array getField(std::size_t index, const std::string& field) const;

    /// \throws std::out_of_range if there is no such record or field; nothing is changed then
    void setField(std::size_t index, const std::string& field, Array value);
};

} // namespace foundation::tovrindata
