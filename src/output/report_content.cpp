#include "output/report_content.h"

#include <cstdlib>
#include <limits>

#include "output/report_text.h"

namespace sorvek {

std::optional<std::string> afterRmsText(const ReportPairView& view) {
    constexpr std::size_t rmswaveColumn = 6;
    if (view.measurement.isAfterMeasured) return formatted("%lf", view.measurement.after.rmswave);
    if (view.pair.rmsRow.size() > rmswaveColumn) return view.pair.rmsRow[rmswaveColumn];
    return std::nullopt;
}

double rmsValueOf(const std::optional<std::string>& text) {
    if (!text) return std::numeric_limits<double>::quiet_NaN();
    return std::strtod(text->c_str(), nullptr);
}

bool isUnusableRms(double rms) { return !(rms < 999.0); }

}  // namespace sorvek
