#include "timer_src/main/Concurrency.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
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
    constexpr int threads = 4;
    OnceFlag flag;
    int written = 0; // by whoever comes first, without a lock of its own
    std::atomic<int> seen { 0 };
    std::barrier start(threads);
    {
        std::vector<std::jthread> all;
        for (int thread = 0; thread < threads; ++thread) {
            all.emplace_back([&] {
                start.arrive_and_wait();
                flag.callOnce([&] { written += 7; });
                seen += written;
            });
        }
    }

    EXPECT_EQ(written, 7);
    EXPECT_EQ(seen, 7 * threads);
}

} // namespace

} // namespace tovrintimer
