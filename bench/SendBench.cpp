// Times "UpdateWatch.exe -s -vsend P -out O -norun" against a loopback server, and a trivial program as the
// floor that every process start pays, and prints both and their difference.
//
// Usage: send_bench.exe [runs]   (default 20; UpdateWatch.exe and trivial.exe sit beside it)
// It removes HKCU\SOFTWARE\Vantrel and HKLM\SOFTWARE\Vantrel before and after: run it on a test machine only.
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "BenchProcess.h"
#include "TestHttpServer.h"

namespace {

using Bench::Clock;
using Bench::Mean;
using Bench::Median;
using Bench::Ms;
using Bench::Process;

const char cCompanyKey[] = "SOFTWARE\\Vantrel";
const char cProductKey[] = "SOFTWARE\\Vantrel\\VRNB3";
const char cBoxCaption[] = "Version Check";

std::string TempDir()
{
    char dir[MAX_PATH + 1] = {0};
    ::GetTempPathA(MAX_PATH, dir);
    return dir;
}

struct WindowSearch {
    DWORD pid;
    HWND found;
};

BOOL CALLBACK FindVisibleWindow(HWND hwnd, LPARAM param)
{
    auto* search = reinterpret_cast<WindowSearch*>(param);
    DWORD pid = 0;
    ::GetWindowThreadProcessId(hwnd, &pid);
    if (pid != search->pid || !::IsWindowVisible(hwnd))
        return TRUE;
    search->found = hwnd;
    return FALSE;
}

HWND VisibleWindowOf(DWORD pid)
{
    WindowSearch search{pid, nullptr};
    ::EnumWindows(FindVisibleWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

std::string Caption(HWND hwnd)
{
    char text[256] = {0};
    ::GetWindowTextA(hwnd, text, sizeof text);
    return text;
}

// One timed send: the whole run, and its parts around the box and the request.
struct SendTiming {
    bool ok = false;
    double total = 0;
    double withoutBox = 0;     // less the time the box waited for its click
    double withoutShowing = 0; // less also the showing of the box: until the request, and after the press
    double untilRequest = 0;
    double untilBox = 0;
    double boxOpen = 0;
    double afterPress = 0;
};

// The moments of one send as the bench saw them.
struct SendMoments {
    Clock::time_point start, arrived, shown, pressed, end;
    bool requested = false;
    bool answered = false;
};

// Presses OK on the non-standard box once it shows; false on any other window.
bool AnswerBox(DWORD pid, SendMoments& m)
{
    HWND box = VisibleWindowOf(pid);
    if (!box)
        return true;
    m.shown = Clock::now();
    if (Caption(box) != cBoxCaption) {
        std::fprintf(stderr, "unexpected window '%s'\n", Caption(box).c_str());
        return false;
    }
    ::PostMessageA(box, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
    m.pressed = Clock::now();
    m.answered = true;
    return true;
}

// Follows one UpdateWatch.exe run: answers the box as soon as it is seen and notes when the request arrived.
SendTiming TimeSend(const std::string& cmd, const OrnTest::TestHttpServer& server)
{
    SendTiming timing;
    std::size_t requestsBefore = server.Requests().size();
    SendMoments m;
    m.start = Clock::now();
    Process process(cmd);
    if (!process.Started())
        return timing;
    while (!process.HasEnded(1)) {
        if (!m.requested && server.Requests().size() > requestsBefore) {
            m.arrived = Clock::now();
            m.requested = true;
        }
        if (!m.answered && !AnswerBox(process.Id(), m))
            return timing;
    }
    m.end = Clock::now();
    timing.ok = m.answered && m.requested && process.ExitCode() == 0;
    timing.total = Ms(m.start, m.end);
    timing.untilRequest = Ms(m.start, m.arrived);
    timing.untilBox = Ms(m.start, m.shown);
    timing.boxOpen = Ms(m.shown, m.pressed);
    timing.afterPress = Ms(m.pressed, m.end);
    timing.withoutBox = timing.untilBox + timing.afterPress;
    timing.withoutShowing = timing.untilRequest + timing.afterPress;
    return timing;
}

void PrintRow(const char* name, const std::vector<double>& values)
{
    std::printf("%-40s median %8.1f ms   mean %8.1f ms\n", name, Median(values), Mean(values));
}

bool PointAtServer(unsigned short port)
{
    std::string host = "127.0.0.1:" + std::to_string(port);
    HKEY key = nullptr;
    if (::RegCreateKeyExA(HKEY_CURRENT_USER, cProductKey, 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr) !=
        ERROR_SUCCESS)
        return false;
    LONG rc = ::RegSetValueExA(key, "VersionDomain", 0, REG_SZ, reinterpret_cast<const BYTE*>(host.c_str()),
                               static_cast<DWORD>(host.size() + 1));
    ::RegCloseKey(key);
    return rc == ERROR_SUCCESS;
}

void CleanKeys()
{
    ::RegDeleteTreeA(HKEY_CURRENT_USER, cCompanyKey);
    ::RegDeleteTreeA(HKEY_LOCAL_MACHINE, cCompanyKey);
}

struct Results {
    std::vector<double> total, withoutBox, withoutShowing, untilRequest, untilBox, boxOpen, afterPress;
    std::vector<double> trivial, noRequest;
    int failures = 0;
};

// The three programs timed, as command lines.
struct Commands {
    std::string send;      // the version send, with its box
    std::string trivial;   // the floor: a program that returns 0
    std::string noRequest; // UpdateWatch up to its job, which fails at once on a missing parameter file (exit 3)
};

void TimeOnePlain(const std::string& cmd, DWORD expectedExit, std::vector<double>& values, int& failures)
{
    double ms = 0;
    if (Bench::TimeRun(cmd, expectedExit, ms))
        values.push_back(ms);
    else
        ++failures;
}

void RunAll(int runs, const OrnTest::TestHttpServer& server, const Commands& cmds, Results& results)
{
    // One untimed run of each first, so that none pays for loading Wine's libraries the first time.
    (void)TimeSend(cmds.send, server);
    double ignored = 0;
    (void)Bench::TimeRun(cmds.trivial, 0, ignored);
    (void)Bench::TimeRun(cmds.noRequest, 3, ignored);
    for (int i = 0; i < runs; ++i) {
        SendTiming send = TimeSend(cmds.send, server);
        TimeOnePlain(cmds.trivial, 0, results.trivial, results.failures);
        TimeOnePlain(cmds.noRequest, 3, results.noRequest, results.failures);
        results.failures += send.ok ? 0 : 1;
        if (send.ok) {
            results.total.push_back(send.total);
            results.withoutBox.push_back(send.withoutBox);
            results.withoutShowing.push_back(send.withoutShowing);
            results.untilRequest.push_back(send.untilRequest);
            results.untilBox.push_back(send.untilBox);
            results.boxOpen.push_back(send.boxOpen);
            results.afterPress.push_back(send.afterPress);
        }
    }
}

void PrintDifference(const char* name, const std::vector<double>& values, const std::vector<double>& floor)
{
    std::printf("%-40s median %8.1f ms   mean %8.1f ms\n", name, Median(values) - Median(floor),
                Mean(values) - Mean(floor));
}

void Report(const Results& r, std::size_t requests)
{
    std::printf("runs: %zu sends, %zu trivial starts, %zu without a request, %zu requests served, %d failed\n",
                r.total.size(), r.trivial.size(), r.noRequest.size(), requests, r.failures);
    PrintRow("trivial.exe", r.trivial);
    PrintRow("UpdateWatch without a request", r.noRequest);
    PrintRow("UpdateWatch -vsend, total", r.total);
    PrintRow("  start until the request arrives", r.untilRequest);
    PrintRow("  start until the box is seen", r.untilBox);
    PrintRow("  box seen until pressed", r.boxOpen);
    PrintRow("  press until the end", r.afterPress);
    PrintRow("  total less the box's wait", r.withoutBox);
    PrintRow("  total less the box's wait and showing", r.withoutShowing);
    PrintDifference("added by the send, total", r.total, r.trivial);
    PrintDifference("added, less the box's wait", r.withoutBox, r.trivial);
    PrintDifference("added, less the box's wait and showing", r.withoutShowing, r.trivial);
}

} // namespace

int main(int argc, char** argv)
{
    int runs = argc > 1 ? std::atoi(argv[1]) : 20;
    if (runs < 1)
        runs = 20;
    OrnTest::TestHttpServer server;
    server.SetDefault(OrnTest::HttpAnswer::Page("<html>[START]set $bench, \"1\";[END]</html>"));
    CleanKeys();
    if (!server.IsListening() || !PointAtServer(server.Port())) {
        std::fprintf(stderr, "cannot start the server or point UpdateWatch at it\n");
        return 1;
    }
    const std::string params = TempDir() + "uw_bench_params.txt";
    const std::string out = TempDir() + "uw_bench_reply.txt";
    std::ofstream(params) << "EqTotal=1\nPagesTotal=2\n";
    const std::string dir = Bench::OwnDir();
    const std::string program = "\"" + dir + "\\UpdateWatch.exe\"";
    Commands cmds;
    cmds.send = program + " -s -vsend \"" + params + "\" -out \"" + out + "\" -norun";
    cmds.trivial = "\"" + dir + "\\trivial.exe\"";
    cmds.noRequest = program + " -s -vsend \"" + params + ".missing\" -norun";

    Results results;
    RunAll(runs, server, cmds, results);
    Report(results, server.Requests().size());
    CleanKeys();
    ::DeleteFileA(params.c_str());
    ::DeleteFileA(out.c_str());
    return results.failures == 0 ? 0 : 1;
}
