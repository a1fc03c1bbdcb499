#include "tests/c_interface/HostFixture.hpp"

#include <cstring>

namespace c_interface_tests {

namespace {

/// A struct as a later version may have it.
template <typename Struct> struct Longer {
    Struct known {};
    std::uint64_t more = 0;
};

std::int32_t doNothing(const tovrin_event* /*event*/, void* /*data*/)
{
    return 0;
}

class StructTest : public HostFixture { };

} // namespace

TEST_F(StructTest, ALongerOneIsTakenIfWhatIsBeyondIsZero)
{
    Longer<tovrin_settings> settings;
    ASSERT_EQ(tovrin_settings_init(&settings.known, sizeof settings), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(settings.known.size, sizeof settings);
    settings.known.timer_fcn.function = doNothing;
    tovrin_timer timer = 0;
    ASSERT_EQ(tovrin_timer_create(host, &settings.known, &timer), TOVRIN_OK) << tovrin_last_error();
    settings.more = 1;
    EXPECT_EQ(tovrin_timer_create(host, &settings.known, &timer), TOVRIN_ERROR_SIZE);
    const std::string size = std::to_string(sizeof(tovrin_settings));
    EXPECT_EQ(tovrin_last_error(),
        "tovrin_timer_create: settings.size is " + std::to_string(sizeof settings) + "; of what is beyond " + size
            + " bytes this version knows nothing, and it has to be zero");
}

TEST_F(StructTest, ALongerOneIsFilledWithZerosBeyond)
{
    const tovrin_timer timer = makeTimer({});
    Longer<tovrin_statistics> statistics;
    statistics.known.size = sizeof statistics;
    statistics.more = 7;
    ASSERT_EQ(tovrin_timer_statistics(timer, &statistics.known), TOVRIN_OK) << tovrin_last_error();
    EXPECT_EQ(statistics.more, 0U);
    EXPECT_EQ(statistics.known.size, sizeof statistics);
}

TEST_F(StructTest, DefaultsAreThoseOfTheHeader)
{
    tovrin_settings settings;
    std::memset(&settings, 0xFF, sizeof settings);
    ASSERT_EQ(tovrin_settings_init(&settings, sizeof settings), TOVRIN_OK);
    EXPECT_EQ(settings.size, sizeof settings);
    EXPECT_EQ(settings.name, nullptr);
    EXPECT_EQ(settings.execution_mode, TOVRIN_SINGLE_SHOT);
    EXPECT_EQ(settings.busy_mode, TOVRIN_DROP);
    EXPECT_EQ(settings.period, 1.0);
    EXPECT_EQ(settings.start_delay, 0.0);
    EXPECT_EQ(settings.tasks_to_execute, 0U);
    EXPECT_EQ(settings.timer_fcn.function, nullptr);

    tovrin_host_settings ofHost;
    std::memset(&ofHost, 0xFF, sizeof ofHost);
    ASSERT_EQ(tovrin_host_settings_init(&ofHost, sizeof ofHost), TOVRIN_OK);
    EXPECT_EQ(ofHost.submit, nullptr);
    EXPECT_EQ(ofHost.log, nullptr);
    EXPECT_EQ(ofHost.log_severities, std::uint32_t { TOVRIN_LOG_ERROR });
    EXPECT_EQ(ofHost.max_backlog, 10'000U);
}

TEST_F(StructTest, TheVersionIsThatOfTheLibrary)
{
    EXPECT_THAT(tovrin_version(), testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
}

} // namespace c_interface_tests
