// "uwserver report RECORD... [--html FILE]": what the records say about the machines in the field, as text
// and, when asked, as one self-contained HTML page.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "RecordTally.h"

struct CReadSummary {
    std::size_t files = 0;
    std::uint64_t lines = 0;
    std::uint64_t damaged = 0;
};

// Reads every record file, merged in time order (each file is in the order its server wrote it); damaged lines
// are counted and the first ones named in `err`. The exit status: 0 fine, 1 a file that cannot be read or
// written, 2 a wrong command line.
int RunReport(const std::vector<std::string>& args, std::string& out, std::string& err);

// The report as text for the terminal.
std::string ReportText(const CRecordTally& tally, const CReadSummary& summary);
// A label as the report shows it: a version sent as four numbers with the form the program shows ("3.1c
// (3.10.99.0)"), any other as it came.
std::string ShownLabel(const CRecordTally& tally, CRecordTally::EKind kind, std::size_t label);
// A label as the terminal may show it: control and non-ASCII bytes as \xHH.
std::string PrintableLabel(const std::string& label);
