#pragma once
// The report as one self-contained web page: inline SVG and PNG pictures, no script, no
// file or address outside itself.

#include <string>

#include "output/report_content.h"

namespace sorvek {

// The whole page. Every text that came from a file or a path is escaped. The same content
// gives the same bytes; only ReportContent::runTimeLine changes from run to run.
std::string reportPage(const ReportContent& content);

// What the run did, in a few words: "register a line", "evaluate RMS of a site", ...
std::string modeDescription(std::int32_t runMode);

}  // namespace sorvek
