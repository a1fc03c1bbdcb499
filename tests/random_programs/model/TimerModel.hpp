#pragma once

#include "tests/random_programs/model/Event.hpp"
#include "tests/random_programs/model/Run.hpp"
#include "tests/random_programs/model/Settings.hpp"

#include <deque>
#include <memory>
#include <set>
#include <string>

namespace random_programs {

/// What the rules know of one timer: its runs from the earliest that is not over, and what may be read of it.
///
/// Every operation throws BrokenRule where what has been seen cannot be.
class TimerModel {
public:
    TimerModel(std::string name, const Settings& settings)
        : m_name(std::move(name))
        , m_settings(settings)
    {
    }

    /// A callback begins. \returns the run that it belongs to
    std::shared_ptr<Run> begin(const Event& event);
    void end(Run& run, const Event& event);

    /// \param called when the script asked for it
    void start(const Event& answer, double called);

    /// A short form has made it, and started it.
    void made(const Event& event);
    void stop(const std::string& result);
    void assign(const Event& answer, const std::string& assignment, const Reading& before);

    /// A callback of this run is told of the run's end.
    void told(const Run& run, const Event& event) const;

    void deleteBegins();
    void deleteEnds();

    /// Whether a wait that begins or ends now has nothing to wait for.
    bool isQuiet() const;

    /// A wait has returned true, or the program has ended.
    void expectQuiet(const char* rule);

    /// How a wait that has returned true says that it has ended.
    std::string reason() const { return m_latestReason; }

    bool keepsAlive() const { return m_settings.keepsAlive; }

    /// An error has been reported, by one of its callbacks or where it was overtaken.
    void reportOfCallback(const std::string& text);
    void reportOfOverrun(const Event& report);

    /// The script has ended with an error, or called os.exit.
    void stopPhaseBegins();

    /// What it says of itself.
    void read(const Event& event);

    /// The callback that is sure to wait for the interpreter, and of which run; none where there is none.
    std::string waiting(std::shared_ptr<Run>& run) const;

    bool isDeleted() const { return m_isDeleted; }
    bool isBeingDeleted() const { return m_deleting > 0; }
    bool isInCallback() const { return m_active > 0; }
    void leaveCallback(Run& run);

private:
    enum class Answer { Accept, Refuse, Either };

    Answer answerToStart() const;
    Answer answerToTasks(double tasks, const Reading& before, const Reading& after) const;
    void accept(double called);
    std::shared_ptr<Run> runOf(const Event& event);
    void popRun();
    void readRunning(const std::string& running);
    std::set<std::string> counts() const;
    std::string label() const { return "timer " + m_name; }

    const std::string m_name;
    Settings m_settings;
    std::deque<std::shared_ptr<Run>> m_runs;
    int m_latestCount = 0; // of a run that is over, like the next
    std::string m_latestReason = "nil";
    std::set<std::string> m_lastErrors { "nil" }; // what LastError may be
    int m_active = 0; // of its callbacks, on the stack
    int m_deleting = 0;
    bool m_isDeleted = false;
    bool m_isStopPhase = false;
};

} // namespace random_programs
