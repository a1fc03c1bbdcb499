#include "embedded_host/services/Features.hpp"

#include "host/foundation/feature/Feature.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <stdexcept>

namespace tovrinhost {

namespace {

struct Switch {
    std::string_view name;
    std::atomic<bool> on;
};

// Ready before any code runs, and there until the last of it has run.
constinit std::array<Switch, 1> switches { { { "TIMER_PPE", true } } };

/// \returns null if there is none of this name
Switch* find(std::string_view name) noexcept
{
    const auto found = std::find_if(
        switches.begin(), switches.end(), [name](const Switch& candidate) { return name == candidate.name; });
    return found != switches.end() ? &*found : nullptr;
}

} // namespace

std::vector<std::string> featureNames()
{
    std::vector<std::string> names;
    names.reserve(switches.size());
    for (const Switch& candidate : switches) {
        names.emplace_back(candidate.name);
    }
    return names;
}

void setFeature(const std::string& name, bool on)
{
    Switch* const found = find(name);
    if (found == nullptr) {
        std::string text = "unknown feature \"" + name + "\": the features are";
        for (const std::string& known : featureNames()) {
            text += " " + known;
        }
        throw std::invalid_argument(text);
    }
    found->on = on;
}

bool isFeatureOn(std::string_view name)
{
    const Switch* const found = find(name);
    return found != nullptr && found->on;
}

} // namespace tovrinhost

namespace foundation::feature {

IFeature::~IFeature() = default;

Feature::Feature(const char* name)
    : m_name(name)
{
}

Feature::~Feature() = default;

int Feature::get() const
{
    return tovrinhost::isFeatureOn(m_name) ? 1 : 0;
}

} // namespace foundation::feature
