#include "tests/recording_host/RecordingHostTest.hpp"

#include "embedded_host/log/LogSinks.hpp"
#include "embedded_host/services/ProcessScope.hpp"
#include "host/foundation/tovrindata/ArrayFactory.hpp"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace recording {

using tovrintimer::TimerInfo;
using tovrintimer::TimerScheduler;

namespace {

/// Whether a text begins with what the pattern shows: a digit for each 0, anything else as it stands.
bool looksLike(std::string_view text, std::string_view pattern)
{
    return text.size() >= pattern.size()
        && std::equal(pattern.begin(), pattern.end(), text.begin(), [](char wanted, char found) {
               return wanted == '0' ? found >= '0' && found <= '9' : found == wanted;
           });
}

std::string withoutTimes(const std::string& text)
{
    constexpr std::string_view second = "0000-00-00 00:00:00";
    constexpr std::string_view fraction = ".000";
    std::string plain;
    for (std::string_view rest = text; !rest.empty();) {
        if (looksLike(rest, second)) {
            plain += "<time>";
            rest.remove_prefix(second.size());
            rest.remove_prefix(looksLike(rest, fraction) ? fraction.size() : 0);
        } else {
            plain += rest.front();
            rest.remove_prefix(1);
        }
    }
    return plain;
}

} // namespace

void RecordingHostTest::SetUp()
{
    journal().clear();
    timerTasks().reset();
    setTimerPpe(true);
    resetPlatform();
    m_retractionsBefore = retractions();
    m_capture = std::make_unique<LogCapture>();
    setLogMasks(allSeverities);
    m_engine = std::make_shared<Engine>();
    m_interruptData = std::make_shared<InterruptStateData>(m_engine->getContextId());
    journal().clearEvents();
}

void RecordingHostTest::TearDown()
{
    // The actions of a test refer to its variables, which have gone.
    journal().clear();
    timerTasks().reset();
    tovrinhost::destroyProcessScope();
    m_engine.reset();
    setLogMasks(0);
    m_capture.reset();

    EXPECT_TRUE(std::ranges::all_of(m_timers, [](const auto& timer) { return timer.expired(); }))
        << "a timer is still owned by somebody";
    EXPECT_EQ(expectedObjects(), 0U) << "an object was not retracted";
    EXPECT_EQ(retractions() - m_retractionsBefore, m_timers.size()) << "retractions and timers do not match";
    EXPECT_EQ(Engine::alive(), 0U) << "an engine is still shared by somebody";
    EXPECT_EQ(timerResolutionBegins(), timerResolutionEnds()) << "the timer resolution was not given back";
}

std::shared_ptr<TimerInfo> RecordingHostTest::makeTimer(const std::string& name)
{
    foundation::tovrindata::ArrayFactory factory;
    auto timer = std::make_shared<TimerInfo>(factory.createCharArray(name), m_engine, m_interruptData);
    expectObject(timer.get());
    m_timers.push_back(timer);
    std::ostringstream id;
    id << timer->getId();
    m_names.emplace_back(id.str(), "<" + name + ">");
    return timer;
}

TimerScheduler& RecordingHostTest::scheduler() const
{
    return *TimerScheduler::getPerTOVRINProcessInstance();
}

void RecordingHostTest::setLogMasks(std::uint32_t mask) const
{
    for (const char* channel :
        { "tovrintimer::TimerScheduler", "tovrintimer::WorkItem", "tovrintimer::workHandler" }) {
        tovrinhost::setLogMask(channel, mask);
    }
}

std::vector<std::string> RecordingHostTest::calls() const
{
    return journal().texts(Kind::Call);
}

std::vector<std::string> RecordingHostTest::logs(const std::string& channel, std::thread::id thread) const
{
    std::vector<std::string> texts;
    for (const Event& event : journal().events()) {
        const bool oncePerProcess = event.text.starts_with("Timer Running on ");
        if (event.kind == Kind::Log && !oncePerProcess && (channel.empty() || channel == event.channel)
            && (thread == std::thread::id() || thread == event.thread)) {
            texts.push_back(plain(event.text));
        }
    }
    return texts;
}

std::vector<std::string> RecordingHostTest::story(std::thread::id thread) const
{
    std::vector<std::string> texts;
    for (const Event& event : journal().events()) {
        const bool oncePerProcess = event.text.starts_with("Timer Running on ");
        if (event.kind != Kind::Detail && event.thread == thread && !oncePerProcess) {
            texts.push_back(event.kind == Kind::Log ? plain(event.text) : event.text);
        }
    }
    return texts;
}

std::thread::id RecordingHostTest::schedulerThread() const
{
    for (const Event& event : journal().events()) {
        if (event.kind == Kind::Call && event.text == "setCurrentThreadName TimerScheduler") {
            return event.thread;
        }
    }
    throw std::logic_error("there is no scheduler thread yet");
}

std::string RecordingHostTest::plain(std::string text) const
{
    for (const auto& [id, name] : m_names) {
        for (auto at = text.find(id); at != std::string::npos; at = text.find(id)) {
            text.replace(at, id.size(), name);
        }
    }
    return withoutTimes(text);
}

} // namespace recording
