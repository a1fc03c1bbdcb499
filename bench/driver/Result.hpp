#pragma once

#include "bench/driver/Measurement.hpp"

#include <cstddef>

namespace bench {

/// The middle one; of an even number, the lower of the two in the middle. NaN where there are none.
double median(std::vector<double> values);

/// The value below which this share of them lies, 0 to 1. NaN where there are none.
double quantile(std::vector<double> values, double share);

/// What came of a measurement.
struct Result {
    std::string name;
    std::vector<Figure> figures;
    std::vector<std::string> sides; ///< the library first
    std::vector<std::vector<Values>> rounds; ///< of each side, in its order

    std::vector<double> valuesOf(std::size_t side, std::size_t figure) const;

    /// The library's figure divided by a peer's, in each round.
    std::vector<double> ratiosTo(std::size_t peer, std::size_t figure) const;

    /// What the limit is about: the median of the library's figures, or of its ratios to the peer's.
    double measured(std::size_t figure, const Limit& limit) const;
    bool isMet(std::size_t figure, const Limit& limit) const;

    /// Whether a promise was broken in any round.
    bool hasBrokenPromise() const;
};

/// Measures in rounds: in each of them every side once, a different one first each time, so that what else the
/// machine does hits all alike. \param rounds multiplied by the measurement's `roundsForOne`
/// \throws what a side throws
Result measure(Measurement measurement, int rounds);

} // namespace bench
