// The page of --html in a browser: what it shows, and that mouse and keyboard move it.
#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "browser.h"
#include "traced.h"

namespace
{

class PageTest : public TracedTest
{
protected:
    PageTest() : TracedTest(REPORT) {}

    static constexpr const char *next_frame =
        "new Promise(r => requestAnimationFrame(() => requestAnimationFrame(r)))";

    double width_shown(Browser &browser) const
    {
        browser.value_of(next_frame);
        return browser.value_of("view.to - view.from").get<double>();
    }
};

TEST_F(PageTest, ShowsTheTraceAndZooms)
{
    const std::string program = Browser::find();
    if (program.empty())
        GTEST_SKIP() << "no chromium is installed; ./run browser installs it";
    // A name in quotes is shown as it is: it must not become part of the page.
    const std::string trace = trace_of(TRACED_EXACT, "world", "stop");
    const std::string second = read_file(trace).substr(0, 21);
    const std::string hostile = "SELECT \"</script><i id='hostile'>\" FROM dual";
    write_file("hostile.log",
               second +
                   "57] INFO - OCIStmtPrepare(OCIStmt *stmtp, CONST OraText *stmt, ub4 stmt_len, ub4 "
                   "mode)\n\tstmtp=0x7f0000001000\n\tstmt=" +
                   hostile + "\n\tstmt_len=" + std::to_string(hostile.size()) +
                   "\n\tmode=0 - (statement.cpp:13)\n");
    EXPECT_EQ(output_of({"--html", "page.html", trace, "hostile.log"}), "");

    Browser browser(program, directory().string());
    browser.open("file://" + (directory() / "page.html").string(),
                 "document.documentElement.dataset.ready == 'yes'");
    const std::string text = browser.value_of("document.body.innerText");
    for (const char *part :
         {"stopped", "in OCITransCommit", "why: it is null, was freed, or belongs to another thread",
          "C1world", "INSERT INTO people VALUES (?, ?, ?)", "ORA-00942", hostile.c_str(),
          "Drawn one by one: "})
        EXPECT_NE(text.find(part), std::string::npos) << part << " is not in:\n" << text;
    EXPECT_EQ(browser.value_of("document.getElementById('hostile')"), nullptr);
    EXPECT_EQ(browser.value_of("performance.getEntriesByType('resource').length"), 0)
        << "the page needs the network";
    EXPECT_GT(
        browser
            .value_of("(() => { const c = document.getElementById('chart'); return new Set(new Uint32Array("
                      "c.getContext('2d').getImageData(0, 0, c.width, c.height).data.buffer)).size; })()")
            .get<int>(),
        5)
        << "nothing is drawn";

    // The wheel zooms around the pointer.
    const auto box =
        browser.value_of("(b => [b.left, b.top, b.width, b.height])(chart.getBoundingClientRect())");
    const double x = box[0].get<double>() + box[2].get<double>() / 4;
    const double y = box[1].get<double>() + 12;
    const double whole = width_shown(browser);
    const std::string before = browser.value_of("document.getElementById('range').textContent");
    const double under = browser.value_of("usOf(chartWidth() / 4)").get<double>();
    browser.mouse("mouseWheel", x, y, -300);
    const double zoomed = width_shown(browser);
    EXPECT_NEAR(zoomed, whole * std::exp(-0.75), whole * 0.01);
    EXPECT_NEAR(browser.value_of("usOf(chartWidth() / 4)").get<double>(), under, whole * 0.01);
    EXPECT_NE(browser.value_of("document.getElementById('range').textContent"), before);
    EXPECT_NE(browser.value_of("location.hash").get<std::string>().find("#from="), std::string::npos);

    // Dragging moves, a click chooses a lane.
    const double from = browser.value_of("view.from").get<double>();
    browser.mouse("mousePressed", x, y);
    browser.mouse("mouseMoved", x - 100, y);
    browser.mouse("mouseReleased", x - 100, y);
    EXPECT_DOUBLE_EQ(width_shown(browser), zoomed);
    EXPECT_GT(browser.value_of("view.from").get<double>(), from);
    browser.mouse("mousePressed", x, y);
    browser.mouse("mouseReleased", x, y);
    EXPECT_NE(
        browser.value_of("document.getElementById('detail').textContent").get<std::string>().find("world"),
        std::string::npos);

    // Keys.
    browser.value_of("timeline.focus()");
    browser.press("0");
    EXPECT_DOUBLE_EQ(width_shown(browser), whole);
    browser.press("+");
    EXPECT_DOUBLE_EQ(width_shown(browser), whole / 2);
    browser.press("ArrowDown");
    browser.press("n");
    width_shown(browser);
    const std::string detail = browser.value_of("document.getElementById('detail').textContent");
    EXPECT_NE(detail.find("OCIStmt"), std::string::npos) << detail;

    // A part of the timeline can be linked to, and the page has a dark side.
    browser.open("file://" + (directory() / "page.html").string() + "#from=1000&to=3000",
                 "document.documentElement.dataset.ready == 'yes'");
    EXPECT_DOUBLE_EQ(width_shown(browser), 2000);
    const std::string light = browser.value_of("getComputedStyle(document.body).backgroundColor");
    browser.value_of("document.getElementById('theme').click()");
    EXPECT_NE(browser.value_of("getComputedStyle(document.body).backgroundColor"), light);
}

} // namespace
