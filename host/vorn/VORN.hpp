#pragma once

#include "host/Export.hpp"
#include "host/cmddistributor/RunOptions.hpp"
#include "host/foundation/concurrent/future.hpp"
#include "host/foundation/msg_svc/exchange/IDType.hpp"
#include "host/foundation/tovrindata/Array.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// The execution engine.
namespace vorn {

/// Tells the interpreter contexts of a process apart.
using ContextId = std::uint64_t;

/// An instance of the execution engine: it evaluates host-language code.
///
/// Ownership: shared. Each timer holds a share of the engine that it was created in, each pending callback
/// task another; an instance must stay usable until the last of them has gone.
/// Threading: every operation may be called on any thread, the engine's own included. The library holds no
/// lock during any of these calls, so all of them may call back into it.
class TOVRINHOST_API VORN {
public:
    VORN();
    VORN(const VORN&) = delete;
    VORN& operator=(const VORN&) = delete;
    virtual ~VORN();

    /// Evaluates a host-language function.
    ///
    /// The library calls it in callback tasks, always for the function "timercb" with four arguments (timer
    /// object, callback name, an empty character array, event record), and then waits in the future's `get()`.
    /// A host that runs tasks on the engine's own thread must therefore evaluate a request of that thread at
    /// once, or the task would wait for itself.
    ///
    /// \param function what is evaluated
    /// \param arguments what it is given; a host that evaluates later keeps copies
    /// \param nargout the number of outputs wanted
    /// \param options when idle, and no queue of its own
    /// \param reserved always false
    /// \param requestId of `createRequestID`, for the host alone
    /// \returns the outputs to come. `get()` rethrows what the evaluation raised, and the library lets that
    ///          leave the task. So an error has to get into the future, in Boost's way:
    ///
    ///     boost::promise<std::vector<Array>> promise;
    ///     try { promise.set_value(evaluate(function, arguments)); }
    ///     catch (...) { promise.set_exception(boost::current_exception()); }
    ///
    /// With `std::current_exception()` that compiles as well, and loses the error: `get()` throws a
    /// `std::exception_ptr` then. Boost 1.74 makes of a class that is derived from a standard exception's that
    /// standard one, with its text; to keep a class of its own, a host throws it by
    /// `boost::enable_current_exception`, or gives the exception itself to `set_exception`.
    virtual foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> feval(
        const std::string& function, const std::vector<foundation::tovrindata::Array>& arguments,
        std::size_t nargout, cmddistributor::RunOptions options, bool reserved,
        foundation::msg_svc::exchange::IDType requestId)
        = 0;

    /// Queues a host-language statement, and returns without waiting for it.
    ///
    /// The library posts the do-nothing statement "if(1==1), end" this way each time that a timer stops
    /// running, and drops the future. Taking it off the queue must wake host code that waits in the engine's
    /// event loop, so that it looks at its timer again.
    ///
    /// What it throws leaves the task of the timer's last callback, or of its StopFcn. Some timers stop where no
    /// task is running. There the statement comes from the scheduler thread, which must not be kept waiting and
    /// which an error ends with the process; or from the host's own thread, and an error leaves the library's
    /// operation. These are
    /// those without a StopFcn that the host stops, or whose callback is not over in time in busy mode Error, and
    /// those whose StopFcn is taken away once it has been queued.
    virtual foundation::concurrent::future<void> evalAsync(const std::u16string& statement,
        cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId)
        = 0;

    /// The interpreter context that this instance runs in. Constant.
    virtual ContextId getContextId() const = 0;

    /// A new identity for one evaluation request. What it throws leaves the callback task.
    static foundation::msg_svc::exchange::IDType createRequestID();
};

} // namespace vorn
