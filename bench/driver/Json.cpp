#include "bench/driver/Report.hpp"

#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace bench {

namespace {

using nlohmann::ordered_json;

/// JSON knows no NaN.
ordered_json number(double value)
{
    return std::isfinite(value) ? ordered_json(value) : ordered_json();
}

ordered_json numbers(const std::vector<double>& values)
{
    ordered_json list = ordered_json::array();
    for (const double value : values) {
        list.push_back(number(value));
    }
    return { { "median", number(median(values)) }, { "rounds", std::move(list) } };
}

ordered_json toJson(const Result& result, std::size_t figure)
{
    const Figure& what = result.figures[figure];
    ordered_json json { { "measurement", result.name }, { "figure", what.name }, { "unit", what.unit } };
    for (std::size_t side = 0; side < result.sides.size(); ++side) {
        json["sides"][result.sides[side]] = numbers(result.valuesOf(side, figure));
    }
    for (std::size_t peer = 1; peer < result.sides.size(); ++peer) {
        json["ratios"][result.sides[peer]] = numbers(result.ratiosTo(peer, figure));
    }
    for (const Limit& limit : what.limits) {
        json["limits"].push_back({ { limit.isAtLeast ? "at least" : "at most", limit.bound },
            { "peer", limit.peer.empty() ? ordered_json() : ordered_json(limit.peer) },
            { "measured", number(result.measured(figure, limit)) }, { "met", result.isMet(figure, limit) } });
    }
    return json;
}

} // namespace

void writeJson(const std::filesystem::path& file, const std::vector<ScenarioResult>& scenarios, int rounds)
{
    ordered_json json { { "rounds", rounds }, { "processors", std::thread::hardware_concurrency() } };
    for (const ScenarioResult& scenario : scenarios) {
        ordered_json rows = ordered_json::array();
        for (const Result& result : scenario.results) {
            for (std::size_t figure = 0; figure < result.figures.size(); ++figure) {
                rows.push_back(toJson(result, figure));
            }
        }
        json["scenarios"][scenario.name] = std::move(rows);
    }
    std::ofstream stream(file);
    stream << json.dump(2) << '\n';
    if (!stream.flush()) {
        throw std::runtime_error("--json: " + file.string() + " cannot be written");
    }
}

} // namespace bench
