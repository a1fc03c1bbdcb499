#include "tests/c_interface/HostFixture.hpp"

#include <atomic>
#include <thread>

namespace c_interface_tests {

namespace {

class ThreadTest : public HostFixture { };

} // namespace

TEST_F(ThreadTest, TheThreadThatHasAdoptedTheHostRunsItsCallbacks)
{
    const tovrin_timer timer = makeTimer(tellAll({ .mode = TOVRIN_FIXED_RATE, .tasks = 2 }));
    std::thread([&] {
        ASSERT_EQ(tovrin_host_adopt(host), TOVRIN_OK) << tovrin_last_error();
        start(timer);
        runToTheEnd();
    }).join();
    EXPECT_EQ(story.size(), 4U);
    EXPECT_EQ(tovrin_timer_start(timer), TOVRIN_ERROR_THREAD);
    ASSERT_EQ(tovrin_host_adopt(host), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(tovrin_timer_start(timer), TOVRIN_OK) << tovrin_last_error();
}

TEST_F(ThreadTest, NobodyAdoptsAHostWhoseThreadIsAtWork)
{
    std::int32_t code = 0;
    start(makeTimer({ .timer = [&](const tovrin_event& event) {
        std::thread([&] { code = tovrin_host_adopt(event.host); }).join();
        return 0;
    } }));
    runToTheEnd();
    EXPECT_EQ(code, TOVRIN_ERROR_STATE);
}

TEST_F(ThreadTest, ErrorTextsAreOfTheirThreads)
{
    tovrin_set_error("mine");
    std::thread([] {
        EXPECT_STREQ(tovrin_last_error(), "");
        tovrin_set_error("its");
    }).join();
    EXPECT_STREQ(tovrin_last_error(), "mine");
}

TEST_F(ThreadTest, ManyThreadsPostWhileTimersRun)
{
    constexpr int each = 200;
    std::atomic<int> ran { 0 };
    int posted = 0; // only for the host's thread
    start(makeTimer({ .mode = TOVRIN_FIXED_RATE, .period = 0.001, .timer = [&](const tovrin_event&) {
                         ++ran;
                         return 0;
                     } }));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < each; ++j) {
                EXPECT_EQ(tovrin_post(
                              host, [](void* data) { ++*static_cast<int*>(data); }, &posted),
                    TOVRIN_OK);
                EXPECT_EQ(tovrin_poll(host, 0, nullptr), TOVRIN_ERROR_THREAD);
            }
        });
    }
    const auto done = [](void* data) -> std::int32_t { return *static_cast<int*>(data) == 4 * each ? 1 : 0; };
    std::int32_t isDone = 0;
    ASSERT_EQ(tovrin_run_until(host, longTime, done, &posted, &isDone), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(isDone, 1);
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_GE(ran, 1);
}

TEST_F(ThreadTest, PostsMeetTheEndOfTheHost)
{
    std::atomic<bool> ends { false };
    std::atomic<int> accepted { 0 };
    int ran = 0;
    const tovrin_host ending = host;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (!ends) {
                if (tovrin_post(
                        ending, [](void* data) { ++*static_cast<int*>(data); }, &ran)
                    == TOVRIN_OK) {
                    ++accepted;
                }
            }
        });
    }
    while (accepted < 10) {
        std::this_thread::yield();
    }
    ASSERT_EQ(tovrin_host_destroy(host), TOVRIN_OK) << tovrin_last_error();
    host = 0;
    ends = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ran, accepted) << "what has been accepted has run";
}

} // namespace c_interface_tests
