#include "conformance/HostUnderTest.hpp"

#include "tests/recording_host/Engine.hpp"
#include "tests/recording_host/Journal.hpp"
#include "tests/recording_host/Retractions.hpp"
#include "tests/recording_host/Services.hpp"
#include "tests/recording_host/TimerTasks.hpp"

namespace conformance {

namespace {

class RecordingHost : public HostUnderTest {
public:
    RecordingHost()
    {
        using recording::Outcome;
        recording::journal().clear();
        recording::timerTasks().reset();
        recording::journal().when("feval succeed", [this] { m_engine->setOutcome(Outcome::Ready); });
        recording::journal().when("feval fail", [this] { m_engine->setOutcome(Outcome::Error); });
    }

    ~RecordingHost() override
    {
        recording::journal().clear();
        recording::timerTasks().reset();
    }

    std::shared_ptr<vorn::VORN> engine() override { return m_engine; }

    void runPending() override
    {
        while (recording::timerTasks().pending() > 0) {
            try {
                recording::timerTasks().runNext();
            } catch (const std::exception&) {
                // What leaves a task is the host's, and this one does not mind.
            }
        }
    }

    std::string succeedingFunction() override { return "succeed"; }
    std::string failingFunction() override { return "fail"; }
    void setTimerPpe(bool on) override { recording::setTimerPpe(on); }

private:
    const std::shared_ptr<recording::Engine> m_engine = std::make_shared<recording::Engine>();
};

} // namespace

std::unique_ptr<HostUnderTest> makeHost()
{
    return std::make_unique<RecordingHost>();
}

void giveToObjectSystem(const std::shared_ptr<pelk::factory::full::StdShareable>& object)
{
    recording::expectObject(object.get());
}

std::size_t objectsInObjectSystem()
{
    return recording::expectedObjects();
}

} // namespace conformance
