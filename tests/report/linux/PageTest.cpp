#include "embedded_host/report/Report.hpp"
#include "tests/report/MadeUpTrace.hpp"
#include "tests/report/linux/Browser.hpp"

#include <gmock/gmock.h>

#include <filesystem>
#include <memory>

namespace tovrinhost {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr auto pollsName = "poll </script><b>\"&amp;";

/// "hog" keeps the interpreter for 200 ms, and so the fourth run of "poll" is late.
std::string writePage(const TemporaryFile& page)
{
    MadeUpTrace made(pollsName);
    const auto add = [&made](const Firing& firing) {
        made.add(firing);
        made.addActivity(firing);
    };
    add(made.run(1, 1, 1, 1, 2));
    add(made.run(1, 2, 100, 100, 101));
    add(made.run(1, 3, 200, 200, 201));
    add(made.run(2, 1, 250, 250, 450));
    add(made.run(1, 4, 300, 450, 451));
    writeReport(made.write(), {}, page.path());
    return page.path();
}

/// What a reader finds on the page. One browser for all of it: to start it takes longer than everything else.
class PageTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        page = std::make_unique<TemporaryFile>();
        browser = std::make_unique<Browser>();
    }

    static void TearDownTestSuite()
    {
        browser.reset();
        page.reset();
    }

    void SetUp() override
    {
        // The browser shows as HTML what is named so.
        m_html = writePage(*page) + ".html";
        std::filesystem::rename(page->path(), m_html);
        browser->open(m_html);
    }

    void TearDown() override { std::filesystem::remove(m_html); }

    static std::string textOf(const std::string& selector)
    {
        return browser->evaluate("document.querySelector('" + selector + "').textContent");
    }

    /// Clicks where the page has drawn the firing; they are counted from 0 in the order in which they were due.
    static void clickFiring(int index)
    {
        const auto place = browser->evaluate("placeOf(" + std::to_string(index) + ")");
        browser->click(place["x"], place["y"]);
    }

    static std::unique_ptr<TemporaryFile> page;
    static std::unique_ptr<Browser> browser;
    std::string m_html;
};

std::unique_ptr<TemporaryFile> PageTest::page;
std::unique_ptr<Browser> PageTest::browser;

TEST_F(PageTest, AClickOnTheLateFiringTellsWhichCallbackWasInItsWay)
{
    clickFiring(4);

    const std::string why = textOf("#explanation");
    EXPECT_THAT(why,
        StartsWith(
            std::string(pollsName) + " run 4 (FixedRate, Drop, 0.1 s) due 0.300 started 0.450 late 150.0 ms"));
    EXPECT_THAT(why, HasSubstr("150.000 ms 100.0 %  behind run 1 of hog (script.lua:5)"));
}

TEST_F(PageTest, AClickBesideAllFiringsChoosesNone)
{
    const auto place = browser->evaluate("placeOf(1)");

    browser->click(place["x"].get<double>() + 40, place["y"]);

    EXPECT_THAT(textOf("#explanation"), StartsWith("Choose a firing"));
}

TEST_F(PageTest, KeysGoFromFiringToFiring)
{
    browser->evaluate("document.getElementById('lanes').focus()");
    for (const char* const expected : { "run 1", "run 2", "run 3" }) {
        browser->press("n");
        EXPECT_THAT(textOf("#explanation"), HasSubstr(expected));
    }
    browser->press("p");
    EXPECT_THAT(textOf("#explanation"), HasSubstr("run 2"));
}

TEST_F(PageTest, ZoomedInAndMovedAFiringIsWhereItIsDrawn)
{
    browser->evaluate("document.getElementById('lanes').focus()");
    for (const char* const key : { "+", "+", "ArrowRight", "ArrowRight", "ArrowRight", "ArrowRight" }) {
        browser->press(key);
    }

    clickFiring(4);
    EXPECT_THAT(textOf("#explanation"), HasSubstr("run 4"));
    browser->press("Home");
    clickFiring(1);
    EXPECT_THAT(textOf("#explanation"), HasSubstr("run 2"));
}

TEST_F(PageTest, TheTablesTellTheSameWithoutAPicture)
{
    EXPECT_EQ(textOf("#summary"), "2 timers, 5 callbacks, 0 firings missed.");
    EXPECT_EQ(textOf("#worst tbody tr button"), std::string(pollsName) + " run 4");
    EXPECT_EQ(textOf("#worst tbody tr td:nth-child(3)"), "150.000");
    EXPECT_EQ(textOf("#timers tbody tr td:nth-child(9)"), "150.000");

    browser->evaluate("document.querySelector('#worst tbody tr button').click()");
    EXPECT_THAT(textOf("#explanation"), HasSubstr("behind run 1 of hog"));
}

TEST_F(PageTest, ANameIsTextAndNoPartOfThePage)
{
    EXPECT_EQ(browser->evaluate("document.querySelectorAll('b').length"), 0);
    EXPECT_EQ(textOf("#timers tbody tr td"), pollsName);
}

TEST_F(PageTest, AFilterLeavesTheTimersThatBearTheName)
{
    browser->evaluate("document.getElementById('filter').value = 'HOG';"
                      "document.getElementById('filter').dispatchEvent(new Event('input'))");
    browser->evaluate("document.getElementById('next').click()");

    EXPECT_THAT(textOf("#explanation"), StartsWith("hog run 1"));
}

} // namespace

} // namespace tovrinhost
