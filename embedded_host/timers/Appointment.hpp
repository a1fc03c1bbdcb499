#pragma once

#include "embedded_host/clock/Alarms.hpp"
#include "embedded_host/engine/LoopEngine.hpp"

#include <functional>
#include <memory>

namespace tovrinhost {

/// A moment of the wall clock that is waited for, however the clock is set meanwhile.
///
/// Threading: the interpreter thread only.
/// Lifetime: whoever lets go of it is not told of the moment any more.
class Appointment final : public std::enable_shared_from_this<Appointment> {
public:
    /// \param comes called on the interpreter thread once the moment has come; may let go of the appointment
    static std::shared_ptr<Appointment> make(
        Alarms& alarms, const std::shared_ptr<LoopEngine>& engine, WallTime moment, std::function<void()> comes);

    Appointment(Alarms& alarms, std::shared_ptr<LoopEngine> engine, WallTime moment, std::function<void()> comes);
    Appointment(const Appointment&) = delete;
    Appointment& operator=(const Appointment&) = delete;
    ~Appointment();

    WallTime moment() const { return m_moment; }
    bool hasCome() const { return m_hasCome; }

private:
    void setAlarm();
    void ring();

    Alarms& m_alarms;
    const std::shared_ptr<LoopEngine> m_engine;
    const WallTime m_moment;
    const std::function<void()> m_comes;
    Alarms::Number m_alarm = 0;
    bool m_hasCome = false;
};

} // namespace tovrinhost
