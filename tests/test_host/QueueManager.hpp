#pragma once

#include "host/iqm/Iqm.hpp"

#include <memory>

/// The interrupt state of hosts that have none: nothing but an object.
class InterruptStateData { };

namespace test_host {

class QueueManager final : public iqm::Iqm {
public:
    std::shared_ptr<InterruptStateData> getInterruptStateData() const override
    {
        return std::make_shared<InterruptStateData>();
    }
};

} // namespace test_host
