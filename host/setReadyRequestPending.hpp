#pragma once

/// \file
/// Declares `setReadyRequestPending`.

#include "host/Export.hpp"

/// Tells the host's user-interface bridge whether a request is waiting for the interpreter.
///
/// Called with true after a callback task was handed over, where the feature "TIMER_PPE" is off, on the thread
/// that handed it over and with no lock held. The library never calls it with false: the host does so itself
/// when it has looked. There is one such state for all interpreters of the process: what wakes one of them is
/// `inRequestLineNoService`, whatever another has looked at meanwhile.
TOVRINHOST_API void setReadyRequestPending(bool pending);
