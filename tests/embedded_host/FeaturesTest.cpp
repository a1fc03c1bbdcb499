#include "embedded_host/services/Features.hpp"

#include "host/foundation/feature/Feature.hpp"
#include "tests/embedded_host/ThrownMessage.hpp"

#include <gmock/gmock.h>

#include <stdexcept>

namespace tovrinhost {
namespace {

using foundation::feature::Feature;
using foundation::feature::IFeature;
using testing::ElementsAre;

class FeaturesTest : public testing::Test {
protected:
    ~FeaturesTest() override { setFeature("TIMER_PPE", true); }
};

TEST_F(FeaturesTest, ThereIsOneAndItIsOnByDefault)
{
    EXPECT_THAT(featureNames(), ElementsAre("TIMER_PPE"));
    EXPECT_TRUE(isFeatureOn("TIMER_PPE"));
    EXPECT_NE(Feature("TIMER_PPE").get(), 0);
}

TEST_F(FeaturesTest, AFeatureFollowsItsSwitch)
{
    const Feature feature("TIMER_PPE");
    const IFeature& base = feature;

    setFeature("TIMER_PPE", false);
    EXPECT_EQ(base.get(), 0);
    EXPECT_FALSE(isFeatureOn("TIMER_PPE"));

    setFeature("TIMER_PPE", true);
    EXPECT_NE(base.get(), 0);
    EXPECT_TRUE(isFeatureOn("TIMER_PPE"));
}

TEST_F(FeaturesTest, AnUnknownFeatureIsOff)
{
    EXPECT_FALSE(isFeatureOn("TIMER_PP"));
    EXPECT_EQ(Feature("").get(), 0);
}

TEST_F(FeaturesTest, AnUnknownFeatureCannotBeSet)
{
    EXPECT_EQ(thrownMessage<std::invalid_argument>([] { setFeature("timer_ppe", false); }),
        "unknown feature \"timer_ppe\": the features are TIMER_PPE");
    EXPECT_TRUE(isFeatureOn("TIMER_PPE"));
}

} // namespace
} // namespace tovrinhost
