#pragma once

#include "host/pelk/factory/full/StdShareable.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace tovrinhost {

// The C++ objects that host-language code can refer to, by number. The object system holds them weakly, and
// forgets them as they are retracted. Any thread.

/// Takes a shared object in; the same object always gets the same number.
/// \throws std::invalid_argument if there is none
TOVRINHOST_API std::uint64_t wrap(const std::shared_ptr<pelk::factory::full::StdShareable>& object);

/// \returns null if there never was such an object, or it has gone
TOVRINHOST_API std::shared_ptr<pelk::factory::full::StdShareable> unwrap(std::uint64_t number);

/// How many objects are known at this moment.
TOVRINHOST_API std::size_t wrappedObjects();

} // namespace tovrinhost
