#pragma once
// The report of a run: gathered, measured and written once the stages are over.

#include <ctime>

#include "run/records.h"

namespace sorvek {

// Writes the page that --report asked for, in the modes that have one, as a whole file:
// under its partial name until it is complete. A progress line and the page's path go to
// standard error; standard output stays as the run without a report would leave it,
// unless the page cannot be written, which ends the run as any failed write does.
// `startTime` is when the run began.
void writeRunReport(const Run& run, std::time_t startTime);

}  // namespace sorvek
