#pragma once

#include "host/pelk/factory/full/StdShareable.hpp"

#include <cstddef>

namespace recording {

// The class system's view of an object: known from `expectObject` on, until it is retracted. A retraction is
// the event "retract", in detail. Any thread.

void expectObject(const pelk::factory::full::Wrappable* object);

/// How many expected objects have not been retracted.
std::size_t expectedObjects();

/// How many retractions there have been, of whatever object.
std::size_t retractions();

} // namespace recording
