// Starting UpdateWatch.exe, answering the windows it shows, and reading what it leaves behind; a loopback version
// server, the registry that points the program at it, and readers for what the program sent and stored.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "TestHttpServer.h"

namespace E2E {

// A top-level dialog or message box of the program, as found on screen.
struct Window {
    HWND hwnd = nullptr;
    std::string caption;
    std::string text; // the message-box text (static control 0xFFFF), if any
};

// What a watcher does with a window: press a button (by control id), or leave it open for now.
struct Answer {
    int buttonId = 0;     // 0: not handled yet
    bool handled = false; // the watcher has dealt with the window itself (keys, close box)
    static Answer Press(int id) { return Answer{id}; }
    static Answer Handled() { return Answer{0, true}; }
};

using Watcher = std::function<Answer(const Window&)>;

struct RunResult {
    DWORD exitCode = 0;
    DWORD mainThreadId = 0;
    std::vector<Window> windows; // every distinct window seen, in order
};

// Directory of the test program (UpdateWatch.exe and nimbra.vrc sit beside it).
std::string BinDir();
std::string ProgramPath();
// The temporary directory, with its trailing backslash.
std::string TempDir();
// "<temp>\Nimbra Version Check.log".
std::string LogPath();
bool FileExists(const std::string& path);
std::string ReadFile(const std::string& path);
void DeleteFileIfAny(const std::string& path);

// Runs UpdateWatch.exe with the arguments; unexpected windows and a run past the time limit fail the test, and
// the windows are closed and the program ended.
RunResult RunUpdateWatch(const std::string& args, Watcher watcher = nullptr, DWORD timeoutMs = 30000);
// The same for a program at another path (a scratch installation).
RunResult RunProgram(const std::string& program, const std::string& args, Watcher watcher = nullptr,
                     DWORD timeoutMs = 30000);

// A path in the temporary directory, removed when the object goes: a file with exactly the given bytes, or,
// without bytes, no file (any earlier one is removed).
class TempFile {
public:
    explicit TempFile(const std::string& name);
    TempFile(const std::string& name, const std::string& bytes);
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const std::string& Path() const { return mPath; }
    // The path in double quotes, as one command-line argument.
    std::string Arg() const { return "\"" + mPath + "\""; }

private:
    std::string mPath;
};

// A copy of UpdateWatch.exe in a directory of its own, with or without a configuration file beside it.
class ScratchInstall {
public:
    explicit ScratchInstall(const std::string& name);
    ~ScratchInstall();
    ScratchInstall(const ScratchInstall&) = delete;
    ScratchInstall& operator=(const ScratchInstall&) = delete;

    std::string Program() const { return mDir + "\\UpdateWatch.exe"; }
    std::string ConfigPath() const { return mDir + "\\nimbra.vrc"; }
    // Copies the build's nimbra.vrc beside the copy.
    void CopyConfig();
    // Copies a file beside the copy under that name; false when it cannot.
    bool AddFile(const std::string& from, const std::string& name);

private:
    std::string mDir;
    std::vector<std::string> mAdded;
};

// Registry values written and removed by the tests (string values, created keys).
bool SetRegString(HKEY root, const std::string& key, const std::string& name, const std::string& value);
void DeleteRegTree(HKEY root, const std::string& key);
std::string WindowText(HWND hwnd);
// Clicks the button with that control id, as the user would.
void Press(HWND dlg, int id);

// The company and product keys, below HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER.
extern const char CompanyKey[];
extern const char ProductKey[];
// Where the reply variables of a successful check are stored (below HKEY_CURRENT_USER).
extern const char ReplyKey[];

// Removes the company trees of both roots.
void CleanVantrelKeys();

// The box every check against a host other than the product's server shows, even with -s.
bool IsNonStandardBox(const Window& w);
// Presses OK on the non-standard box; any other window fails the test.
Watcher NonStandardBoxWatcher();

// A string value; false when the key or the value is missing.
bool ReadRegString(HKEY root, const std::string& key, const std::string& name, std::string& value);
// Every value name of a key, in the registry's order; empty when the key is missing.
std::vector<std::string> RegValueNames(HKEY root, const std::string& key);
bool RegKeyExists(HKEY root, const std::string& key);

bool HasText(const std::string& text, const std::string& part);
// The URL as the verbose log shows it, or "".
std::string LoggedURL(const std::string& log);
// The port (or other value) that a list in an environment variable ("name=PORT,...", set by a wrapper that runs
// servers around the tests) gives a name, or "" when it is not there.
std::string PortFromEnvironment(const char* variable, const std::string& name);
// "Failure (<name>, 0x<8 hex digits>): <step>" as the log writes a failed status step.
std::string StatusFailureLine(const char* name, unsigned long word, const char* step);

// Each case starts with no log and no company keys, and removes the keys it left.
class CleanRunTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override { CleanVantrelKeys(); }
};

// The same with a server that VersionDomain names.
class VersionServerTest : public CleanRunTest {
protected:
    void SetUp() override;

    // "127.0.0.1:<port>" of the test server.
    std::string ServerHost() const;
    void PointAt(const std::string& host);
    // Runs UpdateWatch.exe and presses OK on the non-standard box; nothing else may show.
    RunResult Run(const std::string& args, DWORD timeoutMs = 30000);
    std::string Log() const { return ReadFile(LogPath()); }
    // The only request the server got; fails the test when there was not exactly one.
    OrnTest::HttpRequest OnlyRequest() const;

    OrnTest::TestHttpServer mServer;
};

} // namespace E2E
