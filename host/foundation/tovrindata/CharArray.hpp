#pragma once

#include "host/foundation/tovrindata/Array.hpp"

#include <string>

namespace foundation::tovrindata {

/// A row of characters; 0x0 when it is empty.
class TOVRINHOST_API CharArray : public Array {
public:
    /// \throws std::invalid_argument if `array` does not hold characters
    explicit CharArray(Array array);

    /// The characters, in UTF-8.
    std::string toUTF8() const;
};

} // namespace foundation::tovrindata
