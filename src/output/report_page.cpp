#include "output/report_page.h"

#include <array>
#include <cmath>

#include "config/option_reader.h"
#include "output/png_image.h"
#include "output/report_charts.h"
#include "output/report_text.h"

// The page reads top to bottom as a surveyor checks a job: where the scans are and how
// well each pair fits, then the numbers, the rotations, the pictures of each overlap,
// and last what the run was given and what it wrote.
namespace sorvek {
namespace {

constexpr const char* pageStyle =
    R"(body{font-family:sans-serif;margin:24px auto;max-width:1100px;color:#1a1a1a;padding:0 16px}
h1{font-size:26px;margin-bottom:4px}h2{font-size:20px;margin-top:36px;border-bottom:1px solid #ccc;padding-bottom:4px}
h3{font-size:16px;margin:20px 0 6px}table{border-collapse:collapse;margin:8px 0}
th,td{border:1px solid #ccc;padding:3px 8px;text-align:left}td.n{text-align:right;font-family:monospace}
th{background:#f0f0f0}.note{color:#444}.bad{color:#b00000;font-weight:bold}.good{color:#166b2d}
figure{display:inline-block;margin:4px 12px 4px 0;vertical-align:top}figcaption{font-size:13px;color:#333}
img{border:1px solid #999;background:#101014}pre{background:#f6f6f6;padding:8px;overflow-x:auto}
svg text{font-family:sans-serif;font-size:12px;fill:#222}svg text.label{text-anchor:end}
svg text.id{font-weight:bold;font-size:13px;text-anchor:middle}svg text.none{fill:#b00000}svg text.rms{font-size:11px;fill:#555}
.swatch{display:inline-block;width:12px;height:12px;vertical-align:middle}
)";

const ReportScan& scanOf(const ReportContent& content, std::int32_t index) {
    return content.scans[static_cast<std::size_t>(index)];
}

std::string pairLabel(const ReportContent& content, const ReportPair& pair) {
    return formatted("%i-%i", scanOf(content, pair.firstIndex).scanId,
                     scanOf(content, pair.secondIndex).scanId);
}

std::string cell(const std::string& text, bool isNumber = true) {
    return std::string(isNumber ? "<td class=\"n\">" : "<td>") + htmlEscaped(text) + "</td>";
}

std::string beforeText(const ReportPairView& view) {
    if (!view.measurement.isBeforeRead) return "not read";
    return formatted("%lf", view.measurement.before.rmswave);
}

std::string afterMeaning(const ReportContent& content) {
    const AfterPlan& plan = content.afterPlan;
    if (plan.measures) {
        return "No RMS pass ran, so \"after\" is measured here the same way as \"before\": on "
               "the scans as surveyed, each turned about its GPS position by the mean of its "
               "registered rotations, as the rotation stage would turn it.";
    }
    std::string meaning = "\"After\" is the RMS result file, which measured ";
    meaning +=
        content.isLine && content.options.FILEEXT == 0
            ? "the rotated point files."
            : "the scans' own files: with no rotated files in between, it shows them as surveyed.";
    if (plan.turnsScans) {
        meaning +=
            " The pictures after alignment show the scans as surveyed, each turned about its GPS "
            "position by the rotation the rotation stage applied.";
    }
    return meaning;
}

std::string pairStatus(const ReportPairView& view) {
    if (view.isMissingRow) return "<td class=\"bad\">failed: files not read</td>";
    if (!view.measurement.isBeforeRead) return "<td class=\"bad\">files as surveyed not read</td>";
    const std::optional<std::string> afterText = afterRmsText(view);
    if (!afterText) return "<td>not evaluated</td>";
    const double after = rmsValueOf(afterText);
    if (isUnusableRms(after)) return "<td class=\"bad\">too few samples after</td>";
    if (isUnusableRms(view.measurement.before.rmswave)) return "<td>too few samples before</td>";
    if (after < view.measurement.before.rmswave) return "<td class=\"good\">fits better</td>";
    return "<td class=\"bad\">no better</td>";
}

std::string changeText(const ReportPairView& view) {
    const double after = rmsValueOf(afterRmsText(view));
    const double before = view.measurement.before.rmswave;
    if (!view.measurement.isBeforeRead || isUnusableRms(after) || isUnusableRms(before) ||
        !(before > 0.0)) {
        return "";
    }
    return formatted("%+.1f%%", ((after - before) / before) * 100.0);
}

std::string verdict(const ReportContent& content) {
    std::size_t better = 0;
    std::size_t failed = 0;
    for (const ReportPairView& view : content.pairs) {
        const double after = rmsValueOf(afterRmsText(view));
        if (view.isMissingRow || isUnusableRms(after)) ++failed;
        const bool hasBefore =
            view.measurement.isBeforeRead && !isUnusableRms(view.measurement.before.rmswave);
        if (hasBefore && !isUnusableRms(after) && after < view.measurement.before.rmswave) ++better;
    }
    return formatted("%zu scans, %zu pairs: %zu fit better after alignment, %zu failed.",
                     content.scans.size(), content.pairs.size(), better, failed);
}

std::string summarySection(const ReportContent& content) {
    std::string html = "<h1>Alignment report</h1>\n";
    html += "<p>Survey database <b>" + htmlEscaped(content.databasePath) + "</b>, mode " +
            std::to_string(content.runMode) + ": " + htmlEscaped(modeDescription(content.runMode)) +
            ".</p>\n";
    html += "<p><b>" + verdict(content) + "</b></p>\n";
    html +=
        "<p class=\"note\">\"Before\" is measured by this report on the scans as surveyed (their "
        "own "
        "files, with the scan transform of pair preparation), both ways with MAXDISTFINAL, "
        "weighted by the two counts as the rmswave column is. " +
        htmlEscaped(afterMeaning(content)) + "</p>\n";
    if (content.unattachedRows > 0) {
        html += formatted(
            "<p class=\"bad\">%i result rows named no pair of this job and are left out.</p>\n",
            content.unattachedRows);
    }
    return html;
}

std::string rmsTable(const ReportContent& content) {
    std::string html =
        "<table class=\"rms\"><tr><th>Pair</th><th>Spacing</th><th>rms12 before</th>"
        "<th>np12</th><th>rms21 before</th><th>np21</th><th>RMS before</th>"
        "<th>RMS after</th><th>Change</th><th>Status</th></tr>\n";
    for (const ReportPairView& view : content.pairs) {
        const PairMeasurement& measured = view.measurement;
        const bool isRead = measured.isBeforeRead;
        html += "<tr data-pair=\"" + pairLabel(content, view.pair) + "\">" +
                cell(pairLabel(content, view.pair), false) +
                cell(formatted("%.2f", view.pair.spacing)) +
                cell(isRead ? formatted("%lf", measured.before.rms12) : "") +
                cell(isRead ? std::to_string(measured.before.np12) : "") +
                cell(isRead ? formatted("%lf", measured.before.rms21) : "") +
                cell(isRead ? std::to_string(measured.before.np21) : "") +
                "<td class=\"n\" data-column=\"before\">" + beforeText(view) +
                "</td>"
                "<td class=\"n\" data-column=\"after\">" +
                htmlEscaped(afterRmsText(view).value_or("")) + "</td>" + cell(changeText(view)) +
                pairStatus(view) + "</tr>\n";
    }
    return html + "</table>\n";
}

// The rows exactly as the result file at `path` holds them, one column per field.
std::string rowsTable(const ReportContent& content, const std::string& path,
                      std::span<const char* const> columns, ResultFields ReportPair::*slot) {
    std::string html = "<h3>Rows of " + htmlEscaped(path) +
                       " as written</h3>\n<table class=\"rows\" data-file=\"" + htmlEscaped(path) +
                       "\"><tr><th>Pair</th>";
    for (const char* column : columns) html += "<th>" + std::string(column) + "</th>";
    html += "</tr>\n";
    for (const ReportPairView& view : content.pairs) {
        const ResultFields& fields = view.pair.*slot;
        if (fields.empty()) continue;
        html += "<tr data-pair=\"" + pairLabel(content, view.pair) + "\">" +
                cell(pairLabel(content, view.pair), false);
        for (std::size_t k = 0; k < fields.size(); ++k) {
            const char* column = k < columns.size() ? columns[k] : "extra";
            html += std::string("<td class=\"n\" data-column=\"") + column + "\">" +
                    htmlEscaped(fields[k]) + "</td>";
        }
        html += "</tr>\n";
    }
    return html + "</table>\n";
}

std::string rmsSection(const ReportContent& content) {
    static constexpr std::array<const char*, 7> registrationColumns{
        "scan1", "rotation1", "scan2", "rotation2", "rms", "numpts", "num_iters"};
    static constexpr std::array<const char*, 9> rmsColumns{
        "scan1", "scan2", "rms12", "np12", "rms21", "np21", "rmswave", "spacing", "range"};
    std::string html = "<h2>RMS of each pair</h2>\n" + rmsChartSvg(content) + rmsTable(content);
    if (content.didRegister) {
        html +=
            rowsTable(content, content.regPath, registrationColumns, &ReportPair::registrationRow);
    }
    if (content.didEvaluate)
        html += rowsTable(content, content.rmsPath, rmsColumns, &ReportPair::rmsRow);
    return html;
}

std::string rotationSection(const ReportContent& content) {
    if (!content.didRegister) {
        return "<h2>Rotation of each scan</h2>\n<p>This run registered no scans.</p>\n";
    }
    std::string html = "<h2>Rotation of each scan</h2>\n<p class=\"note\">";
    html += content.isAdjusted
                ? "Each scan's rotation adjusted over all pairs, as the rotation stage applied it."
            : content.runMode == 4
                ? "The mean of each scan's registered rotations, as the rotation stage applied it."
                : "The mean of each scan's registered rotations, as a rotation stage (mode 2) "
                  "would apply it.";
    html +=
        " The whisker runs from its least to its greatest entry.</p>\n" + rotationChartSvg(content);
    html +=
        "<table class=\"turns\"><tr><th>Scan</th><th>Rotation (degrees)</th><th>Entries</th>"
        "<th>Spread (degrees)</th><th>Least</th><th>Greatest</th></tr>\n";
    for (const ReportScan& scan : content.scans) {
        const RotationStats& turn = scan.rotation;
        const bool hasTurn = turn.count > 0;
        html += "<tr>" + cell(std::to_string(scan.scanId), false) +
                cell(hasTurn ? formatted("%f", turn.meanDeg) : "none") +
                cell(std::to_string(turn.count)) +
                cell(hasTurn ? formatted("%f", turn.spreadDeg) : "") +
                cell(hasTurn ? formatted("%f", turn.leastDeg) : "") +
                cell(hasTurn ? formatted("%f", turn.greatestDeg) : "") + "</tr>\n";
    }
    return html + "</table>\n";
}

std::string picture(const std::string& png, const std::string& caption) {
    if (png.empty())
        return "<figure><figcaption>" + htmlEscaped(caption) +
               ": no picture</figcaption></figure>\n";
    return "<figure><img alt=\"" + htmlEscaped(caption) + "\" src=\"data:image/png;base64," +
           base64Of(png) + "\"><figcaption>" + htmlEscaped(caption) + "</figcaption></figure>\n";
}

std::string overlapSection(const ReportContent& content) {
    std::string html =
        "<h2>Overlap of each pair</h2>\n<p class=\"note\">Each pair seen from above over the box "
        "its two scans have in common, north up, before and after alignment in the same frame. "
        "The first scan is <span class=\"swatch\" style=\"background:#ff4632\"></span> red, the "
        "second <span class=\"swatch\" style=\"background:#28c8ff\"></span> cyan, and what both "
        "show in the same place turns white. Walls, poles and kerbs are bright, ground is dim: a "
        "wall drawn twice, once red and once cyan, is a misfit.</p>\n";
    for (const ReportPairView& view : content.pairs) {
        const PlanWindow& window = view.measurement.window;
        html += formatted("<h3>Pair %s: scan %i red, scan %i cyan</h3>\n",
                          pairLabel(content, view.pair).c_str(),
                          scanOf(content, view.pair.firstIndex).scanId,
                          scanOf(content, view.pair.secondIndex).scanId);
        if (window.width > 0) {
            html += formatted("<p class=\"note\">%.1f by %.1f units, %.3f units a pixel.</p>\n",
                              window.unitsPerPixel * window.width,
                              window.unitsPerPixel * window.height, window.unitsPerPixel);
        }
        html += picture(view.measurement.beforePng, "before: RMS " + beforeText(view));
        html +=
            picture(view.measurement.afterPng, "after: RMS " + afterRmsText(view).value_or("none"));
    }
    return html;
}

std::string optionsSection(const ReportContent& content) {
    std::string html = "<h2>Options in force</h2>\n<p class=\"note\">";
    html += content.isOptionFileRead ? "Read from " + htmlEscaped(content.optionPath) +
                                           "; keys it does not set keep their defaults."
                                     : "The option file " + htmlEscaped(content.optionPath) +
                                           " could not be read: every option has its default.";
    html +=
        " ALPHA and ALPHATHRESH are in degrees, as the file holds them.</p>\n<table "
        "class=\"options\">";
    for (const OptionSetting& setting : optionSettings(content.options)) {
        html += "<tr><th>" + htmlEscaped(setting.key) + "</th>" + cell(setting.value) + "</tr>\n";
    }
    return html + "</table>\n";
}

std::string fileTable(std::span<const FileNote> files) {
    std::string html = "<table class=\"files\"><tr><th>File</th><th>Role</th><th>Bytes</th></tr>\n";
    for (const FileNote& file : files) {
        html += "<tr>" + cell(file.path, false) + cell(file.role, false) +
                cell(file.byteCount >= 0 ? std::to_string(file.byteCount) : "missing") + "</tr>\n";
    }
    return html + "</table>\n";
}

std::string filesSection(const ReportContent& content) {
    return "<h2>Files</h2>\n<h3>Read</h3>\n" + fileTable(content.filesRead) + "<h3>Written</h3>\n" +
           fileTable(content.filesWritten);
}

std::string logSection(const ReportContent& content) {
    std::string html = "<h2>Failures from the log</h2>\n";
    if (content.logText.empty()) return html + "<p class=\"good\">The log holds no failures.</p>\n";
    return html + "<pre>" + htmlEscaped(content.logText) + "</pre>\n";
}

}  // namespace

std::string modeDescription(std::int32_t runMode) {
    switch (runMode) {
    case 1: return "register a line";
    case 3: return "evaluate the RMS of a line";
    case 4: return "register, rotate and evaluate a line";
    case 6: return "register a site";
    case 7: return "evaluate the RMS of a site";
    default: return "no pairs";
    }
}

std::string reportPage(const ReportContent& content) {
    std::string html =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<title>sorvek alignment report: " +
        htmlEscaped(content.databasePath) +
        "</title>\n"
        "<style>\n" +
        std::string(pageStyle) + "</style>\n</head>\n<body>\n";
    html += summarySection(content);
    html += "<h2>Plan view</h2>\n";
    html += content.scans.empty() ? "<p>The survey database holds no scans.</p>\n"
                                  : planViewSvg(content);
    html += rmsSection(content);
    html += rotationSection(content);
    html += overlapSection(content);
    html += optionsSection(content) + filesSection(content) + logSection(content);
    html +=
        "<p class=\"run-time\">" + htmlEscaped(content.runTimeLine) + "</p>\n</body>\n</html>\n";
    return html;
}

}  // namespace sorvek
