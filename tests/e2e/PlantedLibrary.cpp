// A library planted beside the program under a system library's name: once loaded it leaves a file in the
// temporary directory, so a test sees that it ran inside the program.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID)
{
    if (reason != DLL_PROCESS_ATTACH)
        return TRUE;
    char path[MAX_PATH + 32];
    DWORD length = ::GetTempPathA(MAX_PATH, path);
    if (length == 0 || length >= MAX_PATH)
        return TRUE;
    ::lstrcatA(path, "planted-library-ran.txt");
    HANDLE file = ::CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE)
        ::CloseHandle(file);
    return TRUE;
}
