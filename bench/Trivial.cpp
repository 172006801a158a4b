// A Windows program that does nothing: the floor of a process start for the send benchmark.
#include <windows.h>

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) { return 0; }
