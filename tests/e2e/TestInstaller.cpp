// A stand-in for Nimbra's installer, for the install tests and the demo: appends the arguments it was given as
// one line to "uw-installed.txt" in the temporary folder, then shows that it "installed".
#include <windows.h>

#include <cstring>

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR cmdLine, int)
{
    char path[MAX_PATH + 32] = {0};
    DWORD len = ::GetTempPathA(MAX_PATH, path);
    if (len == 0 || len >= MAX_PATH)
        return 1;
    std::strcat(path, "uw-installed.txt");
    HANDLE file = ::CreateFileA(path, FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return 1;
    DWORD written = 0;
    ::WriteFile(file, cmdLine, static_cast<DWORD>(std::strlen(cmdLine)), &written, nullptr);
    ::WriteFile(file, "\r\n", 2, &written, nullptr);
    ::CloseHandle(file);
    ::MessageBoxA(nullptr, "Nimbra 3.2 was installed.", "Nimbra test installer", MB_OK | MB_ICONINFORMATION);
    return 0;
}
