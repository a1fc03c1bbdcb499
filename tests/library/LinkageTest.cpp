#include "tests/library/LibraryTest.hpp"

extern "C" void DummyFcnRequiredForWindowsLinkage_tovrintimer_timer_src();

namespace tovrintimer {

namespace {

using LinkageTest = LibraryTest;

TEST_F(LinkageTest, TheExportThatIsAlwaysThereDoesNothing)
{
    DummyFcnRequiredForWindowsLinkage_tovrintimer_timer_src();

    EXPECT_THAT(everything(), IsEmpty());
}

} // namespace

} // namespace tovrintimer
