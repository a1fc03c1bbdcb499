#pragma once

#include "host/Export.hpp"
#include "host/vorn/VORN.hpp"

#include <memory>

/// The interpreter's interrupt state. The library only passes it on.
class InterruptStateData;

/// The interpreter's queue.
namespace iqm {

/// The interpreter queue manager of one context.
///
/// Threading: both operations are called on the thread that hands a callback over, with no lock held, and only
/// where the feature "TIMER_PPE" is off.
class TOVRINHOST_API Iqm {
public:
    Iqm();
    Iqm(const Iqm&) = delete;
    Iqm& operator=(const Iqm&) = delete;
    virtual ~Iqm();

    /// The manager of a context.
    /// \returns never null while an engine instance of that context exists
    static std::shared_ptr<Iqm> getInstance(vorn::ContextId context);

    /// What `inRequestLineNoService` is then given. The library only passes it on.
    virtual std::shared_ptr<InterruptStateData> getInterruptStateData() const = 0;
};

} // namespace iqm
