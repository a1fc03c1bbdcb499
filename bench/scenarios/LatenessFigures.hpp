#pragma once

#include "bench/driver/Measurement.hpp"

namespace bench {

/// The figures of delays in microseconds: their median, the value that 99 % of them keep to, and how many were
/// early, of which there may be none. \param limits of the median
std::vector<Figure> latenessFigures(std::vector<Limit> limits);
Values latenessValues(const std::vector<double>& microseconds);

} // namespace bench
