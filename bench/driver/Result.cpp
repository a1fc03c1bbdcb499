#include "bench/driver/Result.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

namespace bench {

namespace {

bool keepsTo(double value, const Limit& limit)
{
    return limit.isAtLeast ? value >= limit.bound : value <= limit.bound;
}

std::size_t indexOf(const std::vector<std::string>& names, const std::string& name)
{
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) {
        throw std::logic_error("a limit names the peer \"" + name + "\", which is not measured");
    }
    return static_cast<std::size_t>(found - names.begin());
}

} // namespace

double median(std::vector<double> values)
{
    return quantile(std::move(values), 0.5);
}

double quantile(std::vector<double> values, double share)
{
    std::erase_if(values, [](double value) { return std::isnan(value); });
    if (values.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const auto last = static_cast<double>(values.size() - 1);
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(share * last);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

std::vector<double> Result::valuesOf(std::size_t side, std::size_t figure) const
{
    std::vector<double> values;
    for (const Values& round : rounds.at(side)) {
        values.push_back(round.at(figure));
    }
    return values;
}

std::vector<double> Result::ratiosTo(std::size_t peer, std::size_t figure) const
{
    std::vector<double> ratios = valuesOf(0, figure);
    const std::vector<double> others = valuesOf(peer, figure);
    for (std::size_t round = 0; round < ratios.size(); ++round) {
        ratios[round] = others[round] > 0 ? ratios[round] / others[round] : std::nan("");
    }
    return ratios;
}

double Result::measured(std::size_t figure, const Limit& limit) const
{
    return median(limit.peer.empty() ? valuesOf(0, figure) : ratiosTo(indexOf(sides, limit.peer), figure));
}

bool Result::isMet(std::size_t figure, const Limit& limit) const
{
    return keepsTo(measured(figure, limit), limit);
}

bool Result::hasBrokenPromise() const
{
    for (std::size_t figure = 0; figure < figures.size(); ++figure) {
        for (const Limit& limit : figures[figure].limits) {
            const std::vector<double> values = valuesOf(0, figure);
            if (figures[figure].isPromise && !std::all_of(values.begin(), values.end(), [&](double value) {
                    return keepsTo(value, limit);
                })) {
                return true;
            }
        }
    }
    return false;
}

Result measure(Measurement measurement, int rounds)
{
    Result result { measurement.name, measurement.figures, {}, {} };
    for (const Side& side : measurement.sides) {
        result.sides.push_back(side.name);
    }
    const std::size_t sides = measurement.sides.size();
    result.rounds.resize(sides);
    const auto allRounds = static_cast<std::size_t>(rounds * measurement.roundsForOne);
    for (std::size_t round = 0; round < allRounds; ++round) {
        for (std::size_t turn = 0; turn < sides; ++turn) {
            const std::size_t side = (round + turn) % sides;
            Values values = measurement.sides[side].measure();
            if (values.size() != result.figures.size()) {
                throw std::logic_error(
                    measurement.name + ", " + result.sides[side] + ": not a value for each figure");
            }
            result.rounds[side].push_back(std::move(values));
        }
    }
    return result;
}

} // namespace bench
