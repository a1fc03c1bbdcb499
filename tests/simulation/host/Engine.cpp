#include "tests/simulation/host/Engine.hpp"

foundation::msg_svc::exchange::IDType vorn::VORN::createRequestID()
{
    simulation::Host::current().checkCall("createRequestID");
    return {};
}

namespace simulation {

Engine::Engine(int slotNumber)
    : slot(slotNumber)
{
    Host::current().engineMade(1);
}

Engine::~Engine()
{
    Host::current().engineMade(-1);
}

void Engine::evaluate(const foundation::tovrindata::Array& /*timerObject*/, WorkKind callback)
{
    Host::current().checkCall("feval");
    Host::current().evaluate(*this, callback);
}

void Engine::wakeUp()
{
    Host::current().checkCall("evalAsync");
    Host::current().woken(*this);
}

} // namespace simulation
