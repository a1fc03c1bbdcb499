#pragma once

#include "embedded_host/testing/VirtualWorld.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace testing_tests {

/// A world that is this process, in real time: for tests in which nothing is due.
class MadeUpWorld {
public:
    tovrinhost::World world()
    {
        return [this](std::uint64_t seed, const std::function<void(tovrinhost::TestClock&)>& body) {
            m_seeds.push_back(seed);
            Clock clock;
            body(clock);
            return m_wrong(seed);
        };
    }

    /// What is said to be wrong at the end of a world.
    void endsWith(std::function<std::string(std::uint64_t seed)> wrong) { m_wrong = std::move(wrong); }

    /// Of all worlds until now.
    const std::vector<std::uint64_t>& seeds() const { return m_seeds; }

private:
    class Clock final : public tovrinhost::TestClock {
    public:
        tovrinhost::Nanoseconds now() const override
        {
            return std::chrono::nanoseconds(std::chrono::steady_clock::now() - m_beginning).count();
        }

        void letOthersRun() override { }
        std::optional<tovrinhost::Nanoseconds> nextDue() const override { return std::nullopt; }
        void onStandstill(std::function<void(const std::string&)> /*help*/) override { }

    private:
        const std::chrono::steady_clock::time_point m_beginning = std::chrono::steady_clock::now();
    };

    std::function<std::string(std::uint64_t)> m_wrong = [](std::uint64_t) { return ""; };
    std::vector<std::uint64_t> m_seeds;
};

} // namespace testing_tests
