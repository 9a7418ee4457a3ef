// The report page drawn from a hand-made content record: self-contained, escaped, the
// rows as written and each pair's verdict.

#include "output/report_page.h"

#include <gtest/gtest.h>

#include "output/report_text.h"

namespace sorvek {
namespace {

ReportScan scanOf(std::int32_t id, double x, double y) {
    ReportScan scan;
    scan.scanId = id;
    scan.x = x;
    scan.y = y;
    return scan;
}

ReportPairView pairOf(std::int32_t first, std::int32_t second, double before, ResultFields rmsRow) {
    ReportPairView view;
    view.pair.firstIndex = first;
    view.pair.secondIndex = second;
    view.pair.spacing = 15.0;
    view.pair.isEvaluatedPair = true;
    view.pair.rmsRow = std::move(rmsRow);
    view.measurement.isBeforeRead = true;
    view.measurement.before.rmswave = before;
    return view;
}

// A line of three scans evaluated in mode 3: one pair that fits, one whose after measure
// had too few samples, and one whose files the run could not read.
ReportContent lineContent() {
    ReportContent content;
    content.databasePath = "jobs/<line&7>.txt";
    content.runMode = 3;
    content.didEvaluate = true;
    content.rmsPath = "jobs/<line&7>rms.csv";
    content.scans = {scanOf(1, 0.0, 0.0), scanOf(2, 0.0, 15.0), scanOf(3, 0.0, 30.0), scanOf(4, 0.0, 45.0)};
    content.pairs.push_back(pairOf(1, 0, 0.048297, {"2", "1", "0.010648", "4907", "0.009665", "4947", "0.010154",
                                                    "14.556187", "0.000000"}));
    content.pairs.push_back(pairOf(2, 1, 0.05, {"3", "2", "999.000000", "12", "999.000000", "9", "999.000000",
                                                "15.000000", "0.000000"}));
    content.pairs.push_back(pairOf(3, 2, 0.04, {}));
    content.pairs.back().isMissingRow = true;
    content.logText = "Unable to open files: <a.bxyz> \n";
    content.runTimeLine = "Run time 3 seconds";
    return content;
}

std::string rowOf(const std::string& page, const std::string& table, const std::string& pair) {
    const std::size_t tableAt = page.find(table);
    if (tableAt == std::string::npos) return {};
    const std::size_t rowAt = page.find("<tr data-pair=\"" + pair + "\">", tableAt);
    if (rowAt == std::string::npos) return {};
    return page.substr(rowAt, page.find("</tr>", rowAt) - rowAt);
}

TEST(ReportPage, StandsAloneAndEscapesWhatCameFromFiles) {
    const std::string page = reportPage(lineContent());
    EXPECT_EQ(page.rfind("<!DOCTYPE html>\n<html lang=\"en\">", 0), 0U);
    EXPECT_TRUE(page.ends_with("</html>\n"));
    EXPECT_EQ(page.find("<script"), std::string::npos);
    // The only address is the SVG namespace, which names and fetches nothing; every
    // picture is inline.
    std::string rest = page;
    const std::string svgNamespace = "xmlns=\"http://www.w3.org/2000/svg\"";
    for (std::size_t at = rest.find(svgNamespace); at != std::string::npos; at = rest.find(svgNamespace)) {
        rest.erase(at, svgNamespace.size());
    }
    for (const char* reference : {"http:", "https:", "href=", "url(\"", "@import"}) {
        EXPECT_EQ(rest.find(reference), std::string::npos) << reference;
    }
    for (std::size_t at = rest.find("src=\""); at != std::string::npos; at = rest.find("src=\"", at + 1)) {
        EXPECT_EQ(rest.compare(at, 16, "src=\"data:image/"), 0) << rest.substr(at, 40);
    }
    EXPECT_EQ(page.find("<line&7>"), std::string::npos);
    EXPECT_NE(page.find("jobs/&lt;line&amp;7&gt;.txt"), std::string::npos);
    EXPECT_NE(page.find("<pre>Unable to open files: &lt;a.bxyz&gt; \n</pre>"), std::string::npos);
}

TEST(ReportPage, HoldsTheRowsAsWrittenAndAVerdictPerPair) {
    const std::string page = reportPage(lineContent());
    // No row was written for the pair of scans 4 and 3.
    EXPECT_TRUE(rowOf(page, "data-file=\"jobs/&lt;line&amp;7&gt;rms.csv\"", "4-3").empty());
    struct Case { const char* pair; const char* after; const char* status; };
    for (const Case c : {Case{"2-1", "0.010154", "fits better"}, Case{"3-2", "999.000000", "too few samples after"},
                         Case{"4-3", "", "failed: files not read"}}) {
        SCOPED_TRACE(c.pair);
        const std::string row = rowOf(page, "<table class=\"rms\">", c.pair);
        EXPECT_NE(row.find(std::string("data-column=\"after\">") + c.after + "</td>"), std::string::npos) << row;
        EXPECT_NE(row.find(std::string(">") + c.status + "</td>"), std::string::npos) << row;
    }
    EXPECT_NE(page.find("<b>4 scans, 3 pairs: 1 fit better after alignment, 2 failed.</b>"), std::string::npos);
    // In the plan, the good pair is a coloured line with its RMS, the other two are marked.
    EXPECT_NE(page.find("class=\"rms\">0.0102</text>"), std::string::npos);
    std::size_t failedLines = 0;
    for (std::size_t at = page.find("<g class=\"pair failed\">"); at != std::string::npos;
         at = page.find("<g class=\"pair failed\">", at + 1)) {
        ++failedLines;
    }
    EXPECT_EQ(failedLines, 2U);
}

// The report's "after" is its own measure when no RMS pass ran, printed as the RMS rows
// print theirs, and the RMS row's rmswave as written when one did.
TEST(ReportPage, AfterComesFromTheRowOrFromTheReportsOwnMeasure) {
    ReportPairView view = pairOf(1, 0, 0.05, {"2", "1", "0.01", "10", "0.02", "10", "0.0150000", "1", "0"});
    view.measurement.isAfterMeasured = true;
    view.measurement.after.rmswave = 0.0123456789;
    EXPECT_EQ(afterRmsText(view), "0.012346");
    EXPECT_FALSE(afterRmsText(pairOf(1, 0, 0.05, {"2", "1", "0.01"})));
    EXPECT_TRUE(isUnusableRms(rmsValueOf(std::string("-nan"))));
    EXPECT_FALSE(isUnusableRms(998.9));
    EXPECT_EQ(htmlEscaped("a<b>&\"c'"), "a&lt;b&gt;&amp;&quot;c&#39;");
}

}  // namespace
}  // namespace sorvek
