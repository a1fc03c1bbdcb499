#pragma once

#include "host/foundation/tovrindata/Array.hpp"

#include <cstdint>

namespace tovrinhost {

/// An array that refers to an object of the host language by its number.
///
/// The array does not keep the object alive: who looks the number up may find it gone.
TOVRINHOST_API foundation::tovrindata::Array makeObjectArray(std::uint64_t object);

/// \throws std::invalid_argument if the array does not hold an object
TOVRINHOST_API std::uint64_t getObject(const foundation::tovrindata::Array& array);

} // namespace tovrinhost
