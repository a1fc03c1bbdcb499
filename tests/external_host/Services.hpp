#pragma once

#include "host/Export.hpp"
#include "host/pelk/factory/full/StdShareable.hpp"

#include <cstddef>

namespace external_host {

/// Destroys the process-wide singletons, the latest first.
TOVRINHOST_API void destroyProcessScope();

/// Throws the switch "TIMER_PPE". It is off at first, so that the library goes through all that a host has to
/// offer.
TOVRINHOST_API void setTimerPpe(bool on);

/// Gives an object to the host language, which knows it until it is retracted, and does not keep it alive.
TOVRINHOST_API void share(const pelk::factory::full::Wrappable* object);

/// How many objects the host language knows.
TOVRINHOST_API std::size_t sharedObjects();

} // namespace external_host
