#pragma once

#include "host/vorn/VORN.hpp"
#include "timer_src/main/WorkKind.hpp"

#include <stdexcept>

namespace test_host {

/// What a callback that fails throws.
struct CallbackError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// An engine that evaluates at once, on the calling thread. What comes of it is for the derived class.
///
/// It takes what the library has to ask for, and nothing else: anything else is a std::logic_error.
/// Threading: any thread, as far as the derived class goes.
class Engine : public vorn::VORN {
public:
    foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> feval(const std::string& function,
        const std::vector<foundation::tovrindata::Array>& arguments, std::size_t nargout,
        cmddistributor::RunOptions options, bool reserved, foundation::msg_svc::exchange::IDType requestId) final;

    foundation::concurrent::future<void> evalAsync(const std::u16string& statement,
        cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId) final;

    vorn::ContextId getContextId() const override { return 1; }

private:
    /// A callback of a timer.
    /// \throws CallbackError where it is to fail: that comes out of the future
    virtual void evaluate(const foundation::tovrindata::Array& timerObject, tovrintimer::WorkKind callback) = 0;

    /// The statement that wakes the engine.
    virtual void wakeUp() = 0;
};

} // namespace test_host
