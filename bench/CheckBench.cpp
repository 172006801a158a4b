// Times a silent version check, "UpdateWatch.exe -s -v PagesTotal=1", against its floor, check_floor.exe, which
// only gets the same URL with WinINet, alternating the two, and prints the means, the medians and their ratios.
// Wine ends a process on a coarse clock, so single runs fall on a few values: compare means of many runs.
// Each round runs every program once, each just after a run of the floor.
//
// Usage: check_bench.exe RUNS URL [UPDATEWATCH.EXE...]
// check_floor.exe and, unless others are named, UpdateWatch.exe sit beside it; each program named is timed in
// turn with the floor, so that two builds can be compared in one session. scripts/bench.sh serves the URL and
// points WinINet at the server.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchProcess.h"

namespace {

struct Row {
    std::string name;
    std::string cmd;
    std::vector<double> ms;
    int failures = 0;
};

void TimeOnce(Row& row)
{
    double ms = 0;
    if (Bench::TimeRun(row.cmd, 0, ms))
        row.ms.push_back(ms);
    else
        ++row.failures;
}

void Print(const Row& row)
{
    std::printf("%-40s %3zu runs  mean %7.1f ms  median %7.1f ms  %d failed\n", row.name.c_str(), row.ms.size(),
                Bench::Mean(row.ms), Bench::Median(row.ms), row.failures);
}

void PrintRatio(const Row& check, const Row& floor)
{
    double floorMean = Bench::Mean(floor.ms);
    double floorMedian = Bench::Median(floor.ms);
    std::printf("%s / floor: means %.2f, medians %.2f\n", check.name.c_str(),
                floorMean > 0 ? Bench::Mean(check.ms) / floorMean : 0,
                floorMedian > 0 ? Bench::Median(check.ms) / floorMedian : 0);
}

} // namespace

int main(int argc, char** argv)
{
    int runs = argc > 2 ? std::atoi(argv[1]) : 0;
    if (runs < 1) {
        std::fprintf(stderr, "usage: check_bench.exe RUNS URL [UPDATEWATCH.EXE...]\n");
        return 2;
    }
    const std::string dir = Bench::OwnDir();
    std::vector<std::string> programs(argv + 3, argv + argc);
    if (programs.empty())
        programs.push_back(dir + "\\UpdateWatch.exe");
    std::vector<Row> rows;
    for (const std::string& program : programs)
        rows.push_back({program, "\"" + program + "\" -s -v \"PagesTotal=1\"", {}});
    rows.push_back({"check_floor.exe (floor)", "\"" + dir + "\\check_floor.exe\" " + argv[2], {}});
    // One untimed run of each, so that none pays for Wine loading its libraries the first time.
    double ignored = 0;
    for (const Row& row : rows)
        (void)Bench::TimeRun(row.cmd, 0, ignored);
    // A run just after another UpdateWatch.exe is slower, so every program runs just after the floor, and the
    // programs take turns at going first.
    Row& floor = rows.back();
    std::size_t programCount = rows.size() - 1;
    for (int i = 0; i < runs; ++i) {
        for (std::size_t j = 0; j < programCount; ++j) {
            TimeOnce(floor);
            TimeOnce(rows[(static_cast<std::size_t>(i) + j) % programCount]);
        }
    }
    int failures = 0;
    for (const Row& row : rows) {
        Print(row);
        failures += row.failures;
    }
    for (std::size_t i = 0; i + 1 < rows.size(); ++i)
        PrintRatio(rows[i], rows.back());
    return failures == 0 ? 0 : 1;
}
