#include "tests/random_programs/run/Shrink.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace random_programs {

namespace {

class Shrinker {
public:
    Shrinker(Program program, const StillFails& fails)
        : m_best(std::move(program))
        , m_fails(fails)
    {
    }

    Program shrink()
    {
        for (bool isShorter = true; isShorter;) {
            isShorter = dropTimers();
            isShorter = dropSteps() || isShorter;
        }
        simplify();
        return m_best;
    }

private:
    template <typename Change> bool tryTo(Change change)
    {
        Program candidate = m_best;
        change(candidate);
        if (candidate == m_best || !m_fails(candidate)) {
            return false;
        }
        m_best = std::move(candidate);
        return true;
    }

    /// Half of them at once at first, then fewer and fewer.
    bool dropSteps()
    {
        bool isShorter = false;
        for (std::size_t size = std::max<std::size_t>(1, m_best.steps.size() / 2); size > 0; size /= 2) {
            for (std::size_t at = 0; at < m_best.steps.size();) {
                const bool dropped = tryTo([at, size](Program& program) {
                    const auto begin = program.steps.begin() + static_cast<std::ptrdiff_t>(at);
                    const auto count = static_cast<std::ptrdiff_t>(std::min(size, program.steps.size() - at));
                    program.steps.erase(begin, begin + count);
                });
                isShorter = isShorter || dropped;
                at += dropped ? 0 : size;
            }
        }
        return isShorter;
    }

    /// A timer goes with all that it does, and that is done to it; those behind it move up.
    bool dropTimers()
    {
        bool isShorter = false;
        for (int timer = static_cast<int>(m_best.timers.size()) - 1; timer >= 0 && m_best.timers.size() > 1;
             --timer) {
            const bool dropped = tryTo([timer](Program& program) {
                program.timers.erase(program.timers.begin() + timer);
                std::erase_if(program.steps,
                    [timer](const Step& step) { return step.timer == timer || step.actor == timer; });
                for (Step& step : program.steps) {
                    step.timer -= step.timer > timer ? 1 : 0;
                    step.actor -= step.actor > timer ? 1 : 0;
                }
            });
            isShorter = isShorter || dropped;
        }
        return isShorter;
    }

    void simplify()
    {
        for (std::size_t i = 0; i < m_best.timers.size(); ++i) {
            for (const int callback : { startFcn, stopFcn, errorFcn }) {
                tryTo([=](Program& program) {
                    program.timers[i].has.at(static_cast<std::size_t>(callback)) = false;
                });
            }
            tryTo([i](Program& program) { program.timers[i].startDelay = 0.0; });
            tryTo([i](Program& program) { program.timers[i].mode = 0; });
            tryTo([i](Program& program) { program.timers[i].busyMode = 0; });
            tryTo([i](Program& program) { program.timers[i].tasks = 1; });
            tryTo([i](Program& program) { program.timers[i].period = 1.0; });
        }
        for (std::size_t i = 0; i < m_best.steps.size(); ++i) {
            tryTo([i](Program& program) { program.steps[i].inCoroutine = false; });
            tryTo([i](Program& program) { program.steps[i].call = 1; });
            if (m_best.steps[i].verb == Verb::Busy || m_best.steps[i].verb == Verb::Pause) {
                tryTo([i](Program& program) { program.steps[i].value = 0.0; });
            }
        }
    }

    Program m_best;
    const StillFails& m_fails;
};

} // namespace

Program shrink(const Program& program, const StillFails& fails)
{
    return Shrinker(program, fails).shrink();
}

} // namespace random_programs
