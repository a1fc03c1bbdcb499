#pragma once

#include "tests/simulation/model/Model.hpp"
#include "timer_src/main/TimerObserver.hpp"

#include <functional>
#include <map>
#include <string>

namespace simulation {

/// What the library tells its observer, held against what can be seen of it otherwise: each piece of work goes its
/// way from the queue or the dispatch to one end, and as many are handed over as the host is given. It is told
/// with no lock held.
class WorkEvents final : public tovrintimer::TimerObserver {
public:
    WorkEvents(const Kernel& kernel, Model& model);

    void queued(const tovrintimer::ObservedWork& work) noexcept override;
    void dispatched(const tovrintimer::ObservedWork& work) noexcept override;
    void handedOver(const tovrintimer::ObservedWork& work) noexcept override;
    void dropped(const tovrintimer::ObservedWork& work, tovrintimer::DropReason why) noexcept override;

    /// At the very end: each piece of work has had its end.
    void checkNothingIsLeft() const;

    /// As many were dropped as the log has records of it. \param records how many begin with a text
    void checkRecords(const std::function<std::size_t(const std::string&)>& records) const;

private:
    enum class State { New, Queued, Dispatched, Ended };

    struct Told {
        State state = State::New;
        tovrintimer::ObservedWork work {};
        bool wantsAttempt = false; // a dropped firing, until another one makes up for it
    };

    Told& at(const tovrintimer::ObservedWork& work);
    void expect(bool holds, const char* what, const tovrintimer::ObservedWork& work) const;
    void expectSame(const Told& told, const tovrintimer::ObservedWork& work) const;
    void noteAttempt(const tovrintimer::ObservedWork& work);

    const Kernel& m_kernel;
    Model& m_model;
    std::map<std::uint64_t, Told> m_told;
    int m_handedOver = 0;
    std::map<tovrintimer::DropReason, std::size_t> m_dropped;
};

} // namespace simulation
