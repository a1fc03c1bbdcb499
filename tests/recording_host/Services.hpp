#pragma once

#include "host/vorn/VORN.hpp"

/// The interrupt state of this host tells which context it belongs to.
class InterruptStateData {
public:
    explicit InterruptStateData(vorn::ContextId context);

    const vorn::ContextId context;
};

namespace recording {

// The smaller operations of the host. Their events: "setCurrentThreadName NAME", "setReadyRequestPending BOOL",
// "Iqm::getInstance CONTEXT", "inRequestLineNoService CONTEXT"; in detail, "Feature::get NAME".

/// Throws the switch "TIMER_PPE". It is on at first; there is no other. Any thread.
void setTimerPpe(bool on);

} // namespace recording
