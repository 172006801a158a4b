// Looking into a dialog of UpdateWatch.exe from outside: its controls, keys sent to it, a picture of it.
#pragma once

#include <windows.h>

#include <string>

namespace E2E {

// One control of a dialog as the user sees it.
struct Control {
    bool exists = false;
    bool visible = false;
    std::string text;
    RECT rect{}; // in the dialog's client coordinates
    LONG style = 0;
    bool checked = false; // for check boxes
};

Control DialogControl(HWND dlg, int id);
RECT WindowRectOf(HWND hwnd);
RECT ClientRectOf(HWND hwnd);
// Id of the control that has the keyboard focus in the dialog's thread, or 0.
int FocusedControlId(HWND dlg);
// A key press (down and up) to the focused control, as the dialog's message loop receives typed keys.
void PostKey(HWND dlg, int virtualKey);
// The dialog is drawn completely before this returns, so a picture of it is whole.
void PaintNow(HWND hwnd);
// The window's screen area as a 24-bit .bmp file; false when it cannot be captured or written.
bool SaveWindowBitmap(HWND hwnd, const std::string& path);
// Distinct colours in a .bmp written by SaveWindowBitmap (0 when unreadable): a blank capture has one.
int CountBitmapColours(const std::string& path);

// "<build>\e2e-artifacts", made when missing: what a run keeps for people to look at.
std::string ArtifactDir();
// Writes text to a file in the temporary directory and returns its path.
std::string WriteTempFile(const std::string& name, const std::string& text);

} // namespace E2E
