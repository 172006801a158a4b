// The report command: reading the records in time order, then the text and the HTML page.
#include "RecordReport.h"

#include <cstdio>
#include <memory>
#include <regex>

#include "RecordReader.h"
#include "ReportHtml.h"
#include "ServerRules.h"

namespace {

const char cUsage[] = "Usage: uwserver report RECORD... [--html FILE]\n";
// Damaged lines named one by one; the rest are only counted.
constexpr std::uint64_t cListedDamage = 20;

struct CInput {
    std::string path;
    CRecordReader reader;
    CRecordParser parser;
    CRecordLine line;
    bool hasLine = false;
};

void Damaged(CReadSummary& summary, const CInput& in, const std::string& why, std::string& err)
{
    if (++summary.damaged <= cListedDamage)
        err += in.path + ":" + std::to_string(in.reader.LineNumber()) + ": damaged record line skipped: " + why + "\n";
}

// Reads up to the input's next record; false when the file could not be read to its end.
bool Advance(CInput& in, CReadSummary& summary, std::string& err)
{
    in.hasLine = false;
    std::string_view text;
    bool tooLong = false;
    std::string why, error;
    while (in.reader.Next(text, tooLong, error)) {
        ++summary.lines;
        if (tooLong)
            why = "longer than " + std::to_string(CRecordReader::cMaxLine) + " bytes";
        else if (in.parser.Parse(text, in.line, why))
            return in.hasLine = true;
        Damaged(summary, in, why, err);
    }
    if (!error.empty())
        err += "uwserver: can't read " + in.path + " to its end: " + error + "\n";
    return error.empty();
}

// The input whose record comes first in time; null when all are at their end.
CInput* Earliest(std::vector<std::unique_ptr<CInput>>& inputs)
{
    CInput* first = nullptr;
    for (auto& in : inputs) {
        if (in->hasLine && (!first || in->line.time < first->line.time))
            first = in.get();
    }
    return first;
}

bool ReadAll(std::vector<std::unique_ptr<CInput>>& inputs, CRecordTally& tally, CReadSummary& summary,
             std::string& err)
{
    bool ok = true;
    for (auto& in : inputs)
        ok = Advance(*in, summary, err) && ok;
    while (CInput* in = Earliest(inputs)) {
        if (!tally.Add(in->line))
            Damaged(summary, *in, "more than " + std::to_string(CRecordTally::cMaxDays) + " days in the records", err);
        ok = Advance(*in, summary, err) && ok;
    }
    if (summary.damaged > cListedDamage)
        err += "uwserver: " + std::to_string(summary.damaged - cListedDamage) + " more damaged lines skipped\n";
    return ok;
}

bool WriteFile(const std::string& path, const std::string& text, std::string& err)
{
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    bool ok = file && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
    ok = file && std::fclose(file.release()) == 0 && ok;
    if (!ok)
        err += "uwserver: can't write " + path + "\n";
    return ok;
}

std::string Percent(std::uint64_t part, std::uint64_t whole)
{
    char text[16];
    double share = whole ? 100.0 * static_cast<double>(part) / static_cast<double>(whole) : 0.0;
    std::snprintf(text, sizeof text, "%5.1f%%", share);
    return text;
}

void AppendKind(const CRecordTally& tally, const CRecordTally::CCounts& counts, CRecordTally::EKind kind,
                const char* title, std::string& out)
{
    std::uint64_t whole = kind == CRecordTally::kReply ? counts.served : counts.machines;
    out += std::string(title) + "\n";
    for (std::size_t label : tally.Ranked(kind)) {
        std::uint64_t n = counts.Count(kind, label);
        if (n == 0)
            continue;
        std::string name = PrintableLabel(ShownLabel(tally, kind, label));
        char figures[48];
        std::snprintf(figures, sizeof figures, " %10llu  %s\n", static_cast<unsigned long long>(n),
                      Percent(n, whole).c_str());
        out += "  " + name + std::string(name.size() < 40 ? 40 - name.size() : 0, ' ') + figures;
    }
}

void AppendCounts(const CRecordTally& tally, const std::string& title, const CRecordTally::CCounts& counts,
                  std::string& out)
{
    char line[256];
    std::snprintf(line, sizeof line,
                  "== %s\nrequests %llu, served %llu, refused %llu; machines %llu; served without a machine "
                  "identity %llu\n",
                  title.c_str(), static_cast<unsigned long long>(counts.requests),
                  static_cast<unsigned long long>(counts.served), static_cast<unsigned long long>(counts.refused),
                  static_cast<unsigned long long>(counts.machines),
                  static_cast<unsigned long long>(counts.unidentified));
    out += line;
    AppendKind(tally, counts, CRecordTally::kVersion, "machines by version", out);
    AppendKind(tally, counts, CRecordTally::kSystem, "machines by system", out);
    AppendKind(tally, counts, CRecordTally::kLanguage, "machines by language", out);
    AppendKind(tally, counts, CRecordTally::kReply, "replies served", out);
}

} // namespace

