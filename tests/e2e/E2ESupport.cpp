// Process start, window watching and file helpers for the end-to-end tests.
#include "E2ESupport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace E2E {

namespace {

struct FindContext {
    DWORD pid;
    std::vector<HWND> found;
};

BOOL CALLBACK CollectWindow(HWND hwnd, LPARAM param)
{
    auto* ctx = reinterpret_cast<FindContext*>(param);
    DWORD pid = 0;
    ::GetWindowThreadProcessId(hwnd, &pid);
    if (pid == ctx->pid && ::IsWindowVisible(hwnd))
        ctx->found.push_back(hwnd);
    return TRUE;
}

std::vector<HWND> VisibleWindowsOf(DWORD pid)
{
    FindContext ctx{pid, {}};
    ::EnumWindows(CollectWindow, reinterpret_cast<LPARAM>(&ctx));
    return ctx.found;
}

Window Describe(HWND hwnd)
{
    Window w;
    w.hwnd = hwnd;
    w.caption = WindowText(hwnd);
    w.text = MessageBoxText(hwnd);
    return w;
}

void Press(HWND dlg, int id)
{
    HWND button = ::GetDlgItem(dlg, id);
    ::PostMessageA(dlg, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
}

bool Seen(const std::vector<Window>& seen, HWND hwnd)
{
    for (const Window& w : seen)
        if (w.hwnd == hwnd)
            return true;
    return false;
}

// Offers each new window to the watcher; one it does not want fails the test and is closed.
void Watch(DWORD pid, const Watcher& watcher, RunResult& result, std::vector<HWND>& answered)
{
    for (HWND hwnd : VisibleWindowsOf(pid)) {
        bool done = false;
        for (HWND a : answered)
            done = done || a == hwnd;
        if (done)
            continue;
        Window w = Describe(hwnd);
        if (!Seen(result.windows, hwnd))
            result.windows.push_back(w);
        Answer answer = watcher ? watcher(w) : Answer::Press(-1);
        if (answer.buttonId == -1) {
            ADD_FAILURE() << "unexpected window '" << w.caption << "': " << w.text;
            ::PostMessageA(hwnd, WM_CLOSE, 0, 0);
            Press(hwnd, IDCANCEL);
            answered.push_back(hwnd);
        } else if (answer.buttonId != 0) {
            Press(hwnd, answer.buttonId);
            answered.push_back(hwnd);
        } else if (answer.handled) {
            answered.push_back(hwnd);
        }
    }
}

} // namespace

std::string WindowText(HWND hwnd)
{
    char buf[4096] = {0};
    ::GetWindowTextA(hwnd, buf, sizeof buf);
    return buf;
}

std::string MessageBoxText(HWND dlg)
{
    HWND text = ::GetDlgItem(dlg, 0xFFFF);
    return text ? WindowText(text) : std::string();
}

std::string BinDir()
{
    char path[MAX_PATH + 1] = {0};
    ::GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string dir = path;
    return dir.substr(0, dir.find_last_of("\\/"));
}

std::string TempDir()
{
    char dir[MAX_PATH + 1] = {0};
    ::GetTempPathA(MAX_PATH, dir);
    return dir;
}

std::string ProgramPath() { return BinDir() + "\\UpdateWatch.exe"; }

std::string LogPath() { return TempDir() + "Nimbra Version Check.log"; }

bool FileExists(const std::string& path) { return ::GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

void DeleteFileIfAny(const std::string& path) { ::DeleteFileA(path.c_str()); }

RunResult RunUpdateWatch(const std::string& args, Watcher watcher, DWORD timeoutMs)
{
    return RunProgram(ProgramPath(), args, watcher, timeoutMs);
}

RunResult RunProgram(const std::string& program, const std::string& args, Watcher watcher, DWORD timeoutMs)
{
    RunResult result;
    std::string cmd = "\"" + program + "\" " + args;
    STARTUPINFOA si{};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi{};
    if (!::CreateProcessA(nullptr, &cmd[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi)) {
        ADD_FAILURE() << "CreateProcess failed: " << ::GetLastError() << " for " << cmd;
        return result;
    }
    std::vector<HWND> answered;
    DWORD waited = 0;
    while (::WaitForSingleObject(pi.hProcess, 50) == WAIT_TIMEOUT) {
        Watch(pi.dwProcessId, watcher, result, answered);
        waited += 50;
        if (waited >= timeoutMs) {
            result.timedOut = true;
            ADD_FAILURE() << "UpdateWatch.exe " << args << " did not end in " << timeoutMs << " ms";
            ::TerminateProcess(pi.hProcess, 0xDEAD);
            ::WaitForSingleObject(pi.hProcess, 5000);
            break;
        }
    }
    ::GetExitCodeProcess(pi.hProcess, &result.exitCode);
    ::CloseHandle(pi.hThread);
    ::CloseHandle(pi.hProcess);
    return result;
}

TempFile::TempFile(const std::string& name) : mPath(TempDir() + name) { DeleteFileIfAny(mPath); }

TempFile::TempFile(const std::string& name, const std::string& bytes) : mPath(TempDir() + name)
{
    std::ofstream out(mPath, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out)
        ADD_FAILURE() << "cannot write " << mPath;
}

TempFile::~TempFile() { DeleteFileIfAny(mPath); }

ScratchInstall::ScratchInstall(const std::string& name)
{
    mDir = TempDir() + "uw_e2e_" + name;
    ::CreateDirectoryA(mDir.c_str(), nullptr);
    if (!::CopyFileA(ProgramPath().c_str(), Program().c_str(), FALSE))
        ADD_FAILURE() << "cannot copy UpdateWatch.exe to " << mDir;
}

ScratchInstall::~ScratchInstall()
{
    ::DeleteFileA(Program().c_str());
    ::DeleteFileA(ConfigPath().c_str());
    ::RemoveDirectoryA(mDir.c_str());
}

void ScratchInstall::CopyConfig()
{
    if (!::CopyFileA((BinDir() + "\\nimbra.vrc").c_str(), ConfigPath().c_str(), FALSE))
        ADD_FAILURE() << "cannot copy nimbra.vrc";
}

bool SetRegString(HKEY root, const std::string& key, const std::string& name, const std::string& value)
{
    HKEY hkey = nullptr;
    if (::RegCreateKeyExA(root, key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &hkey, nullptr) != ERROR_SUCCESS)
        return false;
    LONG rc = ::RegSetValueExA(hkey, name.empty() ? nullptr : name.c_str(), 0, REG_SZ,
                               reinterpret_cast<const BYTE*>(value.c_str()), static_cast<DWORD>(value.size() + 1));
    ::RegCloseKey(hkey);
    return rc == ERROR_SUCCESS;
}

void DeleteRegTree(HKEY root, const std::string& key) { ::RegDeleteTreeA(root, key.c_str()); }

Watcher ExpectBox(const std::string& text, int buttonId)
{
    return [text, buttonId](const Window& w) {
        if (w.text == text && w.caption == "UpdateWatch")
            return Answer::Press(buttonId);
        return Answer::Press(-1);
    };
}

} // namespace E2E
