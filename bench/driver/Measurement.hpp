#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// What a figure of the library is to keep to.
struct Limit {
    double bound;
    std::string peer {}; ///< of the ratio to this peer's figure; empty: of the figure itself
    bool isAtLeast = false; ///< else at most
};

/// One of the figures that a measurement gives.
struct Figure {
    std::string name;
    std::string unit;
    std::vector<Limit> limits {};
    /// A figure that breaks its limit is a fault of the library whatever the machine is busy with: the exit status
    /// tells.
    bool isPromise = false;
};

/// One value for each figure, in their order; NaN for one that this side does not have.
using Values = std::vector<double>;

/// One of those that are compared. Measuring takes as long as it says, and leaves nothing at work.
struct Side {
    std::string name;
    std::function<Values()> measure;
};

/// The same job, done by several. What a side keeps from one round to the next lives as long as its function.
struct Measurement {
    std::string name;
    std::vector<Figure> figures;
    std::vector<Side> sides; ///< the library first, then its peers
    int roundsForOne = 1; ///< where many short rounds tell more than a long one
};

} // namespace bench
