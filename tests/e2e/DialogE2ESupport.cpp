// Control reading, key presses and window pictures for the dialog end-to-end tests.
#include "DialogE2ESupport.h"

#include <cstring>
#include <fstream>
#include <memory>
#include <set>
#include <type_traits>
#include <vector>

#include "E2ESupport.h"

namespace E2E {

namespace {

// Messages to the program's window wait at most this long, so a hung program fails a test instead of hanging it.
const UINT cSendTimeoutMs = 5000;

LRESULT SendWithTimeout(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    DWORD_PTR result = 0;
    ::SendMessageTimeoutA(hwnd, msg, wParam, lParam, SMTO_NORMAL, cSendTimeoutMs, &result);
    return static_cast<LRESULT>(result);
}

HWND FocusedWindow(HWND dlg)
{
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    DWORD thread = ::GetWindowThreadProcessId(dlg, nullptr);
    return ::GetGUIThreadInfo(thread, &info) ? info.hwndFocus : nullptr;
}

struct ScreenDCReleaser {
    void operator()(HDC dc) const { ::ReleaseDC(nullptr, dc); }
};
struct MemoryDCDeleter {
    void operator()(HDC dc) const { ::DeleteDC(dc); }
};
struct GdiObjectDeleter {
    void operator()(HBITMAP bmp) const { ::DeleteObject(bmp); }
};
using CScreenDC = std::unique_ptr<std::remove_pointer_t<HDC>, ScreenDCReleaser>;
using CMemoryDC = std::unique_ptr<std::remove_pointer_t<HDC>, MemoryDCDeleter>;
using CBitmap = std::unique_ptr<std::remove_pointer_t<HBITMAP>, GdiObjectDeleter>;

int Stride(int width) { return (width * 3 + 3) & ~3; }

// Copies a screen area into 24-bit bottom-up rows.
bool GrabScreen(const RECT& rc, std::vector<BYTE>& bits, BITMAPINFOHEADER& header)
{
    int width = rc.right - rc.left;
    int height = rc.bottom - rc.top;
    CScreenDC screen(::GetDC(nullptr));
    CMemoryDC memory(::CreateCompatibleDC(screen.get()));
    CBitmap bitmap(::CreateCompatibleBitmap(screen.get(), width, height));
    if (!screen || !memory || !bitmap || width <= 0 || height <= 0)
        return false;
    HGDIOBJ old = ::SelectObject(memory.get(), bitmap.get());
    bool copied = ::BitBlt(memory.get(), 0, 0, width, height, screen.get(), rc.left, rc.top, SRCCOPY) != 0;
    ::SelectObject(memory.get(), old);
    header = BITMAPINFOHEADER{};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = 24;
    header.biCompression = BI_RGB;
    bits.assign(static_cast<size_t>(Stride(width)) * height, 0);
    return copied && ::GetDIBits(memory.get(), bitmap.get(), 0, height, bits.data(),
                                 reinterpret_cast<BITMAPINFO*>(&header), DIB_RGB_COLORS) == height;
}

} // namespace

RECT WindowRectOf(HWND hwnd)
{
    RECT rc{};
    ::GetWindowRect(hwnd, &rc);
    return rc;
}

RECT ClientRectOf(HWND hwnd)
{
    RECT rc{};
    ::GetClientRect(hwnd, &rc);
    return rc;
}

Control DialogControl(HWND dlg, int id)
{
    Control c;
    HWND ctl = ::GetDlgItem(dlg, id);
    if (!ctl)
        return c;
    c.exists = true;
    c.visible = ::IsWindowVisible(ctl) != 0;
    c.text = WindowText(ctl);
    c.rect = WindowRectOf(ctl);
    ::MapWindowPoints(HWND_DESKTOP, dlg, reinterpret_cast<POINT*>(&c.rect), 2);
    c.style = ::GetWindowLongA(ctl, GWL_STYLE);
    c.checked = SendWithTimeout(ctl, BM_GETCHECK, 0, 0) == BST_CHECKED;
    return c;
}

int FocusedControlId(HWND dlg)
{
    HWND focus = FocusedWindow(dlg);
    return focus ? ::GetDlgCtrlID(focus) : 0;
}

void PostKey(HWND dlg, int virtualKey)
{
    HWND target = FocusedWindow(dlg);
    if (!target)
        target = dlg;
    ::PostMessageA(target, WM_KEYDOWN, virtualKey, 1);
    ::PostMessageA(target, WM_KEYUP, virtualKey, 0xC0000001);
}

void PaintNow(HWND hwnd)
{
    ::RedrawWindow(hwnd, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
    // The program's thread draws the window; a round trip through its queue lets it finish.
    SendWithTimeout(hwnd, WM_NULL, 0, 0);
    ::Sleep(200);
}

bool SaveWindowBitmap(HWND hwnd, const std::string& path)
{
    std::vector<BYTE> bits;
    BITMAPINFOHEADER info{};
    if (!GrabScreen(WindowRectOf(hwnd), bits, info))
        return false;
    BITMAPFILEHEADER file{};
    file.bfType = 0x4D42; // "BM"
    file.bfOffBits = sizeof file + sizeof info;
    file.bfSize = static_cast<DWORD>(file.bfOffBits + bits.size());
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(&file), sizeof file);
    out.write(reinterpret_cast<const char*>(&info), sizeof info);
    out.write(reinterpret_cast<const char*>(bits.data()), static_cast<std::streamsize>(bits.size()));
    return static_cast<bool>(out);
}

int CountBitmapColours(const std::string& path)
{
    std::string data = ReadFile(path);
    BITMAPFILEHEADER file{};
    BITMAPINFOHEADER info{};
    if (data.size() < sizeof file + sizeof info)
        return 0;
    memcpy(&file, data.data(), sizeof file);
    memcpy(&info, data.data() + sizeof file, sizeof info);
    size_t rowBytes = static_cast<size_t>(Stride(info.biWidth));
    if (info.biBitCount != 24 || data.size() < file.bfOffBits + rowBytes * info.biHeight)
        return 0;
    std::set<DWORD> colours;
    for (LONG y = 0; y < info.biHeight; ++y) {
        const BYTE* row = reinterpret_cast<const BYTE*>(data.data()) + file.bfOffBits + rowBytes * y;
        for (LONG x = 0; x < info.biWidth; ++x)
            colours.insert(RGB(row[3 * x + 2], row[3 * x + 1], row[3 * x]));
    }
    return static_cast<int>(colours.size());
}

std::string ArtifactDir()
{
    std::string bin = BinDir();
    std::string dir = bin.substr(0, bin.find_last_of("\\/")) + "\\e2e-artifacts";
    ::CreateDirectoryA(dir.c_str(), nullptr);
    return dir;
}

std::string WriteTempFile(const std::string& name, const std::string& text)
{
    char dir[MAX_PATH + 1] = {0};
    ::GetTempPathA(MAX_PATH, dir);
    std::string path = std::string(dir) + name;
    std::ofstream out(path, std::ios::binary);
    out << text;
    return path;
}

} // namespace E2E
