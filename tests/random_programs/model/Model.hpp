#pragma once

#include "tests/random_programs/model/BrokenRule.hpp"
#include "tests/random_programs/model/Event.hpp"
#include "tests/random_programs/model/TimerModel.hpp"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace random_programs {

/// Reads what a program has printed, and holds it against the rules that hold whatever the timing.
///
/// It knows nothing of how timers are made: callbacks, actions and reports come in their order, and the stack of
/// what has begun and not ended says what runs within what.
class Model {
public:
    /// \throws BrokenRule
    void process(const Event& event);

    /// The program has ended.
    /// \throws BrokenRule
    void finish(int status);

private:
    /// A callback or an action that has begun.
    struct Frame {
        Event begun;
        std::shared_ptr<Run> run; ///< of a callback
        /// Of an action that pumps: what waited as it began.
        std::vector<std::pair<std::string, std::shared_ptr<Run>>> waiting {};
    };

    void begin(const Event& event);
    void end(const Event& event);
    void call(const Event& event);
    void answer(const Event& event);
    void answerOfTimer(const Event& event, const Frame& frame, TimerModel& timer);
    void answerToWait(const Event& event, const Frame& frame, TimerModel& timer);
    void answerToWaitForSeveral(const Event& event, const Frame& frame);
    void told(const Event& event);
    void ending();
    void report(const Event& event);
    void exit(const Event& event);
    void beginStopPhase();

    TimerModel& makeTimer(const Event& event);
    TimerModel& timer(const Event& event);
    void requirePumping(const Event& event) const;
    void requireNotNested(const Event& event) const;
    void requireWhatWaited(const Frame& frame) const;
    Frame pop(const Event& event, bool isCallback);

    std::map<std::string, TimerModel> m_timers;
    std::vector<Frame> m_stack;
    std::optional<Event> m_error; // to be reported next: what and text
    std::vector<int> m_exitCodes;
    int m_reports = 0;
    bool m_hasEnded = false; // the script
    bool m_isStopPhase = false;
    bool m_isGivenUp = false; // os.exit while the timers were being stopped
};

/// \param output of a program, standard error included
/// \returns the rule that is broken, and by which line; nothing if none is
std::optional<BrokenRule> findBrokenRule(const std::string& output, int status);

} // namespace random_programs
