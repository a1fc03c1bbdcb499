#pragma once

#include "embedded_host/diagnosis/Firing.hpp"
#include "embedded_host/diagnosis/FiringStatistics.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tovrinhost {

/// What people are told of a timer. One for each run of a script's timer.
struct TimerDescription {
    std::uint64_t number = 0; ///< of the script's timer, counted from 1
    std::string name;
    std::string settings; ///< "FixedRate, Drop, 0.1 s"
    Nanoseconds period = 0;

    /// Where the functions of its StartFcn, StopFcn, TimerFcn and ErrorFcn are defined: "script.lua:5"; empty
    /// where there is none.
    std::array<std::string, 4> places;

    // Of one that a script has.
    Nanoseconds made = 0;
    std::shared_ptr<const FiringStatistics> statistics; ///< null of others

    static std::size_t indexOf(tovrintimer::WorkKind kind)
    {
        return kind == tovrintimer::ErrorFcnWork ? 3 : static_cast<std::size_t>(kind);
    }

    const std::string& placeOf(tovrintimer::WorkKind kind) const { return places.at(indexOf(kind)); }
};

/// The timers by their identity in the library, the latest 32,768 of them; and those that a script has.
///
/// Threading: any thread.
class TimerTable {
public:
    using Identity = foundation::msg_svc::exchange::IDType;
    using Description = std::shared_ptr<const TimerDescription>;

    static constexpr std::size_t capacity = 32'768;

    void put(const Identity& timer, TimerDescription description);

    /// A timer of the script that there is, by its number, or that there is no more.
    void putLive(TimerDescription description);
    void removeLive(std::uint64_t number);

    /// In the order of their numbers; the first of them where there are more than `most`.
    std::vector<Description> live(std::size_t most = std::numeric_limits<std::size_t>::max()) const;
    std::size_t liveCount() const;
    Description findLive(std::uint64_t number) const; ///< null if there is none

    /// Of one of these, that of its latest run.
    std::optional<Identity> identityOf(std::uint64_t number) const;

    /// \returns null where it has gone
    Description find(const Identity& timer) const;

private:
    struct Live {
        Description description;
        std::optional<Identity> timer;
    };

    mutable std::mutex m_mutex;
    std::map<Identity, Description> m_timers; // guarded by m_mutex, like the next
    std::deque<Identity> m_byAge;
    std::map<std::uint64_t, Live> m_live;
};

} // namespace tovrinhost
