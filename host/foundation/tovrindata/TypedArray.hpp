#pragma once

#include "host/foundation/tovrindata/Array.hpp"

#include <cstddef>

namespace foundation::tovrindata {

template <typename Element> class TypedArray;

/// Numbers, stored column by column.
template <> class TOVRINHOST_API TypedArray<double> : public Array {
public:
    /// \throws std::invalid_argument if `array` does not hold numbers
    explicit TypedArray(Array array);

    /// \throws std::out_of_range if there is no such element
    double at(std::size_t index) const;
};

} // namespace foundation::tovrindata
