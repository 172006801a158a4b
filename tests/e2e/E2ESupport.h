// Starting UpdateWatch.exe, answering the windows it shows, and reading what it leaves behind.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

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
    static Answer Wait() { return Answer{0}; }
    static Answer Handled() { return Answer{0, true}; }
};

using Watcher = std::function<Answer(const Window&)>;

struct RunResult {
    DWORD exitCode = 0;
    bool timedOut = false;
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

// Runs UpdateWatch.exe with the arguments; unexpected windows fail the test and are closed.
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

    const std::string& Dir() const { return mDir; }
    std::string Program() const { return mDir + "\\UpdateWatch.exe"; }
    std::string ConfigPath() const { return mDir + "\\nimbra.vrc"; }
    // Copies the build's nimbra.vrc beside the copy.
    void CopyConfig();

private:
    std::string mDir;
};

// Registry values written and removed by the tests (string values, created keys).
bool SetRegString(HKEY root, const std::string& key, const std::string& name, const std::string& value);
void DeleteRegTree(HKEY root, const std::string& key);

// A watcher that presses OK (or the given id) on message boxes whose text is expected.
Watcher ExpectBox(const std::string& text, int buttonId = IDOK);

// The message-box text of a window, or "".
std::string MessageBoxText(HWND dlg);
std::string WindowText(HWND hwnd);

} // namespace E2E
