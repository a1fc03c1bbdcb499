#include "embedded_host/timers/Appointment.hpp"

#include <utility>

namespace tovrinhost {

Appointment::Appointment(
    Alarms& alarms, std::shared_ptr<LoopEngine> engine, WallTime moment, std::function<void()> comes)
    : m_alarms(alarms)
    , m_engine(std::move(engine))
    , m_moment(moment)
    , m_comes(std::move(comes))
{
}

std::shared_ptr<Appointment> Appointment::make(
    Alarms& alarms, const std::shared_ptr<LoopEngine>& engine, WallTime moment, std::function<void()> comes)
{
    auto appointment = std::make_shared<Appointment>(alarms, engine, moment, std::move(comes));
    appointment->setAlarm();
    return appointment;
}

Appointment::~Appointment()
{
    m_alarms.cancel(m_moment, m_alarm);
}

void Appointment::setAlarm()
{
    m_alarm = m_alarms.set(m_moment, [engine = m_engine, self = weak_from_this()] {
        engine->loop().post(EventLoop::When::AtEventLoop, [self] {
            if (const auto kept = self.lock()) {
                kept->ring();
            }
        });
    });
}

void Appointment::ring()
{
    if (m_alarms.clock().now() < m_moment) {
        setAlarm(); // the clock has been set back while the interpreter was busy
        return;
    }
    m_hasCome = true;
    m_comes();
}

} // namespace tovrinhost
