// The HTML report: a summary, stacked bars per day, bars of the totals, and the figures as tables.
#include "ReportHtml.h"

#include <algorithm>
#include <cstdio>

namespace {

using EKind = CRecordTally::EKind;

const char* const cPalette[] = {"#4e79a7", "#f28e2b", "#e15759", "#76b7b2", "#59a14f",
                                "#edc948", "#b07aa1", "#ff9da7", "#9c755f"};
const char cOtherColour[] = "#bab0ac";
constexpr std::size_t cNamedSeries = std::size(cPalette);
// The plot area of the day charts, and where their legend starts.
constexpr double cLeft = 70, cRight = 740, cTop = 20, cBottom = 260, cLegend = 760;

const char cHead[] =
    "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
    // Nothing is fetched and nothing runs, whatever a label in the records holds.
    "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'\">\n"
    "<title>UpdateWatch version checks</title>\n<style>\n"
    "body { font-family: sans-serif; margin: 24px; color: #222; }\n"
    "table { border-collapse: collapse; margin-bottom: 16px; }\n"
    "td, th { padding: 2px 10px; border-bottom: 1px solid #ddd; text-align: right; }\n"
    "td:first-child, th:first-child { text-align: left; }\n"
    "svg text { font-size: 12px; fill: #222; }\n"
    "</style>\n</head>\n<body>\n";

// Markup characters and every byte outside ASCII as character references; the bytes 0x80 to 0x9F read as
// Windows-1252, the program's code page.
std::string Escape(const std::string& text)
{
    std::string out;
    for (unsigned char c : text) {
        if (c == '&' || c == '<' || c == '>' || c == '"' || c == '\'' || c >= 0x7F || c < 0x20)
            out += "&#" + std::to_string(c < 0x20 ? 0xFFFD : c) + ";";
        else
            out += static_cast<char>(c);
    }
    return out;
}

std::string Shortened(const std::string& text, std::size_t most)
{
    return text.size() <= most ? text : text.substr(0, most - 3) + "...";
}

std::string Num(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

struct CSeries {
    std::string name;
    const char* colour;
    std::vector<std::uint64_t> values; // one a day
};

// The largest labels of a kind as series over the days, the rest summed as "other".
std::vector<CSeries> DaySeries(const CRecordTally& tally, EKind kind)
{
    std::vector<CSeries> series;
    std::vector<std::size_t> ranked = tally.Ranked(kind);
    for (std::size_t i = 0; i < ranked.size(); ++i) {
        if (i <= cNamedSeries)
            series.push_back({i < cNamedSeries ? ShownLabel(tally, kind, ranked[i]) : "other",
                              i < cNamedSeries ? cPalette[i] : cOtherColour, {}});
        CSeries& s = series.back();
        s.values.resize(tally.Days().size());
        std::size_t day = 0;
        for (const auto& counts : tally.Days())
            s.values[day++] += counts.second.Count(kind, ranked[i]);
    }
    return series;
}

// A step of 1, 2 or 5 times a power of ten, so that about four grid lines cover the largest value.
std::uint64_t GridStep(std::uint64_t largest)
{
    std::uint64_t step = 1;
    for (;;) {
        for (std::uint64_t factor : {1, 2, 5}) {
            if (largest <= step * factor * 4)
                return step * factor;
        }
        step *= 10;
    }
}

std::string Axis(std::uint64_t top, std::uint64_t step, double scale)
{
    std::string svg;
    for (std::uint64_t v = 0; v <= top; v += step) {
        std::string y = Num(cBottom - static_cast<double>(v) * scale);
        svg += "<line x1=\"" + Num(cLeft) + "\" x2=\"" + Num(cRight) + "\" y1=\"" + y + "\" y2=\"" + y +
               "\" stroke=\"#ddd\"/><text x=\"" + Num(cLeft - 6) + "\" y=\"" + y +
               "\" text-anchor=\"end\" dominant-baseline=\"middle\">" + std::to_string(v) + "</text>\n";
    }
    return svg;
}

std::string Legend(const std::vector<CSeries>& series)
{
    std::string svg;
    for (std::size_t i = 0; i < series.size(); ++i) {
        std::string y = Num(cTop + 20.0 * static_cast<double>(i));
        svg += "<rect x=\"" + Num(cLegend) + "\" y=\"" + y + "\" width=\"14\" height=\"14\" fill=\"" +
               series[i].colour + "\"/><text x=\"" + Num(cLegend + 20) + "\" y=\"" + Num(cTop + 11 + 20.0 * i) +
               "\">" + Escape(Shortened(series[i].name, 28)) + "</text>\n";
    }
    return svg;
}

std::string DayLabels(const std::vector<std::string>& days, double slot)
{
    std::string svg;
    std::size_t every = days.size() / 12 + 1;
    for (std::size_t i = 0; i < days.size(); i += every)
        svg += "<text x=\"" + Num(cLeft + slot * (static_cast<double>(i) + 0.5)) + "\" y=\"" + Num(cBottom + 18) +
               "\" text-anchor=\"middle\">" + Escape(days[i].substr(5)) + "</text>\n";
    return svg;
}

// One bar a day, its series stacked from the bottom.
std::string StackedBars(const std::vector<std::string>& days, const std::vector<CSeries>& series)
{
    std::uint64_t largest = 1;
    for (std::size_t d = 0; d < days.size(); ++d) {
        std::uint64_t sum = 0;
        for (const CSeries& s : series)
            sum += s.values[d];
        largest = std::max(largest, sum);
    }
    std::uint64_t step = GridStep(largest), top = (largest + step - 1) / step * step;
    double scale = (cBottom - cTop) / static_cast<double>(top);
    double slot = (cRight - cLeft) / static_cast<double>(std::max<std::size_t>(days.size(), 1));
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"960\" height=\"" +
                      Num(std::max(cBottom + 30, cTop + 20.0 * series.size())) + "\">\n" + Axis(top, step, scale);
    for (std::size_t d = 0; d < days.size(); ++d) {
        double base = cBottom;
        for (const CSeries& s : series) {
            double height = static_cast<double>(s.values[d]) * scale;
            if (s.values[d] == 0)
                continue;
            base -= height;
            svg += "<rect x=\"" + Num(cLeft + slot * (d + 0.1)) + "\" y=\"" + Num(base) + "\" width=\"" +
                   Num(std::max(slot * 0.8, 1.0)) + "\" height=\"" + Num(height) + "\" fill=\"" + s.colour +
                   "\"><title>" + Escape(days[d] + ", " + s.name + ": " + std::to_string(s.values[d])) +
                   "</title></rect>\n";
        }
    }
    return svg + DayLabels(days, slot) + Legend(series) + "</svg>\n";
}

// The totals of a kind as horizontal bars, largest first.
std::string TotalBars(const CRecordTally& tally, EKind kind)
{
    const CRecordTally::CCounts& total = tally.Total();
    std::vector<std::size_t> ranked = tally.Ranked(kind);
    std::size_t rows = std::min(ranked.size(), cNamedSeries);
    std::uint64_t largest = 1;
    for (std::size_t i = 0; i < rows; ++i)
        largest = std::max(largest, total.Count(kind, ranked[i]));
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"960\" height=\"" +
                      std::to_string(24 * rows + (ranked.size() > rows ? 32 : 8)) + "\">\n";
    for (std::size_t i = 0; i < rows; ++i) {
        std::uint64_t n = total.Count(kind, ranked[i]);
        double width = std::max(500.0 * static_cast<double>(n) / static_cast<double>(largest), 1.0);
        std::string y = std::to_string(24 * i + 4);
        svg += "<text x=\"290\" y=\"" + std::to_string(24 * i + 20) + "\" text-anchor=\"end\">" +
               Escape(ShownLabel(tally, kind, ranked[i])) + "</text><rect x=\"300\" y=\"" + y + "\" width=\"" +
               Num(width) + "\" height=\"18\" fill=\"" + cPalette[i] + "\"/><text x=\"" + Num(306 + width) +
               "\" y=\"" + std::to_string(24 * i + 20) + "\">" + std::to_string(n) + "</text>\n";
    }
    if (ranked.size() > rows)
        svg += "<text x=\"300\" y=\"" + std::to_string(24 * rows + 20) + "\">and " +
               std::to_string(ranked.size() - rows) + " more, in the table below</text>\n";
    return svg + "</svg>\n";
}

std::string Cell(std::uint64_t n) { return "<td>" + std::to_string(n) + "</td>"; }

std::string DayTable(const CRecordTally& tally)
{
    std::string html = "<table>\n<tr><th>day</th><th>requests</th><th>served</th><th>refused</th><th>machines</th>"
                       "<th>served without identity</th></tr>\n";
    auto row = [&html](const std::string& name, const CRecordTally::CCounts& c) {
        html += "<tr><td>" + Escape(name) + "</td>" + Cell(c.requests) + Cell(c.served) + Cell(c.refused) +
                Cell(c.machines) + Cell(c.unidentified) + "</tr>\n";
    };
    for (const auto& day : tally.Days())
        row(day.first, day.second);
    row("total", tally.Total());
    return html + "</table>\n";
}

std::string KindTable(const CRecordTally& tally, EKind kind, const char* counted)
{
    std::string html = "<table>\n<tr><th></th><th>" + std::string(counted) + "</th></tr>\n";
    for (std::size_t label : tally.Ranked(kind))
        html += "<tr><td>" + Escape(ShownLabel(tally, kind, label)) + "</td>" + Cell(tally.Total().Count(kind, label)) +
                "</tr>\n";
    return html + "</table>\n";
}

} // namespace

std::string ReportHtml(const CRecordTally& tally, const CReadSummary& summary)
{
    std::vector<std::string> days;
    for (const auto& day : tally.Days())
        days.push_back(day.first);
    const CRecordTally::CCounts& total = tally.Total();
    std::string span = days.empty() ? "no days" : days.front() + " to " + days.back();
    std::string html = cHead + ("<h1>Version checks, " + Escape(span) + "</h1>\n<p>") +
                       std::to_string(total.machines) + " machines, " + std::to_string(total.served) +
                       " replies served, " + std::to_string(total.refused) + " requests refused; " +
                       std::to_string(summary.lines) + " record lines from " + std::to_string(summary.files) +
                       (summary.files == 1 ? " file, " : " files, ") + std::to_string(summary.damaged) +
                       " damaged lines skipped.</p>\n";
    html += "<h2>Machines per day by product version</h2>\n" + StackedBars(days, DaySeries(tally, EKind::kVersion));
    html += "<h2>Replies served per day</h2>\n" + StackedBars(days, DaySeries(tally, EKind::kReply));
    html += "<h2>Machines by system</h2>\n" + TotalBars(tally, EKind::kSystem);
    html += "<h2>Machines by language</h2>\n" + TotalBars(tally, EKind::kLanguage);
    html += "<h2>Per day</h2>\n" + DayTable(tally);
    html += "<h2>In total</h2>\n<h3>Product versions</h3>\n" + KindTable(tally, EKind::kVersion, "machines");
    html += "<h3>Systems</h3>\n" + KindTable(tally, EKind::kSystem, "machines");
    html += "<h3>Languages</h3>\n" + KindTable(tally, EKind::kLanguage, "machines");
    html += "<h3>Replies</h3>\n" + KindTable(tally, EKind::kReply, "served");
    return html + "</body>\n</html>\n";
}
