#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace simulation {

/// A stretch of the run, from one event to another; events are numbered as they happen.
struct Window {
    std::uint64_t from = 0;
    std::uint64_t to = 0;
};

/// The values that something has had, and when.
template <typename T> class History {
public:
    void set(std::uint64_t when, T value)
    {
        if (m_values.empty() || !(m_values.back().second == value)) {
            m_values.emplace_back(when, std::move(value));
        }
    }

    const T& latest() const { return m_values.back().second; }

    /// Each value that it had at some moment of the window.
    std::vector<T> during(Window window) const
    {
        std::vector<T> values;
        for (std::size_t i = m_values.size(); i > 0; --i) {
            const auto& [when, value] = m_values[i - 1];
            if (when <= window.to) {
                values.push_back(value);
            }
            if (when <= window.from) {
                break;
            }
        }
        return values;
    }

    bool had(Window window, const T& value) const
    {
        const std::vector<T> values = during(window);
        return std::find(values.begin(), values.end(), value) != values.end();
    }

private:
    std::vector<std::pair<std::uint64_t, T>> m_values;
};

} // namespace simulation
