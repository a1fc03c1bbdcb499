#pragma once

/// \file
/// Declares `inRequestLineNoService`.

#include "host/iqm/Iqm.hpp"

#include <memory>

/// Makes an interpreter look at its request line, without servicing other events.
///
/// Called after a callback task was handed over, where the feature "TIMER_PPE" is off, on the thread that
/// handed it over and with no lock held. It must not wait for the interpreter.
TOVRINHOST_API void inRequestLineNoService(const std::shared_ptr<InterruptStateData>& interruptState);
