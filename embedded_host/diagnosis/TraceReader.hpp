#pragma once

#include "embedded_host/diagnosis/Explanation.hpp"
#include "embedded_host/diagnosis/TimerTable.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tovrinhost {

/// Which firings of a trace are wanted.
struct TraceQuestion {
    std::string file;
    std::optional<std::string> timer; ///< by name
    std::optional<std::uint64_t> run;
    std::size_t worst
        = 10; ///< at most so many: those that were the latest; and of those that never ran, the first
};

/// Reads explanations out of a trace, the latest firing first.
///
/// The file is read twice, line by line: once for the firings that are wanted, once for what else went on while
/// they were late. The memory that it takes hangs on the question, not on the file.
class TraceReader {
public:
    /// \throws std::runtime_error that names the file if it cannot be read, or is no trace of this program
    explicit TraceReader(const TraceQuestion& question);

    /// What the file says; a last line that was cut short does not count.
    const std::vector<Explanation>& explanations() const { return m_explanations; }

    /// Those that never ran; none where the question is about a run.
    const std::vector<Firing>& neverRan() const { return m_neverRan; }

    /// How many more of them there are than the question asks for.
    std::size_t moreNeverRan() const { return m_moreNeverRan; }

    /// \returns null for a timer that the trace does not name
    TimerTable::Description find(const TimerTable::Identity& timer) const { return m_timers.find(timer); }

private:
    struct Wanted {
        Firing firing;
        Circumstances circumstances;
    };

    void readFirings(const TraceQuestion& question);
    void readCircumstances(const TraceQuestion& question);
    bool isWanted(const Firing& firing, const TraceQuestion& question) const;
    void take(const Firing& firing, std::size_t most);
    void addDispatch(const struct DispatchEvent& event);
    void addActivity(const Activity& activity);

    TimerTable m_timers;
    std::vector<Wanted> m_wanted;
    std::size_t m_pieces = 0; // of circumstances
    std::vector<Explanation> m_explanations;
    std::vector<Firing> m_neverRan;
    std::size_t m_moreNeverRan = 0;
};

} // namespace tovrinhost
