#include "host/foundation/feature/Feature.hpp"
#include "conformance/HostUnderTest.hpp"

#include <thread>

namespace conformance {

namespace {

using foundation::feature::Feature;
using foundation::feature::IFeature;

class FeatureTest : public HostTest {
protected:
    ~FeatureTest() override { m_host->setTimerPpe(true); }
};

TEST_F(FeatureTest, TheValueFollowsTheSwitchAtOnce)
{
    const Feature feature("TIMER_PPE");
    const IFeature& asRead = feature;

    m_host->setTimerPpe(true);
    EXPECT_NE(asRead.get(), 0);
    m_host->setTimerPpe(false);
    EXPECT_EQ(asRead.get(), 0);
    m_host->setTimerPpe(true);
    EXPECT_NE(asRead.get(), 0);
}

TEST_F(FeatureTest, AllObjectsOfOneNameShowTheSameSwitch)
{
    const Feature first("TIMER_PPE");
    const Feature second("TIMER_PPE");

    m_host->setTimerPpe(false);

    EXPECT_EQ(first.get(), 0);
    EXPECT_EQ(second.get(), 0);
}

TEST_F(FeatureTest, ItIsReadOnAnyThreadWhileItIsThrown)
{
    const Feature feature("TIMER_PPE");
    {
        const std::jthread reader([&] {
            for (int i = 0; i < 1000; ++i) {
                static_cast<void>(feature.get());
            }
        });
        for (int i = 0; i < 1000; ++i) {
            m_host->setTimerPpe(i % 2 == 0);
        }
    }
    m_host->setTimerPpe(false);

    EXPECT_EQ(feature.get(), 0);
}

TEST_F(FeatureTest, ThereIsNoOtherFeatureOn)
{
    m_host->setTimerPpe(true);

    EXPECT_EQ(Feature("no such feature").get(), 0);
    EXPECT_EQ(Feature("").get(), 0);
}

} // namespace

} // namespace conformance
