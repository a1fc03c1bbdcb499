#pragma once

#include "host/Export.hpp"

namespace tovrinhost {

/// Destroys what the store usm::Detail<usm::Process> holds, the latest first, without holding the store's lock.
/// Each object is found until its destructor has returned.
///
/// To be called before `main` returns: the store itself never destroys anything as the process ends. What is
/// stored afterwards stays until the next call.
TOVRINHOST_API void destroyProcessScope();

} // namespace tovrinhost
