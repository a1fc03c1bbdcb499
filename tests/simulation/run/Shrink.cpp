#include "tests/simulation/run/Shrink.hpp"

#include <algorithm>
#include <cctype>
#include <utility>

namespace simulation {

namespace {

class Shrinker {
public:
    Shrinker(Script script, const std::string& failure, const FindSchedule& find)
        : m_best(std::move(script))
        , m_find(find)
        , m_gist(gist(failure))
    {
    }

    Script shrink()
    {
        for (std::size_t i = 0; i < m_best.timers.size(); ++i) {
            // Long runs need fewer steps to go wrong.
            tryTo([i](Script& script) { script.timers[i].settings.tasks = 1000; });
        }
        for (bool isShorter = true; isShorter;) {
            isShorter = dropSteps();
            isShorter = dropTimers() || isShorter;
        }
        closeRanks();
        simplify();
        return m_best;
    }

private:
    bool fails(Script candidate)
    {
        const auto schedule = m_find(candidate, m_gist);
        if (!schedule) {
            return false;
        }
        candidate.schedule = *schedule;
        m_best = std::move(candidate);
        return true;
    }

    /// Half of them at once at first, then fewer and fewer.
    bool dropSteps()
    {
        bool isShorter = false;
        for (std::size_t size = std::max<std::size_t>(1, m_best.steps.size() / 2); size > 0; size /= 2) {
            for (std::size_t at = 0; at < m_best.steps.size();) {
                Script candidate = m_best;
                const auto begin = candidate.steps.begin() + static_cast<std::ptrdiff_t>(at);
                candidate.steps.erase(
                    begin, begin + static_cast<std::ptrdiff_t>(std::min(size, candidate.steps.size() - at)));
                if (fails(candidate)) {
                    isShorter = true;
                } else {
                    at += size;
                }
            }
        }
        return isShorter;
    }

    /// Timers that no step needs go, and those behind them move up.
    bool dropTimers()
    {
        bool isShorter = false;
        for (int timer = static_cast<int>(m_best.timers.size()) - 1; timer >= 0 && m_best.timers.size() > 1;
             --timer) {
            Script candidate = m_best;
            candidate.timers.erase(candidate.timers.begin() + timer);
            std::erase_if(candidate.steps, [timer](const Step& step) {
                return step.timer == timer || (step.byCallback && step.actor == timer);
            });
            for (Step& step : candidate.steps) {
                step.timer -= step.timer > timer ? 1 : 0;
                step.actor -= step.byCallback && step.actor > timer ? 1 : 0;
            }
            isShorter = fails(candidate) || isShorter;
        }
        return isShorter;
    }

    /// Host threads that have nothing to do go.
    void closeRanks()
    {
        Script candidate = m_best;
        for (int host = m_best.hostThreads() - 1; host >= 0; --host) {
            const auto isOfHost = [host](const Step& step) { return !step.byCallback && step.actor == host; };
            if (std::ranges::none_of(candidate.steps, isOfHost)) {
                for (Step& step : candidate.steps) {
                    step.actor -= !step.byCallback && step.actor > host ? 1 : 0;
                }
            }
        }
        fails(candidate);
    }

    template <typename Change> void tryTo(Change change)
    {
        Script candidate = m_best;
        change(candidate);
        fails(candidate);
    }

    void simplify()
    {
        tryTo([](Script& script) { script.weather.slowThreads = 0; });
        tryTo([](Script& script) { script.weather.lateWakeUps = 0; });
        tryTo([](Script& script) { script.weather.spuriousWakeUps = 0; });
        tryTo([](Script& script) { script.weather.oneIsStarved = false; });
        tryTo([](Script& script) { script.logs = false; });
        tryTo([](Script& script) { script.timerPpe = true; });
        tryTo([](Script& script) { script.settle = 0.0; });
        for (std::size_t i = 0; i < m_best.timers.size(); ++i) {
            tryTo([i](Script& script) { script.timers[i].lasts = 0.0; });
            tryTo([i](Script& script) { script.timers[i].onError = OnError::Nothing; });
            tryTo([i](Script& script) { script.timers[i].settings.hasStart = false; });
            tryTo([i](Script& script) { script.timers[i].settings.hasStop = false; });
            tryTo([i](Script& script) { script.timers[i].settings.hasError = false; });
            tryTo([i](Script& script) { script.timers[i].settings.delay = 0.0; });
            tryTo([i](Script& script) { script.timers[i].settings.tasks = 1; });
            tryTo([i](Script& script) { script.timers[i].settings.period = 1.0; });
            tryTo([i](Script& script) { script.timers[i].settings.busy = 0; });
        }
    }

    Script m_best;
    const FindSchedule& m_find;
    const std::string m_gist;
};

} // namespace

std::string gist(const std::string& failure)
{
    std::string text = failure.substr(0, failure.find('\n'));
    std::erase_if(text, [](unsigned char unit) { return std::isdigit(unit) != 0; });
    return text;
}

Script shrink(const Script& script, const std::string& failure, const FindSchedule& find)
{
    return Shrinker(script, failure, find).shrink();
}

} // namespace simulation
