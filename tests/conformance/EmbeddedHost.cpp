#include "conformance/HostUnderTest.hpp"

#include "embedded_host/engine/Engine.hpp"
#include "embedded_host/log/LogSinks.hpp"
#include "embedded_host/services/Features.hpp"
#include "embedded_host/services/ProcessScope.hpp"

namespace conformance {

namespace {

class EmbeddedHost : public HostUnderTest {
public:
    EmbeddedHost()
    {
        m_engine->run([](tovrinhost::Interpreter& interpreter) {
            interpreter.execute(
                "function succeed() end function fail() error('error in the callback') end", "=functions");
        });
    }

    ~EmbeddedHost() override
    {
        m_engine->shutDown();
        tovrinhost::setFeature("TIMER_PPE", true);
    }

    std::shared_ptr<vorn::VORN> engine() override { return m_engine; }

    // The interpreter thread works off its queue in order, so what was asked for before has been done by then.
    void runPending() override
    {
        m_engine->run([](tovrinhost::Interpreter&) {});
    }

    std::string succeedingFunction() override { return "succeed"; }
    std::string failingFunction() override { return "fail"; }
    void setTimerPpe(bool on) override { tovrinhost::setFeature("TIMER_PPE", on); }

private:
    const std::shared_ptr<tovrinhost::Engine> m_engine = tovrinhost::Engine::start();
};

} // namespace

std::unique_ptr<HostUnderTest> makeHost()
{
    return std::make_unique<EmbeddedHost>();
}

void setLogMask(const std::string& channel, std::uint32_t mask)
{
    tovrinhost::setLogMask(channel, mask);
}

void destroyProcessScope()
{
    tovrinhost::destroyProcessScope();
}

} // namespace conformance
