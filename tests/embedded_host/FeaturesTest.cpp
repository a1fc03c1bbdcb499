#include "embedded_host/services/Features.hpp"

#include "host/foundation/feature/Feature.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"

#include <gmock/gmock.h>

#include <stdexcept>

namespace tovrinhost {
namespace {

using testing::ElementsAre;

TEST(FeaturesTest, ThereIsOneAndItIsOnByDefault)
{
    EXPECT_THAT(featureNames(), ElementsAre("TIMER_PPE"));
    EXPECT_TRUE(isFeatureOn("TIMER_PPE"));
    EXPECT_NE(foundation::feature::Feature("TIMER_PPE").get(), 0);
}

TEST(FeaturesTest, AnUnknownFeatureCannotBeSet)
{
    EXPECT_EQ(thrownMessage<std::invalid_argument>([] { setFeature("timer_ppe", false); }),
        "unknown feature \"timer_ppe\": the features are TIMER_PPE");
    EXPECT_FALSE(isFeatureOn("timer_ppe"));
    EXPECT_TRUE(isFeatureOn("TIMER_PPE"));
}

} // namespace
} // namespace tovrinhost
