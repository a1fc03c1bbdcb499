#pragma once

#include "host/iqm/Iqm.hpp"

#include <memory>

namespace tovrinhost {

class Engine;

/// Makes the queue manager of an engine's context. It is found by the context's number for as long as it lives.
std::shared_ptr<iqm::Iqm> makeQueueManager(const std::shared_ptr<Engine>& engine);

} // namespace tovrinhost
