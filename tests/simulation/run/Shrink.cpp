#include "tests/simulation/run/Shrink.hpp"

#include <algorithm>
#include <cctype>
#include <utility>

namespace simulation {

namespace {

class Shrinker {
public:
    Shrinker(Program program, const std::string& failure, const FindSchedule& find)
        : m_best(std::move(program))
        , m_find(find)
        , m_gist(gist(failure))
    {
    }

    Program shrink()
    {
        for (std::size_t i = 0; i < m_best.timers.size(); ++i) {
            // Long runs need fewer steps to go wrong.
            tryTo([i](Program& program) { program.timers[i].settings.tasks = 1000; });
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
    bool fails(Program candidate)
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
                Program candidate = m_best;
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
            Program candidate = m_best;
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
        Program candidate = m_best;
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
        Program candidate = m_best;
        change(candidate);
        fails(candidate);
    }

    void simplify()
    {
        tryTo([](Program& program) { program.weather.slowThreads = 0; });
        tryTo([](Program& program) { program.weather.lateWakeUps = 0; });
        tryTo([](Program& program) { program.weather.spuriousWakeUps = 0; });
        tryTo([](Program& program) { program.weather.oneIsStarved = false; });
        tryTo([](Program& program) { program.logs = false; });
        tryTo([](Program& program) { program.timerPpe = true; });
        tryTo([](Program& program) { program.settle = 0.0; });
        for (std::size_t i = 0; i < m_best.timers.size(); ++i) {
            tryTo([i](Program& program) { program.timers[i].lasts = 0.0; });
            tryTo([i](Program& program) { program.timers[i].onError = OnError::Nothing; });
            tryTo([i](Program& program) { program.timers[i].settings.hasStart = false; });
            tryTo([i](Program& program) { program.timers[i].settings.hasStop = false; });
            tryTo([i](Program& program) { program.timers[i].settings.hasError = false; });
            tryTo([i](Program& program) { program.timers[i].settings.delay = 0.0; });
            tryTo([i](Program& program) { program.timers[i].settings.tasks = 1; });
            tryTo([i](Program& program) { program.timers[i].settings.period = 1.0; });
            tryTo([i](Program& program) { program.timers[i].settings.busy = 0; });
        }
    }

    Program m_best;
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

Program shrink(const Program& program, const std::string& failure, const FindSchedule& find)
{
    return Shrinker(program, failure, find).shrink();
}

} // namespace simulation
