// What the Windows benchmarks share: a started process that is ended and closed with its owner, the program
// files beside the benchmark, and the statistics of a row of timings.
#pragma once

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace Bench {

using Clock = std::chrono::steady_clock;

inline double Ms(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double, std::milli>(to - from).count();
}

// The directory of the running program, without its trailing separator.
inline std::string OwnDir()
{
    char path[MAX_PATH + 1] = {0};
    ::GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string text(path);
    return text.substr(0, text.find_last_of("\\/"));
}

// A started process; its handles are closed with it, and it is ended first if it still runs.
class Process {
public:
    explicit Process(std::string cmd)
    {
        STARTUPINFOA si{};
        si.cb = sizeof si;
        mStarted = ::CreateProcessA(nullptr, &cmd[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &mInfo);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process()
    {
        if (!mStarted)
            return;
        if (!HasEnded(0))
            ::TerminateProcess(mInfo.hProcess, 0xDEAD);
        ::CloseHandle(mInfo.hThread);
        ::CloseHandle(mInfo.hProcess);
    }

    bool Started() const { return mStarted; }
    DWORD Id() const { return mInfo.dwProcessId; }
    bool HasEnded(DWORD ms) const { return ::WaitForSingleObject(mInfo.hProcess, ms) != WAIT_TIMEOUT; }
    DWORD ExitCode() const
    {
        DWORD code = 0;
        ::GetExitCodeProcess(mInfo.hProcess, &code);
        return code;
    }

private:
    PROCESS_INFORMATION mInfo{};
    BOOL mStarted = FALSE;
};

// One run of a program that shows no window, from its start to its end; false unless it ends with the
// expected exit code.
inline bool TimeRun(const std::string& cmd, DWORD expectedExit, double& ms)
{
    Clock::time_point start = Clock::now();
    Process process(cmd);
    if (!process.Started())
        return false;
    process.HasEnded(INFINITE);
    ms = Ms(start, Clock::now());
    return process.ExitCode() == expectedExit;
}

inline double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    std::size_t n = values.size();
    return n == 0 ? 0 : n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

inline double Mean(const std::vector<double>& values)
{
    double sum = 0;
    for (double v : values)
        sum += v;
    return values.empty() ? 0 : sum / static_cast<double>(values.size());
}

} // namespace Bench
