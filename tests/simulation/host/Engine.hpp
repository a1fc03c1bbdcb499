#pragma once

#include "tests/simulation/host/Host.hpp"
#include "tests/test_host/Engine.hpp"

namespace simulation {

/// The engine as one timer sees it: it knows whose it is.
class Engine final : public test_host::Engine {
public:
    explicit Engine(int slot);
    ~Engine() override;

    const int slot;
    int timer = -1;

private:
    void evaluate(const foundation::tovrindata::Array& timerObject, WorkKind callback) override;
    void wakeUp() override;
};

} // namespace simulation
