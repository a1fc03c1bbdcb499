#include "bench/host/BeatEngine.hpp"
#include "bench/peers/BareBeat.hpp"
#include "bench/peers/HandOff.hpp"
#include "bench/scenarios/LatenessFigures.hpp"
#include "bench/scenarios/Scenarios.hpp"

using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace bench {

namespace {

constexpr auto period = 5ms;

using Late = std::function<void(Clock::time_point)>;

void beatByLibrary(milliseconds time, const Late& late)
{
    const Scheduler scheduler;
    const auto timer
        = makeTimer(std::make_shared<BeatEngine>(period, late), { .period = period, .startDelay = 1ms });
    start(timer);
    std::this_thread::sleep_for(time);
}

/// What a side does for some time, and looked at on the very thread.
template <typename BeatFor> Values onTheSpot(BeatFor beatFor)
{
    Delays delays;
    beatFor([&](Clock::time_point due) { delays.note(due); });
    return latenessValues(delays.microseconds());
}

/// The same, looked at by a second thread.
template <typename BeatFor> Values handedOff(BeatFor beatFor)
{
    Delays delays;
    {
        HandOff handOff([&](Clock::time_point due) { delays.note(due); });
        beatFor([&](Clock::time_point due) { handOff.post(due); });
    }
    return latenessValues(delays.microseconds());
}

} // namespace

std::vector<Measurement> lateness(const Pace& pace)
{
    const auto time = pace.time(500ms);
    const auto library = [=](const Late& late) { beatByLibrary(time, late); };
    const auto condition = [=](const Late& late) { beatByConditionVariable(period, time, late); };
    const auto timerfd = [=](const Late& late) { beatByTimerfd(period, time, late); };
    // How soon a sleeping processor wakes up changes within seconds, and by more than what is compared.
    constexpr int roundsForOne = 4;
    return {
        { "on its thread", latenessFigures({ { 1.10, "condition variable" }, { 1.15, "timerfd" } }),
            { { "library", [=] { return onTheSpot(library); } },
                { "condition variable", [=] { return onTheSpot(condition); } },
                { "timerfd", [=] { return onTheSpot(timerfd); } } },
            roundsForOne },
        { "handed to another", latenessFigures({ { 1.15, "condition variable" } }),
            { { "library", [=] { return handedOff(library); } },
                { "condition variable", [=] { return handedOff(condition); } } },
            roundsForOne },
    };
}

} // namespace bench
