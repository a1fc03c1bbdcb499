#pragma once

#include "host/pelk/factory/full/StdShareable.hpp"

#include <cstddef>

namespace external_host {

/// Destroys the process-wide singletons, the latest first.
void destroyProcessScope();

/// Throws the switch "TIMER_PPE". It is off at first, so that the library goes through all that a host has to
/// offer.
void setTimerPpe(bool on);

/// Gives an object to the host language, which knows it until it is retracted, and does not keep it alive.
void share(const pelk::factory::full::Wrappable* object);

/// How many objects the host language knows.
std::size_t sharedObjects();

} // namespace external_host
