// Times an installer's download through the program's own download (CFileDownload: https through WinINet into a
// new file, then read back through a handle that shuts out writers and checked against its SHA-256) against
// its floor, check_floor.exe URL FILE, which only gets the same URL with WinINet into a file, alternating the
// two, each a process of its own, and prints the rates and their ratios: of the whole, and of the download alone
// (the whole less the check, which the probe times itself). The probe is this program with --probe.
//
// Usage: download_bench.exe RUNS URL SIZE SHA256
//        download_bench.exe --probe URL SIZE SHA256 FILE    (one download; exit code 0 when it was verified; the
//                                                           milliseconds of its check go to FILE)
// scripts/bench.sh download serves the file over https from loopback (tests/e2e/https_servers.py); the test
// CA that signed the server's certificate is trusted while the benchmark runs.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchProcess.h"
#include "FileDownload_Win.h"
#include "SignedReply.h"
#include "TrustedCA.h"

namespace {

int Probe(const char* url, long long size, const char* sha256, const char* checkTimeFile)
{
    Orn::Byte digest[Orn::DownloadDigestBytes];
    char folder[MAX_PATH + 1] = {0};
    ::GetTempPathA(MAX_PATH, folder);
    Orn::CFileDownload download("VRL Version Checker");
    if (!Orn::DecodeHexExactly(sha256, Orn::DownloadDigestBytes, digest) ||
        !download.Start(url, size, digest, Orn::COpenURLPolicy(nullptr), folder, "DownloadBench-"))
        return 2;
    while (!download.Verifying() && !download.WaitForEnd(1)) {
    }
    Bench::Clock::time_point checkStart = Bench::Clock::now();
    download.WaitForEnd(INFINITE);
    FILE* out = std::fopen(checkTimeFile, "w");
    if (out) {
        std::fprintf(out, "%f\n", Bench::Ms(checkStart, Bench::Clock::now()));
        std::fclose(out);
    }
    return download.Poll() == Orn::deVerified ? 0 : 1;
}

double ReadNumber(const std::string& path)
{
    double value = 0;
    FILE* in = std::fopen(path.c_str(), "r");
    if (in && std::fscanf(in, "%lf", &value) != 1)
        value = 0;
    if (in)
        std::fclose(in);
    return value;
}

struct Row {
    std::string name;
    std::string cmd;
    std::vector<double> ms;
    int failures = 0;
};

void Print(const Row& row, long long size)
{
    double mean = Bench::Mean(row.ms);
    std::printf("%-24s %3zu runs  mean %7.1f ms  median %7.1f ms  %7.1f MB/s  %d failed\n", row.name.c_str(),
                row.ms.size(), mean, Bench::Median(row.ms), mean > 0 ? size / 1048.576 / mean : 0, row.failures);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 6 && std::string(argv[1]) == "--probe")
        return Probe(argv[2], std::atoll(argv[3]), argv[4], argv[5]);
    int runs = argc == 5 ? std::atoi(argv[1]) : 0;
    if (runs < 1) {
        std::fprintf(stderr, "usage: download_bench.exe RUNS URL SIZE SHA256\n");
        return 2;
    }
    OrnTest::TrustedCA ca("TESTCA");
    if (!ca.Error().empty()) {
        std::fprintf(stderr, "the test CA is not trusted: %s\n", ca.Error().c_str());
        return 2;
    }
    const std::string dir = Bench::OwnDir();
    char temp[MAX_PATH + 1] = {0};
    ::GetTempPathA(MAX_PATH, temp);
    Row rows[] = {{"check_floor.exe (floor)", "\"" + dir + "\\check_floor.exe\" " + argv[2] + " " + temp +
                                                  "download-floor.bin", {}},
                  {"CFileDownload", "\"" + dir + "\\download_bench.exe\" --probe " + argv[2] + " " + argv[3] + " " +
                                        argv[4] + " " + temp + "download-check-ms.txt", {}}};
    std::vector<double> checks;
    double ms = 0;
    for (int i = 0; i <= runs; ++i) {
        for (Row& row : rows) {
            bool ok = Bench::TimeRun(row.cmd, 0, ms);
            if (i > 0 && ok) // the first round only warms the caches
                row.ms.push_back(ms);
            row.failures += ok ? 0 : 1;
        }
        if (i > 0)
            checks.push_back(ReadNumber(std::string(temp) + "download-check-ms.txt"));
    }
    for (const Row& row : rows)
        Print(row, std::atoll(argv[3]));
    double floor = Bench::Mean(rows[0].ms), whole = Bench::Mean(rows[1].ms), check = Bench::Mean(checks);
    std::printf("of which the check of the file: mean %.1f ms\n", check);
    std::printf("CFileDownload / floor, rate (means): the whole %.2f, the download alone %.2f\n", floor / whole,
                floor / (whole - check));
    return rows[0].failures + rows[1].failures == 0 ? 0 : 1;
}
