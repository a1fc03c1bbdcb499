#include "embedded_host/testing/VirtualWorld.hpp"

#include "embedded_host/program/virtual/Calendar.hpp"

#include <utility>

namespace tovrinhost {

namespace {

class KernelClock final : public TestClock {
public:
    explicit KernelClock(virtual_time::Kernel& kernel)
        : m_kernel(kernel)
        , m_begin(kernel.now())
    {
    }

    Nanoseconds now() const override { return m_kernel.now() - m_begin; }

    void letOthersRun() override { m_kernel.letOthersRun(); }

    std::optional<Nanoseconds> nextDue() const override
    {
        m_kernel.letOthersRun(); // one that was woken for nothing waits for no moment yet
        const auto next = m_kernel.nextMoment();
        return next ? std::optional(*next - m_begin) : std::nullopt;
    }

    void onStandstill(std::function<void(const std::string&)> help) override
    {
        m_kernel.onDeadlock([help = std::move(help)](const std::string& waits) {
            if (!help) {
                return false;
            }
            // In front stands the kernel's own time, and behind the last row a line break.
            const std::size_t rows = waits.find('\n') + 1;
            help(waits.substr(rows, waits.size() - rows - 1));
            return true;
        });
    }

private:
    virtual_time::Kernel& m_kernel;
    const virtual_time::Moment m_begin;
};

} // namespace

std::string runInWorld(std::uint64_t seed, const std::function<void(TestClock&)>& body)
{
    virtual_time::Kernel::Options options = virtual_time::optionsOfSchedule(seed);
    options.calendarAtZero = calendarOfVirtualTime() - options.begin;
    virtual_time::Kernel kernel(options);
    kernel.begin();
    try {
        KernelClock clock(kernel);
        body(clock);
    } catch (const virtual_time::Failure& failure) {
        return failure.what();
    }
    return "";
}

} // namespace tovrinhost
