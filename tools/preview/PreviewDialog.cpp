// previewdlg: finds UpdateWatch's reply dialog on the screen, tells its texts as Windows shows them and answers it,
// for scripts/preview.sh. Texts go out and come in as UTF-8.
//   previewdlg wait SECONDS     the next reply dialog; a message box of the program on the way is told and closed
//   previewdlg answer (--press TEXT | --cancel) [--checkbox on|off]
#include <windows.h>

#include <shellapi.h>
#include <tlhelp32.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

const int cMessageId = 1001;
const int cCheckboxId = 1002;
const int cFirstButtonId = 1003;
const int cBoxTextId = 0xFFFF; // a message box's static text

std::string Utf8(const std::wstring& text)
{
    int n = ::WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string out(n > 0 ? n - 1 : 0, '\0');
    if (n > 1)
        ::WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &out[0], n, nullptr, nullptr);
    return out;
}

std::string Text(HWND hwnd)
{
    std::wstring text(static_cast<size_t>(::GetWindowTextLengthW(hwnd)) + 1, L'\0');
    text.resize(static_cast<size_t>(::GetWindowTextW(hwnd, &text[0], static_cast<int>(text.size()))));
    return Utf8(text);
}

// The running UpdateWatch.exe processes.
std::vector<DWORD> ProgramProcesses()
{
    std::vector<DWORD> ids;
    HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (snapshot == INVALID_HANDLE_VALUE)
        return ids;
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = ::Process32FirstW(snapshot, &entry); more; more = ::Process32NextW(snapshot, &entry)) {
        if (::lstrcmpiW(entry.szExeFile, L"UpdateWatch.exe") == 0)
            ids.push_back(entry.th32ProcessID);
    }
    ::CloseHandle(snapshot);
    return ids;
}

struct CSearch {
    std::vector<DWORD> processes;
    HWND found = nullptr;
};

BOOL CALLBACK OnWindow(HWND hwnd, LPARAM param)
{
    auto* search = reinterpret_cast<CSearch*>(param);
    DWORD process = 0;
    ::GetWindowThreadProcessId(hwnd, &process);
    for (DWORD id : search->processes) {
        bool ours = ::GetDlgItem(hwnd, cMessageId) || ::GetDlgItem(hwnd, cBoxTextId);
        if (id == process && ::IsWindowVisible(hwnd) && ours) {
            search->found = hwnd;
            return FALSE;
        }
    }
    return TRUE;
}

// A dialog or message box of the program, or null.
HWND ProgramWindow(const std::vector<DWORD>& processes)
{
    CSearch search{processes};
    ::EnumWindows(OnWindow, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

void Describe(HWND dlg)
{
    std::printf("dialog \"%s\"\n  message \"%s\"\n", Text(dlg).c_str(), Text(::GetDlgItem(dlg, cMessageId)).c_str());
    HWND checkbox = ::GetDlgItem(dlg, cCheckboxId);
    if (::IsWindowVisible(checkbox)) {
        bool checked = ::SendMessageW(checkbox, BM_GETCHECK, 0, 0) == BST_CHECKED;
        std::printf("  checkbox %s \"%s\"\n", checked ? "[x]" : "[ ]", Text(checkbox).c_str());
    }
    for (int id = cFirstButtonId; id < cFirstButtonId + 3; ++id) {
        HWND button = ::GetDlgItem(dlg, id);
        bool isDefault = (::GetWindowLongW(button, GWL_STYLE) & BS_TYPEMASK) == BS_DEFPUSHBUTTON;
        if (::IsWindowVisible(button))
            std::printf("  button \"%s\"%s\n", Text(button).c_str(), isDefault ? " default" : "");
    }
}

// 0 when a reply dialog shows, 1 when the program ended or the time ran out without one.
int Wait(int seconds)
{
    bool seen = false;
    for (int tick = 0; tick < seconds * 10; ++tick, ::Sleep(100)) {
        std::vector<DWORD> processes = ProgramProcesses();
        seen = seen || !processes.empty();
        // The program may not have started yet.
        if (processes.empty() && (seen || tick >= 100))
            return 1;
        HWND window = ProgramWindow(processes);
        if (window && ::GetDlgItem(window, cMessageId)) {
            Describe(window);
            return 0;
        }
        if (window) {
            std::printf("box \"%s\"\n", Text(::GetDlgItem(window, cBoxTextId)).c_str());
            ::PostMessageW(window, WM_COMMAND, IDOK, 0);
            ::Sleep(500);
        }
    }
    return 1;
}

void Click(HWND dlg, int id)
{
    ::PostMessageW(dlg, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(::GetDlgItem(dlg, id)));
}

// 0 when answered, 2 when the dialog or the button is not there.
int Answer(const char* press, const char* checkbox)
{
    HWND dlg = ProgramWindow(ProgramProcesses());
    if (!dlg || !::GetDlgItem(dlg, cMessageId)) {
        std::fprintf(stderr, "previewdlg: no reply dialog to answer\n");
        return 2;
    }
    HWND box = ::GetDlgItem(dlg, cCheckboxId);
    if (checkbox && ::IsWindowVisible(box))
        ::SendMessageW(box, BM_SETCHECK, std::strcmp(checkbox, "on") == 0 ? BST_CHECKED : BST_UNCHECKED, 0);
    if (!press) {
        ::PostMessageW(dlg, WM_COMMAND, IDCANCEL, 0);
        return 0;
    }
    for (int id = cFirstButtonId; id < cFirstButtonId + 3; ++id) {
        HWND button = ::GetDlgItem(dlg, id);
        if (::IsWindowVisible(button) && Text(button) == press) {
            Click(dlg, id);
            return 0;
        }
    }
    std::fprintf(stderr, "previewdlg: the dialog has no button \"%s\"\n", press);
    return 2;
}

// The arguments as UTF-8, whatever the code page.
std::vector<std::string> Arguments()
{
    int count = 0;
    LPWSTR* wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    std::vector<std::string> args;
    for (int i = 1; wide && i < count; ++i)
        args.push_back(Utf8(wide[i]));
    ::LocalFree(wide);
    return args;
}

} // namespace

int main()
{
    std::vector<std::string> args = Arguments();
    if (args.size() == 2 && args[0] == "wait")
        return Wait(std::atoi(args[1].c_str()));
    const char* press = nullptr;
    const char* checkbox = nullptr;
    bool cancel = false;
    for (size_t i = 1; !args.empty() && args[0] == "answer" && i < args.size(); ++i) {
        if (args[i] == "--cancel")
            cancel = true;
        else if (args[i] == "--press" && i + 1 < args.size())
            press = args[++i].c_str();
        else if (args[i] == "--checkbox" && i + 1 < args.size() && (args[i + 1] == "on" || args[i + 1] == "off"))
            checkbox = args[++i].c_str();
        else
            return 3;
    }
    if (args.empty() || args[0] != "answer" || cancel == (press != nullptr)) {
        std::fprintf(stderr, "Usage: previewdlg wait SECONDS | answer (--press TEXT | --cancel) [--checkbox on|off]\n");
        return 3;
    }
    return Answer(press, checkbox);
}
