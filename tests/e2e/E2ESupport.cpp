// Process start, window watching and file helpers, the loopback version server fixture and the registry and
// query readers of the end-to-end tests.
#include "E2ESupport.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
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
    HWND text = ::GetDlgItem(hwnd, 0xFFFF); // a message box's static text
    w.text = text ? WindowText(text) : std::string();
    return w;
}

// Offers each new window to the watcher; one it does not want fails the test and is closed.
void Watch(DWORD pid, const Watcher& watcher, RunResult& result, std::vector<HWND>& answered)
{
    for (HWND hwnd : VisibleWindowsOf(pid)) {
        if (std::find(answered.begin(), answered.end(), hwnd) != answered.end())
            continue;
        Window w = Describe(hwnd);
        auto same = [hwnd](const Window& seen) { return seen.hwnd == hwnd; };
        if (std::none_of(result.windows.begin(), result.windows.end(), same))
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

void Press(HWND dlg, int id)
{
    HWND button = ::GetDlgItem(dlg, id);
    ::PostMessageA(dlg, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
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
    result.mainThreadId = pi.dwThreadId;
    std::vector<HWND> answered;
    DWORD waited = 0;
    while (::WaitForSingleObject(pi.hProcess, 50) == WAIT_TIMEOUT) {
        Watch(pi.dwProcessId, watcher, result, answered);
        waited += 50;
        if (waited >= timeoutMs) {
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
    for (const std::string& path : mAdded)
        ::DeleteFileA(path.c_str());
    ::RemoveDirectoryA(mDir.c_str());
}

bool ScratchInstall::AddFile(const std::string& from, const std::string& name)
{
    mAdded.push_back(mDir + "\\" + name);
    return ::CopyFileA(from.c_str(), mAdded.back().c_str(), FALSE) != FALSE;
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

const char CompanyKey[] = "SOFTWARE\\Vantrel";
const char ProductKey[] = "SOFTWARE\\Vantrel\\VRNB3";
const char ReplyKey[] = "SOFTWARE\\Vantrel\\VRNB3\\UWResult";

bool IsNonStandardBox(const Window& w)
{
    return w.caption == "Version Check" && w.text == "Non-standard version check.";
}

void CleanVantrelKeys()
{
    DeleteRegTree(HKEY_CURRENT_USER, CompanyKey);
    DeleteRegTree(HKEY_LOCAL_MACHINE, CompanyKey);
}

Watcher NonStandardBoxWatcher()
{
    return [](const Window& w) { return IsNonStandardBox(w) ? Answer::Press(IDOK) : Answer::Press(-1); };
}

bool ReadRegString(HKEY root, const std::string& key, const std::string& name, std::string& value)
{
    char data[4096] = {0};
    DWORD size = sizeof data - 1;
    if (::RegGetValueA(root, key.c_str(), name.c_str(), RRF_RT_REG_SZ, nullptr, data, &size) != ERROR_SUCCESS)
        return false;
    value = data;
    return true;
}

std::vector<std::string> RegValueNames(HKEY root, const std::string& key)
{
    std::vector<std::string> names;
    HKEY hkey = nullptr;
    if (::RegOpenKeyExA(root, key.c_str(), 0, KEY_READ, &hkey) != ERROR_SUCCESS)
        return names;
    for (DWORD i = 0;; ++i) {
        char name[256] = {0};
        DWORD size = sizeof name;
        if (::RegEnumValueA(hkey, i, name, &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        names.push_back(name);
    }
    ::RegCloseKey(hkey);
    return names;
}

bool RegKeyExists(HKEY root, const std::string& key)
{
    HKEY hkey = nullptr;
    if (::RegOpenKeyExA(root, key.c_str(), 0, KEY_READ, &hkey) != ERROR_SUCCESS)
        return false;
    ::RegCloseKey(hkey);
    return true;
}

bool HasText(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::string LoggedURL(const std::string& log)
{
    const std::string head = "URL = \"";
    std::size_t start = log.find(head);
    if (start == std::string::npos)
        return "";
    start += head.size();
    std::size_t end = log.find("\".", start);
    return end == std::string::npos ? "" : log.substr(start, end - start);
}

std::string PortFromEnvironment(const char* variable, const std::string& name)
{
    const char* ports = std::getenv(variable);
    std::string list = ports ? "," + std::string(ports) + "," : "";
    std::size_t at = list.find("," + name + "=");
    if (at == std::string::npos)
        return "";
    std::size_t start = at + name.size() + 2;
    return list.substr(start, list.find(',', start) - start);
}

std::string StatusFailureLine(const char* name, unsigned long word, const char* step)
{
    char line[256];
    std::snprintf(line, sizeof line, "Failure (%s, 0x%08lX): %s", name, word, step);
    return line;
}

void CleanRunTest::SetUp()
{
    DeleteFileIfAny(LogPath());
    CleanVantrelKeys();
}

void VersionServerTest::SetUp()
{
    ASSERT_TRUE(mServer.IsListening());
    CleanRunTest::SetUp();
    PointAt(ServerHost());
}

std::string VersionServerTest::ServerHost() const { return "127.0.0.1:" + std::to_string(mServer.Port()); }

void VersionServerTest::PointAt(const std::string& host)
{
    // The per-user product key is read last, so it beats every other source of VersionDomain.
    ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VersionDomain", host));
}

RunResult VersionServerTest::Run(const std::string& args, DWORD timeoutMs)
{
    return RunUpdateWatch(args, NonStandardBoxWatcher(), timeoutMs);
}

OrnTest::HttpRequest VersionServerTest::OnlyRequest() const
{
    std::vector<OrnTest::HttpRequest> requests = mServer.Requests();
    EXPECT_EQ(requests.size(), 1u) << "requests received";
    return requests.empty() ? OrnTest::HttpRequest() : requests.front();
}

} // namespace E2E
