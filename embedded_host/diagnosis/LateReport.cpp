#include "embedded_host/diagnosis/LateReport.hpp"

#include <iostream>
#include <string>
#include <utility>

namespace tovrinhost {

LateReport::LateReport(const Diagnosis& diagnosis, Nanoseconds above)
    : m_diagnosis(diagnosis)
    , m_above(above)
{
}

LateReport::~LateReport()
{
    tellOfOthers();
}

void LateReport::take(const News& news, Nanoseconds now)
{
    constexpr Nanoseconds second = 1'000'000'000;
    const Firing* latest = nullptr;
    for (const Firing& firing : news.over) {
        if (firing.started != 0 && firing.lateness() > m_above) {
            ++m_leftOut;
            latest = latest == nullptr || firing.lateness() > latest->lateness() ? &firing : latest;
        }
    }
    if (latest == nullptr || now < m_next) {
        return;
    }
    --m_leftOut;
    m_next = now + second;
    std::cerr << "tovrin: late: " + m_diagnosis.inquiry().text(*latest);
    tellOfOthers();
}

void LateReport::tellOfOthers()
{
    if (const std::uint64_t others = std::exchange(m_leftOut, 0); others > 0) {
        std::cerr << "tovrin: late: " + std::to_string(others) + " more "
                + (others == 1 ? "callback was" : "callbacks were") + " late and left out\n";
    }
}

} // namespace tovrinhost
