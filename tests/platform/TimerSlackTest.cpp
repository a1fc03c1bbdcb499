#include "tests/StartLine.hpp"
#include "timer_src/main/platform/Platform.hpp"

#include <gtest/gtest.h>
#include <sys/prctl.h>

#include <functional>
#include <thread>

namespace tovrintimer::platform {

namespace {

/// By how much the kernel may put off the wake-ups of this thread.
int slackNs()
{
    return prctl(PR_GET_TIMERSLACK, 0, 0, 0, 0);
}

/// On a thread that has adopted nothing yet.
class TimerSlackTest : public testing::Test {
protected:
    static void onANewThread(const std::function<void()>& body) { std::thread(body).join(); }
};

TEST_F(TimerSlackTest, AThreadIsToTheNanosecondWhileItIsAskedFor)
{
    onANewThread([] {
        const int before = slackNs();
        ASSERT_GT(before, 1);

        beginTimerResolution();
        adoptTimerResolution();
        EXPECT_EQ(slackNs(), 1);

        endTimerResolution();
        adoptTimerResolution();
        EXPECT_EQ(slackNs(), before);
    });
}

TEST_F(TimerSlackTest, AThreadKeepsItsOwnUntilItAdoptsWhatIsAskedFor)
{
    onANewThread([] {
        const int before = slackNs();

        beginTimerResolution();
        EXPECT_EQ(slackNs(), before);

        adoptTimerResolution();
        endTimerResolution();
        EXPECT_EQ(slackNs(), 1);
        adoptTimerResolution();
    });
}

TEST_F(TimerSlackTest, TheLastOfSeveralRequestsEndsIt)
{
    onANewThread([] {
        const int before = slackNs();
        beginTimerResolution();
        beginTimerResolution();

        endTimerResolution();
        adoptTimerResolution();
        EXPECT_EQ(slackNs(), 1);

        endTimerResolution();
        adoptTimerResolution();
        EXPECT_EQ(slackNs(), before);
    });
}

TEST_F(TimerSlackTest, EachOfTwoThreadsThatLiveAtTheSameTimeAdoptsIt)
{
    beginTimerResolution();
    // Both exist before either adopts anything: a thread begins with the slack of the one that has made it.
    StartLine bothHaveBegun(2);
    StartLine oneHasAdopted(2);
    StartLine bothHaveAdopted(2);
    int slackOfOther = 0;
    std::thread other([&] {
        bothHaveBegun.arriveAndWait();
        oneHasAdopted.arriveAndWait();
        adoptTimerResolution();
        slackOfOther = slackNs();
        bothHaveAdopted.arriveAndWait();
    });
    onANewThread([&] {
        bothHaveBegun.arriveAndWait();
        adoptTimerResolution();
        EXPECT_EQ(slackNs(), 1);
        oneHasAdopted.arriveAndWait();
        bothHaveAdopted.arriveAndWait();
    });
    other.join();
    endTimerResolution();

    EXPECT_EQ(slackOfOther, 1);
}

TEST_F(TimerSlackTest, WithoutARequestNothingChanges)
{
    onANewThread([] {
        const int before = slackNs();

        adoptTimerResolution();

        EXPECT_EQ(slackNs(), before);
    });
}

} // namespace

} // namespace tovrintimer::platform