std::string ShownLabel(const CRecordTally& tally, CRecordTally::EKind kind, std::size_t label)
{
    const std::string& name = tally.Labels(kind)[label];
    static const std::regex dotted("[0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+");
    static const std::regex shown("[0-9]+\\.[0-9]{2}[a-z]?( (alpha|beta) [0-9]+)?");
    Orn::CVersion version;
    Orn::CString display;
    if (kind != CRecordTally::kVersion || !std::regex_match(name, dotted) || !ParseRequestVersion(name, version))
        return name;
    version.Format(display, Orn::vsDisplay);
    std::string text = display.Chars();
    if (!std::regex_match(text, shown))
        return name;
    // The minor number has two digits, and the program drops a last zero: 3.10 is 3.1.
    std::size_t dot = text.find('.');
    if (text[dot + 2] == '0')
        text.erase(dot + 2, 1);
    return text + " (" + name + ")";
}

std::string PrintableLabel(const std::string& label)
{
    std::string text;
    for (unsigned char c : label) {
        char hex[8];
        std::snprintf(hex, sizeof hex, "\\x%02X", c);
        text += c >= 0x20 && c < 0x7F ? std::string(1, static_cast<char>(c)) : hex;
    }
    return text;
}

std::string ReportText(const CRecordTally& tally, const CReadSummary& summary)
{
    char line[200];
    std::snprintf(line, sizeof line, "records: %zu file(s), %llu lines, %llu damaged lines skipped\n", summary.files,
                  static_cast<unsigned long long>(summary.lines), static_cast<unsigned long long>(summary.damaged));
    std::string out = line;
    const auto& days = tally.Days();
    std::string span = days.empty() ? "no days" : days.begin()->first + " to " + days.rbegin()->first;
    AppendCounts(tally, "total, " + span, tally.Total(), out);
    for (const auto& day : days)
        AppendCounts(tally, day.first, day.second, out);
    return out;
}

namespace {

// The record files and the page's path from "RECORD... [--html FILE]"; false for anything else.
bool ParseReportArgs(const std::vector<std::string>& args, std::vector<std::unique_ptr<CInput>>& inputs,
                     std::string& html)
{
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--html" && i + 1 < args.size() && html.empty()) {
            html = args[++i];
        } else if (!args[i].empty() && args[i][0] != '-') {
            inputs.push_back(std::make_unique<CInput>());
            inputs.back()->path = args[i];
        } else {
            return false;
        }
    }
    return !inputs.empty();
}

} // namespace

int RunReport(const std::vector<std::string>& args, std::string& out, std::string& err)
{
    std::vector<std::unique_ptr<CInput>> inputs;
    std::string html;
    if (!ParseReportArgs(args, inputs, html)) {
        err += cUsage;
        return 2;
    }
    for (auto& in : inputs) {
        std::string error;
        if (!in->reader.Open(in->path, error)) {
            err += "uwserver: can't read " + in->path + ": " + error + "\n";
            return 1;
        }
    }
    CRecordTally tally;
    CReadSummary summary;
    summary.files = inputs.size();
    bool ok = ReadAll(inputs, tally, summary, err);
    out += ReportText(tally, summary);
    ok = (html.empty() || WriteFile(html, ReportHtml(tally, summary), err)) && ok;
    return ok ? 0 : 1;
}
