// The report as one HTML page that needs nothing else: SVG charts and tables, no script, nothing fetched.
#pragma once

#include <string>

#include "RecordReport.h"

std::string ReportHtml(const CRecordTally& tally, const CReadSummary& summary);
