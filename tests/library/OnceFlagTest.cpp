#include "timer_src/main/OnceFlag.hpp"
#include "tests/StartLine.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace tovrintimer {

namespace {

TEST(OnceFlagTest, TheFunctionRunsOnce)
{
    OnceFlag flag;
    int runs = 0;

    flag.callOnce([&] { ++runs; });
    flag.callOnce([&] { ++runs; });

    EXPECT_EQ(runs, 1);
}

TEST(OnceFlagTest, AfterAnErrorTheNextCallerTriesAgain)
{
    OnceFlag flag;
    int runs = 0;
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_THROW(flag.callOnce([] { throw std::runtime_error("not this time"); }), std::runtime_error);
    }

    flag.callOnce([&] { ++runs; });
    flag.callOnce([&] { ++runs; });

    EXPECT_EQ(runs, 1);
}

TEST(OnceFlagTest, WhoeverComesWhileItRunsSeesItsResult)
{
    constexpr std::size_t threads = 4;
    OnceFlag flag;
    std::size_t written = 0; // by whoever comes first, without a lock of its own
    std::atomic<std::size_t> seen { 0 };
    StartLine start(threads);
    {
        std::vector<std::jthread> all;
        for (std::size_t thread = 0; thread < threads; ++thread) {
            all.emplace_back([&] {
                start.arriveAndWait();
                flag.callOnce([&] { written += 7; });
                seen += written;
            });
        }
    }

    EXPECT_EQ(written, 7U);
    EXPECT_EQ(seen, 7 * threads);
}

} // namespace

} // namespace tovrintimer
