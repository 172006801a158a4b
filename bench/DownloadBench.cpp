// Times an installer's download through the program's own download (CFileDownload: https through WinINet into a
// new file, then read back through a handle that shuts out writers and checked against its SHA-256) against
// its floor, check_floor.exe URL FILE, which only gets the same URL with WinINet into a file, alternating the
// two, each a process of its own less what the same program costs to start and end, and prints the rates and
// their ratios: of the whole, and of the download alone (the whole less the check, whose work the probe does and
// times once more). The probe is this program with --probe; with --start it only starts and ends.
//
// Usage: download_bench.exe RUNS URL SIZE SHA256
//        download_bench.exe --probe URL SIZE SHA256 FILE    (one download; exit code 0 when it was verified; the
//                                                           milliseconds of its check go to FILE)
//        download_bench.exe --start
// scripts/bench.sh download serves the file over https from loopback (tests/e2e/https_servers.py); the test
// CA that signed the server's certificate is trusted while the benchmark runs.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchProcess.h"
#include "Cng_Win.h"
#include "FileDownload_Win.h"
#include "SignedReply.h"
#include "TrustedCA.h"

namespace {

// The check's work again, on the file the download just verified (read back in the same pieces, SHA-256 from
// CNG): its milliseconds, which the runner takes off the probe's whole time. The download itself is waited for
// without polling, as the program's window and log do only four times a second.
double TimeOfCheck(const char* path)
{
    static char buffer[64 * 1024];
    Bench::Clock::time_point start = Bench::Clock::now();
    HANDLE file = ::CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    Orn::CBcrypt lib;
    Orn::CSha256 hash(lib);
    Orn::Byte digest[Orn::Sha256Bytes];
    DWORD got = 0;
    bool ok = file != INVALID_HANDLE_VALUE && lib.Load() && hash.Start();
    while (ok && ::ReadFile(file, buffer, sizeof buffer, &got, nullptr) && got > 0)
        ok = hash.Add(buffer, got);
    ok = ok && hash.Finish(digest);
    if (file != INVALID_HANDLE_VALUE)
        ::CloseHandle(file);
    return ok ? Bench::Ms(start, Bench::Clock::now()) : 0;
}

int Probe(const char* url, long long size, const char* sha256, const char* checkTimeFile)
{
    Orn::Byte digest[Orn::DownloadDigestBytes];
    char folder[MAX_PATH + 1] = {0};
    ::GetTempPathA(MAX_PATH, folder);
    Orn::CFileDownload download("VRL Version Checker");
    if (!Orn::DecodeHexExactly(sha256, Orn::DownloadDigestBytes, digest) ||
        !download.Start(url, size, digest, Orn::COpenURLPolicy(nullptr), folder, "DownloadBench-"))
        return 2;
    download.WaitForEnd(INFINITE);
    if (download.Poll() != Orn::deVerified || !download.KeepFile(true))
        return 1;
    double checkMs = TimeOfCheck(download.FilePath());
    FILE* out = std::fopen(checkTimeFile, "w");
    if (out) {
        std::fprintf(out, "%f\n", checkMs);
        std::fclose(out);
    }
    return download.KeepFile(false) && checkMs > 0 ? 0 : 1;
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
    DWORD exitCode = 0;
    int failures = 0;
};

void Print(const Row& row, long long size)
{
    double mean = Bench::Mean(row.ms);
    std::printf("%-24s %3zu runs  mean %7.1f ms  median %7.1f ms  %7.1f MB/s\n", row.name.c_str(), row.ms.size(),
                mean, Bench::Median(row.ms), mean > 0 ? size / 1048.576 / mean : 0);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::string(argv[1]) == "--start")
        return 0;
    if (argc == 6 && std::string(argv[1]) == "--probe")
        return Probe(argv[2], std::atoll(argv[3]), argv[4], argv[5]);
    int runs = argc == 5 ? std::atoi(argv[1]) : 0;
    if (runs < 1) {
        std::fprintf(stderr, "usage: download_bench.exe RUNS URL SIZE SHA256\n");
        return 2;
    }
    OrnTest::TrustedCA ca(OrnTest::TrustedCA::Resource("TESTCA"));
    if (!ca.Error().empty()) {
        std::fprintf(stderr, "the test CA is not trusted: %s\n", ca.Error().c_str());
        return 2;
    }
    const std::string dir = Bench::OwnDir();
    char temp[MAX_PATH + 1] = {0};
    ::GetTempPathA(MAX_PATH, temp);
    const std::string floor = "\"" + dir + "\\check_floor.exe\"", probe = "\"" + dir + "\\download_bench.exe\"";
    const std::string checkFile = std::string(temp) + "download-check-ms.txt";
    // What each program costs to start and end is taken off its time, so that only downloads are compared.
    Row rows[] = {{"", floor + " " + argv[2] + " " + temp + "download-floor.bin", {}},
                  {"", floor, {}, 1},
                  {"", probe + " --probe " + argv[2] + " " + argv[3] + " " + argv[4] + " " + checkFile, {}},
                  {"", probe + " --start", {}}};
    Row net[] = {{"check_floor.exe (floor)", "", {}}, {"CFileDownload", "", {}}, {"CFileDownload, no check", "", {}}};
    double ms[4] = {};
    int failures = 0;
    for (int i = 0; i <= runs; ++i) {
        bool ok = true;
        for (int r = 0; r < 4; ++r)
            ok = Bench::TimeRun(rows[r].cmd, rows[r].exitCode, ms[r]) && ok;
        failures += ok ? 0 : 1;
        // The first round only warms the caches. The probe checks the file twice, once as the program does and
        // once timed: the whole is its time less one check, the download alone its time less two.
        double check = ReadNumber(checkFile);
        if (i > 0 && ok) {
            net[0].ms.push_back(ms[0] - ms[1]);
            net[1].ms.push_back(ms[2] - ms[3] - check);
            net[2].ms.push_back(ms[2] - ms[3] - 2 * check);
        }
    }
    for (const Row& row : net)
        Print(row, std::atoll(argv[3]));
    for (int r = 1; r < 3; ++r) {
        std::printf("%s / floor, rate: means %.2f, medians %.2f\n", net[r].name.c_str(),
                    Bench::Mean(net[0].ms) / Bench::Mean(net[r].ms),
                    Bench::Median(net[0].ms) / Bench::Median(net[r].ms));
    }
    std::printf("%d rounds failed\n", failures);
    return failures == 0 ? 0 : 1;
}
