#include "output/report_charts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "output/report_text.h"

// Every coordinate is written with one decimal and every colour as "#rrggbb", so that the
// same content always gives the same text.
namespace sorvek {
namespace {

constexpr double margin = 36.0;      // pixels around the plan
constexpr double planWidth = 760.0;  // pixels the plan may take, at most
constexpr double planHeight = 520.0;
constexpr double leastPlanWidth = 700.0;  // pixels: room for the legend below a narrow plan
constexpr double legendHeight = 64.0;     // pixels below the plan
constexpr double chartWidth = 820.0;      // pixels of the bar charts
constexpr double labelWidth = 90.0;       // pixels of a bar chart's row labels
constexpr double valueWidth = 120.0;      // pixels right of the bars for their values

struct Rgb {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
};

constexpr std::array<Rgb, 3> rmsStops{Rgb{26, 152, 80}, Rgb{240, 180, 30}, Rgb{215, 48, 39}};

std::string hexColour(const Rgb& colour) {
    const auto channel = [](double value) {
        return static_cast<int>(std::lround(std::clamp(value, 0.0, 255.0)));
    };
    return formatted("#%02x%02x%02x", channel(colour.red), channel(colour.green),
                     channel(colour.blue));
}

Rgb blend(const Rgb& from, const Rgb& to, double share) {
    return {from.red + ((to.red - from.red) * share),
            from.green + ((to.green - from.green) * share),
            from.blue + ((to.blue - from.blue) * share)};
}

// 1, 2 or 5 times a power of ten, the least at or above `value` (positive).
double niceCeiling(double value) {
    if (!(value > 0.0) || !std::isfinite(value)) return 1.0;
    const double power = std::pow(10.0, std::floor(std::log10(value)));
    for (const double step : {1.0, 2.0, 5.0, 10.0}) {
        if (step * power >= value) return step * power;
    }
    return 10.0 * power;
}

// --- the plan ---

struct PlanFrame {
    double minX = 0.0;    // survey x at the left edge of the plan area
    double maxY = 0.0;    // survey y at its top edge
    double scale = 1.0;   // pixels per survey unit
    double left = 0.0;    // pixels from the drawing's left edge to the plan area's
    double width = 0.0;   // pixels of the whole drawing
    double height = 0.0;  // pixels of the plan, legend excluded
};

// Grows [low, high] about its middle to at least `least`.
void widen(double& low, double& high, double least) {
    const double missing = least - (high - low);
    if (missing <= 0.0) return;
    low -= missing * 0.5;
    high += missing * 0.5;
}

PlanFrame planFrameOf(std::span<const ReportScan> scans) {
    double minX = std::numeric_limits<double>::max();
    double maxX = std::numeric_limits<double>::lowest();
    double minY = minX;
    double maxY = maxX;
    for (const ReportScan& scan : scans) {
        if (!std::isfinite(scan.x) || !std::isfinite(scan.y)) continue;
        minX = std::min(minX, scan.x);
        maxX = std::max(maxX, scan.x);
        minY = std::min(minY, scan.y);
        maxY = std::max(maxY, scan.y);
    }
    if (minX > maxX) minX = maxX = minY = maxY = 0.0;  // no scan with a position
    const double extent = std::max({maxX - minX, maxY - minY, 10.0});
    // A line must not shrink to a sliver across its direction.
    widen(minX, maxX, extent * 0.3);
    widen(minY, maxY, extent * 0.3);
    const double pad = extent * 0.12;
    const double spanX = (maxX - minX) + (2.0 * pad);
    const double spanY = (maxY - minY) + (2.0 * pad);
    PlanFrame frame;
    frame.minX = minX - pad;
    frame.maxY = maxY + pad;
    frame.scale = std::min(planWidth / spanX, planHeight / spanY);
    frame.width = std::max((spanX * frame.scale) + (2.0 * margin), leastPlanWidth);
    frame.left = (frame.width - (spanX * frame.scale)) * 0.5;
    frame.height = (spanY * frame.scale) + (2.0 * margin);
    return frame;
}

double screenX(const PlanFrame& frame, double x) {
    return frame.left + ((x - frame.minX) * frame.scale);
}
double screenY(const PlanFrame& frame, double y) {
    return margin + ((frame.maxY - y) * frame.scale);
}

std::string pairLabel(const ReportContent& content, const ReportPair& pair) {
    return formatted("%i-%i", content.scans[static_cast<std::size_t>(pair.firstIndex)].scanId,
                     content.scans[static_cast<std::size_t>(pair.secondIndex)].scanId);
}

struct Offset {
    double x = 0.0;  // pixels to the right
    double y = 0.0;  // pixels down
};

// Where a pair's label sits from the middle of its line: 10 pixels across the line, to
// its right, or above it when the line runs level.
Offset labelOffset(double dx, double dy) {
    const double length = std::hypot(dx, dy);
    if (!(length > 0.0)) return {8.0, -6.0};
    Offset across{-dy / length, dx / length};
    if (across.x < 0.0 || (across.x == 0.0 && across.y > 0.0)) across = {-across.x, -across.y};
    return {(across.x * 10.0) + 2.0, (across.y * 10.0) + 4.0};
}

std::string pairLine(const ReportContent& content, const PlanFrame& frame,
                     const ReportPairView& view) {
    const ReportScan& first = content.scans[static_cast<std::size_t>(view.pair.firstIndex)];
    const ReportScan& second = content.scans[static_cast<std::size_t>(view.pair.secondIndex)];
    const double x1 = screenX(frame, first.x);
    const double y1 = screenY(frame, first.y);
    const double x2 = screenX(frame, second.x);
    const double y2 = screenY(frame, second.y);
    const std::optional<std::string> after = afterRmsText(view);
    const double afterRms = rmsValueOf(after);
    const std::string title = "pair " + pairLabel(content, view.pair) + ": RMS after " +
                              (after ? *after : std::string("none"));
    if (view.isMissingRow || isUnusableRms(afterRms)) {
        const double midX = (x1 + x2) * 0.5;
        const double midY = (y1 + y2) * 0.5;
        return formatted(
            "<g class=\"pair failed\"><title>%s</title><line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" "
            "y2=\"%.1f\" stroke=\"#888888\" stroke-width=\"3\" stroke-dasharray=\"7 5\"/>"
            "<path d=\"M%.1f %.1fl10 10m0 -10l-10 10\" stroke=\"#c00000\" "
            "stroke-width=\"3\"/></g>\n",
            htmlEscaped(title).c_str(), x1, y1, x2, y2, midX - 5.0, midY - 5.0);
    }
    const Offset label = labelOffset(x2 - x1, y2 - y1);
    return formatted(
        "<g class=\"pair\"><title>%s</title><line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" "
        "y2=\"%.1f\" stroke=\"%s\" stroke-width=\"6\" stroke-linecap=\"round\"/>"
        "<text x=\"%.1f\" y=\"%.1f\" class=\"rms\">%.4f</text></g>\n",
        htmlEscaped(title).c_str(), x1, y1, x2, y2,
        rmsColour(afterRms, rmsScaleTop(content.options)).c_str(), ((x1 + x2) * 0.5) + label.x,
        ((y1 + y2) * 0.5) + label.y, afterRms);
}

// The arrow points along the scanner's own x axis, turned by the database heading; the
// id stands on the other side of the mark, clear of the arrow.
std::string scanMark(const PlanFrame& frame, const ReportScan& scan) {
    const double x = screenX(frame, scan.x);
    const double y = screenY(frame, scan.y);
    const double arrowLength = 26.0;
    const double labelDistance = 14.0;
    const double tipX = x + (arrowLength * std::cos(scan.headingRad));
    const double tipY = y - (arrowLength * std::sin(scan.headingRad));
    return formatted(
        "<g class=\"scan\"><title>scan %i</title><line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" "
        "y2=\"%.1f\" stroke=\"#1f3a93\" stroke-width=\"2\" marker-end=\"url(#heading)\"/>"
        "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"5\" fill=\"#111111\"/>"
        "<text x=\"%.1f\" y=\"%.1f\" class=\"id\">%i</text></g>\n",
        scan.scanId, x, y, tipX, tipY, x, y, x - (labelDistance * std::cos(scan.headingRad)),
        y + (labelDistance * std::sin(scan.headingRad)) + 4.0, scan.scanId);
}

// A bar of a round length near 120 pixels, with its length in survey units, at the top
// left as on a map.
std::string scaleBar(const PlanFrame& frame) {
    const double length = niceCeiling(120.0 / frame.scale);
    const double pixels = length * frame.scale;
    const double x = margin;
    const double top = 8.0;
    return formatted(
        "<path d=\"M%.1f %.1fv6h%.1fv-6\" fill=\"none\" stroke=\"#222222\" stroke-width=\"2\"/>"
        "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">%g units</text>\n",
        x, top, pixels, x + (pixels * 0.5), top + 22.0, length);
}

std::string planLegend(const ReportContent& content, const PlanFrame& frame) {
    const double top = frame.height + 8.0;
    const double rmsTop = rmsScaleTop(content.options);
    std::string legend = formatted(
        "<text x=\"%.1f\" y=\"%.1f\">RMS after alignment</text>"
        "<rect x=\"%.1f\" y=\"%.1f\" width=\"180\" height=\"12\" fill=\"url(#rmsScale)\"/>"
        "<text x=\"%.1f\" y=\"%.1f\">0</text><text x=\"%.1f\" y=\"%.1f\" text-anchor=\"end\">%g or "
        "more</text>\n",
        margin, top + 10.0, margin, top + 16.0, margin, top + 42.0, margin + 180.0, top + 42.0,
        rmsTop);
    legend += formatted(
        "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"#888888\" "
        "stroke-width=\"3\" stroke-dasharray=\"7 5\"/><text x=\"%.1f\" y=\"%.1f\">failed: "
        "not read, or too few samples</text>\n",
        margin + 210.0, top + 22.0, margin + 250.0, top + 22.0, margin + 258.0, top + 26.0);
    return legend;
}

std::string planDefinitions() {
    return formatted(
        "<defs><marker id=\"heading\" viewBox=\"0 0 10 10\" refX=\"8\" refY=\"5\" "
        "markerWidth=\"6\" markerHeight=\"6\" orient=\"auto\"><path d=\"M0 0L10 5L0 10z\" "
        "fill=\"#1f3a93\"/></marker><linearGradient id=\"rmsScale\"><stop offset=\"0\" "
        "stop-color=\"%s\"/><stop offset=\"0.5\" stop-color=\"%s\"/><stop offset=\"1\" "
        "stop-color=\"%s\"/></linearGradient></defs>\n",
        hexColour(rmsStops[0]).c_str(), hexColour(rmsStops[1]).c_str(),
        hexColour(rmsStops[2]).c_str());
}

// --- the bar charts ---

std::string svgOpening(double width, double height, const char* label) {
    return formatted(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" "
        "viewBox=\"0 0 %.0f %.0f\" role=\"img\" aria-label=\"%s\">\n",
        width, height, width, height, label);
}

std::string barRow(double y, double left, double unitsToPixels, double value, const char* fill,
                   const char* name) {
    if (isUnusableRms(value)) {
        return formatted("<text x=\"%.1f\" y=\"%.1f\" class=\"none\">%s: %s</text>\n", left + 4.0,
                         y + 10.0, name, std::isnan(value) ? "none" : "too few samples");
    }
    const double length = std::max(value * unitsToPixels, 1.0);
    return formatted(
        "<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"12\" fill=\"%s\"><title>%s "
        "%.6f</title></rect><text x=\"%.1f\" y=\"%.1f\" class=\"value\">%.4f</text>\n",
        left, y, length, fill, name, value, left + length + 6.0, y + 10.0, value);
}

double largestUsableRms(const ReportContent& content) {
    double largest = 0.0;
    for (const ReportPairView& view : content.pairs) {
        for (const double value :
             {view.measurement.before.rmswave, rmsValueOf(afterRmsText(view))}) {
            if (!isUnusableRms(value)) largest = std::max(largest, value);
        }
    }
    return largest;
}

double largestTurn(const ReportContent& content) {
    double largest = 0.0;
    for (const ReportScan& scan : content.scans) {
        if (scan.rotation.count == 0) continue;
        largest = std::max(
            {largest, std::abs(scan.rotation.leastDeg), std::abs(scan.rotation.greatestDeg)});
    }
    return largest;
}

std::string rotationRow(const ReportScan& scan, double y, double zeroX, double pixelsPerDeg,
                        double valueX) {
    std::string row = formatted("<text x=\"%.1f\" y=\"%.1f\" class=\"label\">scan %i</text>\n",
                                labelWidth - 8.0, y + 10.0, scan.scanId);
    if (scan.rotation.count == 0) {
        return row + formatted("<text x=\"%.1f\" y=\"%.1f\" class=\"none\">no rotation</text>\n",
                               zeroX + 6.0, y + 10.0);
    }
    const RotationStats& turn = scan.rotation;
    const double meanX = zeroX + (turn.meanDeg * pixelsPerDeg);
    row += formatted(
        "<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"12\" fill=\"#2b7bba\"><title>scan %i: "
        "%.6f degrees</title></rect>\n",
        std::min(zeroX, meanX), y, std::max(std::abs(meanX - zeroX), 1.0), scan.scanId,
        turn.meanDeg);
    row += formatted(
        "<path d=\"M%.1f %.1fV%.1fM%.1f %.1fH%.1fM%.1f %.1fV%.1f\" stroke=\"#111111\" "
        "stroke-width=\"1.5\"/>\n",
        zeroX + (turn.leastDeg * pixelsPerDeg), y + 2.0, y + 10.0,
        zeroX + (turn.leastDeg * pixelsPerDeg), y + 6.0, zeroX + (turn.greatestDeg * pixelsPerDeg),
        zeroX + (turn.greatestDeg * pixelsPerDeg), y + 2.0, y + 10.0);
    return row + formatted(
                     "<text x=\"%.1f\" y=\"%.1f\" class=\"value\">%.4f&#176;, %i entries, "
                     "spread %.4f&#176;</text>\n",
                     valueX, y + 10.0, turn.meanDeg, turn.count, turn.spreadDeg);
}

}  // namespace

double rmsScaleTop(const RunOptions& options) {
    const double top = options.MAXDISTFINAL * 0.5;
    return top > 0.0 && std::isfinite(top) ? top : 0.05;
}

std::string rmsColour(double rms, double top) {
    const double share = std::isnan(rms) ? 1.0 : std::clamp(rms / top, 0.0, 1.0);
    if (share <= 0.5) return hexColour(blend(rmsStops[0], rmsStops[1], share * 2.0));
    return hexColour(blend(rmsStops[1], rmsStops[2], (share - 0.5) * 2.0));
}

std::string planViewSvg(const ReportContent& content) {
    const PlanFrame frame = planFrameOf(content.scans);
    std::string svg =
        svgOpening(frame.width, frame.height + legendHeight, "plan view of the scans");
    svg += planDefinitions();
    svg += formatted("<text x=\"%.1f\" y=\"20\" text-anchor=\"end\">N &#8593;</text>\n",
                     frame.width - margin);
    svg += scaleBar(frame);
    for (const ReportPairView& view : content.pairs) svg += pairLine(content, frame, view);
    for (const ReportScan& scan : content.scans) svg += scanMark(frame, scan);
    return svg + planLegend(content, frame) + "</svg>\n";
}

std::string rmsChartSvg(const ReportContent& content) {
    const double rowHeight = 40.0;
    const double top = 30.0;
    const double height = top + (rowHeight * static_cast<double>(content.pairs.size())) + 10.0;
    const double scaleEnd = niceCeiling(largestUsableRms(content));
    const double pixelsPerUnit = (chartWidth - labelWidth - valueWidth) / scaleEnd;
    std::string svg = svgOpening(chartWidth, height, "RMS of each pair before and after alignment");
    svg += formatted(
        "<rect x=\"%.1f\" y=\"6\" width=\"12\" height=\"12\" fill=\"#a8a8a8\"/><text x=\"%.1f\" "
        "y=\"16\">before</text><rect x=\"%.1f\" y=\"6\" width=\"12\" height=\"12\" "
        "fill=\"#2b7bba\"/><text x=\"%.1f\" y=\"16\">after</text>\n",
        labelWidth, labelWidth + 16.0, labelWidth + 80.0, labelWidth + 96.0);
    double y = top;
    for (const ReportPairView& view : content.pairs) {
        const double before = view.measurement.isBeforeRead
                                  ? view.measurement.before.rmswave
                                  : std::numeric_limits<double>::quiet_NaN();
        svg += formatted("<text x=\"%.1f\" y=\"%.1f\" class=\"label\">%s</text>\n",
                         labelWidth - 8.0, y + 18.0, pairLabel(content, view.pair).c_str());
        svg += barRow(y, labelWidth, pixelsPerUnit, before, "#a8a8a8", "before");
        svg += barRow(y + 15.0, labelWidth, pixelsPerUnit, rmsValueOf(afterRmsText(view)),
                      "#2b7bba", "after");
        y += rowHeight;
    }
    return svg + "</svg>\n";
}

std::string rotationChartSvg(const ReportContent& content) {
    const double rowHeight = 24.0;
    const double top = 24.0;
    const double height = top + (rowHeight * static_cast<double>(content.scans.size())) + 10.0;
    const double halfRange = niceCeiling(largestTurn(content));
    const double plotWidth = chartWidth - labelWidth - valueWidth - 200.0;
    const double zeroX = labelWidth + (plotWidth * 0.5);
    const double pixelsPerDeg = (plotWidth * 0.5) / halfRange;
    std::string svg = svgOpening(chartWidth, height, "rotation applied to each scan");
    svg += formatted(
        "<path d=\"M%.1f %.1fV%.1f\" stroke=\"#666666\"/><text x=\"%.1f\" y=\"14\" "
        "text-anchor=\"middle\">-%g&#176;</text><text x=\"%.1f\" y=\"14\" "
        "text-anchor=\"middle\">0</text><text x=\"%.1f\" y=\"14\" "
        "text-anchor=\"middle\">+%g&#176;</text>\n",
        zeroX, top - 4.0, height - 6.0, labelWidth, halfRange, zeroX, labelWidth + plotWidth,
        halfRange);
    double y = top;
    for (const ReportScan& scan : content.scans) {
        svg += rotationRow(scan, y, zeroX, pixelsPerDeg, labelWidth + plotWidth + 20.0);
        y += rowHeight;
    }
    return svg + "</svg>\n";
}

}  // namespace sorvek
