#pragma once

#include "host/vorn/VORN.hpp"
#include "tests/simulation/host/Host.hpp"

namespace simulation {

/// The engine as one timer sees it: it knows whose it is.
class Engine final : public vorn::VORN {
public:
    explicit Engine(int slot);
    ~Engine() override;

    foundation::concurrent::future<std::vector<foundation::tovrindata::Array>> feval(const std::string& function,
        const std::vector<foundation::tovrindata::Array>& arguments, std::size_t nargout,
        cmddistributor::RunOptions options, bool reserved,
        foundation::msg_svc::exchange::IDType requestId) override;

    foundation::concurrent::future<void> evalAsync(const std::u16string& statement,
        cmddistributor::RunOptions options, foundation::msg_svc::exchange::IDType requestId) override;

    vorn::ContextId getContextId() const override { return 7; }

    const int slot;
    int timer = -1;
};

} // namespace simulation
