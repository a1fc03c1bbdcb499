#include "conformance/HostUnderTest.hpp"

#include "Engine.hpp"
#include "Log.hpp"
#include "Services.hpp"

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>

namespace conformance {

namespace {

using Arguments = external_host::Engine::Arguments;

class ExternalHost : public HostUnderTest {
public:
    ~ExternalHost() override
    {
        m_isOver = true;
        m_engine->post([] {});
    }

    std::shared_ptr<vorn::VORN> engine() override { return m_engine; }

    void runPending() override
    {
        const auto done = std::make_shared<std::promise<void>>();
        m_engine->post([done] { done->set_value(); });
        done->get_future().wait();
    }

    std::string succeedingFunction() override { return "succeed"; }
    std::string failingFunction() override { return "fail"; }
    void setTimerPpe(bool on) override { external_host::setTimerPpe(on); }

private:
    const std::shared_ptr<external_host::Engine> m_engine
        = std::make_shared<external_host::Engine>(external_host::Engine::Functions {
            { "succeed", [](const Arguments&) {} },
            { "fail", [](const Arguments&) { throw std::runtime_error("error in the callback"); } },
        });
    std::atomic<bool> m_isOver { false };
    // Last, so that it is joined before what it uses goes.
    const std::jthread m_thread { [this] {
        m_engine->serve([this] { return m_isOver.load(); }, std::chrono::hours(1));
    } };
};

} // namespace

std::unique_ptr<HostUnderTest> makeHost()
{
    return std::make_unique<ExternalHost>();
}

void giveToObjectSystem(const std::shared_ptr<pelk::factory::full::StdShareable>& object)
{
    external_host::share(object.get());
}

std::size_t objectsInObjectSystem()
{
    return external_host::sharedObjects();
}

void setLogMask(const std::string& channel, std::uint32_t mask)
{
    external_host::setLogMask(channel, mask);
}

void destroyProcessScope()
{
    external_host::destroyProcessScope();
}

} // namespace conformance
