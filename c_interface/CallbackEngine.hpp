#pragma once

#include "embedded_host/engine/LoopEngine.hpp"

#include <cstdint>
#include <functional>

namespace tovrin_c {

/// An engine whose host language is one function: what is evaluated for a timer's callback.
///
/// Threading: the loop's thread.
class CallbackEngine final : public tovrinhost::LoopEngine {
public:
    /// \param callBack given the number of the timer; what it throws is the callback's error
    explicit CallbackEngine(std::function<void(std::uint64_t timer)> callBack);

    foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> feval(const std::string& function,
        const std::vector<foundation::tovrindata::Array>& arguments, std::size_t nargout,
        cmddistributor::RunOptions options, bool reserved,
        foundation::msg_svc::exchange::IDType requestId) override;
    foundation::concurrent::future<void> evalAsync(const std::u16string& statement,
        cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId) override;
    vorn::ContextId getContextId() const override { return 1; }

private:
    const std::function<void(std::uint64_t timer)> m_callBack;
};

} // namespace tovrin_c
