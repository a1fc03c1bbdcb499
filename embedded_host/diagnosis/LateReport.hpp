#pragma once

#include "embedded_host/diagnosis/Diagnosis.hpp"
#include "embedded_host/diagnosis/LogReader.hpp"

#include <cstdint>

namespace tovrinhost {

/// Tells on standard error why callbacks were late: of at most one in each second, the latest of those that there
/// are, and of the others how many.
///
/// Threading: one thread at a time.
class LateReport {
public:
    /// \param above how late a callback is that is told of
    LateReport(const Diagnosis& diagnosis, Nanoseconds above);
    LateReport(const LateReport&) = delete;
    LateReport& operator=(const LateReport&) = delete;

    /// Tells how many have not been told of yet.
    ~LateReport();

    void take(const News& news, Nanoseconds now);

private:
    void tellOfOthers();

    const Diagnosis& m_diagnosis;
    const Nanoseconds m_above;
    Nanoseconds m_next = 0; ///< when the next one may be told of
    std::uint64_t m_leftOut = 0;
};

} // namespace tovrinhost
