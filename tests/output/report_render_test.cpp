// The report of a generated line, written by the real program: every picture decodes, and
// the page holds each pair's values exactly as the result files give them. The page is
// opened in headless Chromium, renders without a console message, and its screenshot stays
// in report_screenshots/ of the test folder. (Which pairs a site lists, and which rows go
// to them, is pinned on hand-made tables.)

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "support/survey_job.h"
#include "support/png_check.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;
using testing::SurveyJob;

constexpr const char* registrationColumns[] = {"scan1", "rotation1", "scan2", "rotation2", "rms", "numpts", "num_iters"};
constexpr const char* rmsColumns[] = {"scan1", "scan2", "rms12", "np12", "rms21", "np21", "rmswave", "spacing", "range"};

bool hasChromium() { return std::system("command -v chromium > /dev/null 2>&1") == 0; }

struct Rendering {
    std::string dom;          // the page as Chromium parsed it
    std::string consoleLines; // every console message of the page
};

// One launch of Chromium parses the page, logs its console and takes the screenshot: no
// profile of its own, network chatter or sandbox (tests may run as root), at most two minutes.
Rendering render(const fs::path& page, const std::string& screenshotName) {
    const testing::ScratchDir scratch("chromium");
    const fs::path& profile = scratch.path;
    const fs::path dom = profile / "dom.html";
    const fs::path log = profile / "log.txt";
    fs::create_directories("report_screenshots");
    const fs::path shot = fs::absolute("report_screenshots") / screenshotName;
    fs::remove(shot);
    std::system(("timeout 120 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
                 "--disable-background-networking --disable-component-update --disable-sync --hide-scrollbars "
                 "--user-data-dir=" + profile.string() +
                 " --enable-logging=stderr --v=0 --dump-dom --window-size=1200,7000 --screenshot=" + shot.string() +
                 " file://" + fs::absolute(page).string() + " > " + dom.string() + " 2> " + log.string()).c_str());
    EXPECT_GT(fs::exists(shot) ? fs::file_size(shot) : 0, 20000U) << "no screenshot " << shot;
    Rendering rendering;
    rendering.dom = testing::readFile(dom);
    for (const std::string& line : testing::linesStartingWith(testing::readFile(log), "")) {
        if (line.find(":CONSOLE") != std::string::npos) rendering.consoleLines += line + "\n";
    }
    return rendering;
}

// The page's row of the pair `first`-`second`, in either order, in the table of `file`.
std::string rowInPage(const std::string& page, const std::string& file, const std::string& first,
                      const std::string& second) {
    const std::size_t table = page.find("data-file=\"" + file + "\"");
    if (table == std::string::npos) return {};
    const std::size_t end = page.find("</table>", table);
    for (const std::string& label : {first + "-" + second, second + "-" + first}) {
        const std::size_t row = page.find("<tr data-pair=\"" + label + "\">", table);
        if (row < end) return page.substr(row, page.find("</tr>", row) - row);
    }
    return {};
}

void expectRowsInPage(const std::string& page, const fs::path& resultFile,
                      std::span<const char* const> columns, std::size_t secondIdColumn) {
    const auto rows = testing::readRows(resultFile);
    ASSERT_FALSE(rows.empty()) << resultFile;
    const std::string name = resultFile.filename().string();
    for (const auto& fields : rows) {
        const std::string row = rowInPage(page, name, fields.at(0), fields.at(secondIdColumn));
        for (std::size_t k = 0; k < fields.size(); ++k) {
            const std::string cell = "data-column=\"" + std::string(columns[k]) + "\">" + fields[k] + "</td>";
            EXPECT_NE(row.find(cell), std::string::npos) << name << " " << fields.at(0) << "," << fields.at(1) << ": " << cell;
        }
    }
}

// Every picture is a PNG that decodes; returns how many there are.
std::size_t checkPictures(const std::string& page) {
    const std::string prefix = "src=\"data:image/png;base64,";
    std::size_t count = 0;
    for (std::size_t at = page.find(prefix); at != std::string::npos; at = page.find(prefix, at + 1)) {
        const std::size_t start = at + prefix.size();
        const testing::DecodedPng png = testing::decodePng(testing::base64Decoded(page.substr(start, page.find('"', start) - start)));
        EXPECT_TRUE(png.isValid) << png.fault;
        ++count;
    }
    return count;
}

std::string withoutRunTime(std::string page) {
    const std::size_t at = page.find("<p class=\"run-time\">");
    if (at != std::string::npos) page.erase(at, page.find("</p>", at) - at);
    return page;
}

testing::SessionResult runFlagged(const SurveyJob& job, const std::string& mode, const std::string& report) {
    std::vector<std::string> args{"--mode", mode, "--yes"};
    if (!report.empty()) args.insert(args.end(), {"--report", report});
    args.push_back("job.txt");
    testing::SessionResult result = testing::runSorvek(job.dir.path, args, "", job.baseOptions);
    EXPECT_EQ(result.exitCode, 0) << result.out;
    return result;
}

TEST(ReportRender, LineReportHoldsTheResultRowsAndRendersCleanly) {
    const SurveyJob job = testing::makeSurveyJob("report-line", testing::smallSpec("line", "north", 4, 20000));
    const testing::SessionResult plain = runFlagged(job, "4", "");
    const testing::SessionResult reported = runFlagged(job, "4", "line.html");
    // The report leaves the console text of the run as it was and speaks on standard error.
    EXPECT_EQ(testing::withTimesZeroed(reported.out), testing::withTimesZeroed(plain.out));
    EXPECT_EQ(reported.err.rfind(plain.err, 0), 0U);
    EXPECT_TRUE(reported.err.ends_with("Report: measuring pair 3 of 3 \rReport written to line.html \n")) << reported.err;
    EXPECT_FALSE(fs::exists(job.dir.path / "line.html.sorvek-partial"));
    const std::string page = testing::readFile(job.dir.path / "line.html");
    expectRowsInPage(page, job.dir.path / "jobreg.csv", registrationColumns, 2);
    expectRowsInPage(page, job.dir.path / "jobrms.csv", rmsColumns, 1);
    EXPECT_EQ(checkPictures(page), 6U);
    EXPECT_NE(page.find("<b>4 scans, 3 pairs: 3 fit better after alignment, 0 failed.</b>"), std::string::npos);
    runFlagged(job, "4", "again.html");
    EXPECT_EQ(withoutRunTime(testing::readFile(job.dir.path / "again.html")), withoutRunTime(page));
    if (!hasChromium()) GTEST_SKIP() << "chromium is not installed; tools/install-deps.sh installs it";
    const Rendering rendering = render(job.dir.path / "line.html", "line.png");
    EXPECT_EQ(rendering.consoleLines, "");
    ASSERT_NE(rendering.dom.find("</html>"), std::string::npos);
    expectRowsInPage(rendering.dom, job.dir.path / "jobrms.csv", rmsColumns, 1);
}

}  // namespace
}  // namespace sorvek
