// The reply dialog: fills template 100 with the script's texts, lays it out again and reports the choice.
#include "VersionDialog.h"

#include <initializer_list>

#include "Debug.h"
#include "UpdateWatch.h"
#include "VarList.h"

using namespace Orn;

namespace {

const char* const cPropName = "VRObj_CNBVersionReplyDlg";
const Int cTemplateId = 100;
const Int cMessageId = 1001;
const Int cCheckboxId = 1002;
const Int cFirstButtonId = 1003; // the buttons are 1003, 1004 and 1005

Int ButtonId(Int index) { return cFirstButtonId + index; }

Int Width(const RECT& rc) { return rc.right - rc.left; }

Int Height(const RECT& rc) { return rc.bottom - rc.top; }

// A control's device context with the control's own font selected, so text measures as it will show.
class CControlDC {
public:
    explicit CControlDC(HWND ctl) : mCtl(ctl), mDC(::GetDC(ctl))
    {
        if (!mDC) {
            ORN_ASSERT_MSG("::GetDC(ctl)");
            return;
        }
        HFONT font = reinterpret_cast<HFONT>(::SendMessageA(ctl, WM_GETFONT, 0, 0));
        if (font)
            mOldFont = ::SelectObject(mDC, font);
    }
    ~CControlDC()
    {
        if (mOldFont)
            ::SelectObject(mDC, mOldFont);
        if (mDC)
            ::ReleaseDC(mCtl, mDC);
    }
    CControlDC(const CControlDC&) = delete;
    CControlDC& operator=(const CControlDC&) = delete;

    HDC Get() const { return mDC; }

private:
    HWND mCtl;
    HDC mDC;
    HGDIOBJ mOldFont = nullptr;
};

// The size of a text in the control's font: one line, or wrapped at wrapWidth when that is positive.
SIZE TextExtent(HWND ctl, const char* text, Int wrapWidth)
{
    CControlDC dc(ctl);
    RECT rc = {0, 0, wrapWidth, 0};
    UINT format = DT_CALCRECT | (wrapWidth > 0 ? DT_WORDBREAK : DT_SINGLELINE);
    if (dc.Get())
        ::DrawTextA(dc.Get(), text, -1, &rc, format);
    return SIZE{Width(rc), Height(rc)};
}

CString WindowText(HWND hwnd)
{
    CString text;
    Int len = ::GetWindowTextLengthA(hwnd);
    ::GetWindowTextA(hwnd, text.Lock(len), len + 1);
    text.Unlock();
    return text;
}

// Fills the "<name>" references of a dialog text; a text cut at a bound is shown as far as it got, and logged.
CString Substituted(const char* text, const char* what)
{
    CString out(text);
    CUpdateWatchApp* app = CUpdateWatchApp::Get();
    if (!GlobalVars.SubstituteBounded(out, "<>", CSubstBounds()) && app)
        app->LogCut(what);
    return out;
}

} // namespace

struct CNBVersionReplyDlg::CRowLayout {
    Int buttonWidth = 0;
    Int step = 0; // button width plus the gap
    Int rowWidth = 0;
    Int neededWidth = 0; // client width that holds the row with the template's margins
};

// ---- Showing

bool CNBVersionReplyDlg::Run()
{
    INT_PTR result = ::DialogBoxParamA(::GetModuleHandleA(nullptr), MAKEINTRESOURCEA(cTemplateId), nullptr,
                                       DlgProc, reinterpret_cast<LPARAM>(this));
    if (result == -1)
        return false;
    LogAnswer();
    return true;
}

void CNBVersionReplyDlg::LogAnswer() const
{
    CUpdateWatchApp* app = CUpdateWatchApp::Get();
    if (!app)
        return;
    app->LogText("Reply dialog: ", mClosed ? "closed, meaning \"" : "pressed \"");
    app->LogInline(mButtons[mPressed].text);
    app->LogText("\" (jump to ", mButtons[mPressed].label, ")");
    if (mHasCheckbox) {
        app->LogText(", checkbox ", mChecked ? "" : "not ", "ticked (");
        app->LogText(mCheckboxVar, mChecked != mNegate ? " = 1)" : " = 0)");
    }
    app->LogText(".\n");
}

void CNBVersionReplyDlg::Release() { delete this; }

// ---- The dialog procedure

INT_PTR CALLBACK CNBVersionReplyDlg::DlgProc(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam)
{
    if (msg == WM_INITDIALOG) {
        auto* self = reinterpret_cast<CNBVersionReplyDlg*>(lParam);
        if (!::SetPropA(dlg, cPropName, self))
            ORN_ASSERT_MSG("::SetPropA(dlg,cPropName,self)");
        self->mDlg = dlg;
        self->OnInitDialog();
        return FALSE; // the default button has the focus already
    }
    auto* self = static_cast<CNBVersionReplyDlg*>(::GetPropA(dlg, cPropName));
    if (!self)
        return FALSE;
    if (msg == WM_COMMAND && HIWORD(wParam) == BN_CLICKED)
        return self->OnCommand(LOWORD(wParam));
    if (msg == WM_DESTROY) {
        self->OnDestroy();
        ::RemovePropA(dlg, cPropName);
        self->mDlg = nullptr;
        return TRUE;
    }
    return FALSE;
}

bool CNBVersionReplyDlg::OnCommand(Int id)
{
    if (id >= cFirstButtonId && id < cFirstButtonId + cMaxButtons)
        SelectButton(id - cFirstButtonId, false);
    else if (id == IDCANCEL)
        SelectButton(mCloseButton, true);
    else
        return false;
    return true;
}

void CNBVersionReplyDlg::SelectButton(Int index, bool closed)
{
    mPressed = index;
    mClosed = closed;
    mInterpreter->Jump(mButtons[index].label);
    if (!::EndDialog(mDlg, ButtonId(index)))
        ORN_ASSERT_MSG("::EndDialog(mDlg,ButtonId(index))");
}

// Runs after the jump, so the script reads the new state once the dialog is gone.
void CNBVersionReplyDlg::OnDestroy()
{
    if (!mHasCheckbox)
        return;
    bool checked = ::IsDlgButtonChecked(mDlg, cCheckboxId) == BST_CHECKED;
    mChecked = checked;
    if (mNegate)
        checked = !checked;
    mInterpreter->SetVariable(mCheckboxVar, checked ? "1" : "0");
}

// ---- Set-up at WM_INITDIALOG

void CNBVersionReplyDlg::OnInitDialog()
{
    Int gap = ItemRect(ButtonId(1)).left - ItemRect(ButtonId(0)).right;
    SetButtonTexts();
    CRowLayout row = MeasureRow(gap);
    Int clientWidth = ClientWidth();
    Int extra = ExtraWidth(row.neededWidth, clientWidth);
    if (extra > 0)
        Widen(extra);
    PlaceButtons(row, (clientWidth + extra) / 2 - row.rowWidth / 2);
    SetMessageText();
    SetUpCheckbox();
    SetUpDefaultButton();
    if (mCloseButton < 0)
        mCloseButton = 0; // intended: without a close button, closing means the first button
    SetTitle();
    CentreAndShow();
}

void CNBVersionReplyDlg::SetButtonTexts()
{
    for (Int i = 0; i < cMaxButtons; ++i) {
        if (i < mButtonCount)
            SetAutoSizedText(ButtonId(i), mButtons[i].text, false);
        else
            ::ShowWindow(Item(ButtonId(i)), SW_HIDE);
    }
}

CNBVersionReplyDlg::CRowLayout CNBVersionReplyDlg::MeasureRow(Int gap)
{
    CRowLayout row;
    for (Int i = 0; i < mButtonCount; ++i) {
        Int width = Width(ItemRect(ButtonId(i)));
        if (width > row.buttonWidth)
            row.buttonWidth = width;
    }
    row.step = row.buttonWidth + gap;
    row.rowWidth = mButtonCount * row.step - gap;
    row.neededWidth = row.rowWidth + 2 * ItemRect(ButtonId(0)).left;
    return row;
}

// The requested width in pixels, or more when the buttons need it.
Int CNBVersionReplyDlg::ExtraWidth(Int neededWidth, Int clientWidth)
{
    Int extra = 0;
    if (mWidth != 0)
        extra = ::MulDiv(mWidth, LOWORD(::GetDialogBaseUnits()), 4);
    Int excess = neededWidth - clientWidth;
    if (excess > extra)
        extra = excess;
    return extra;
}

void CNBVersionReplyDlg::Widen(Int extra)
{
    GrowDialog(extra, 0);
    for (Int id : {cMessageId, cCheckboxId}) {
        RECT rc = ItemRect(id);
        rc.right += extra;
        MoveItem(id, rc);
    }
}

void CNBVersionReplyDlg::PlaceButtons(const CRowLayout& row, Int firstLeft)
{
    Int left = firstLeft;
    for (Int i = 0; i < mButtonCount; ++i) {
        RECT rc = ItemRect(ButtonId(i));
        rc.left = left;
        rc.right = left + row.buttonWidth;
        MoveItem(ButtonId(i), rc);
        left += row.step;
    }
}

// A longer message pushes everything below it down.
void CNBVersionReplyDlg::SetMessageText()
{
    Int growth = SetAutoSizedText(cMessageId, mMessage, true);
    if (growth <= 0)
        return;
    MoveItemBy(cCheckboxId, growth);
    for (Int i = 0; i < cMaxButtons; ++i)
        MoveItemBy(ButtonId(i), growth);
    GrowDialog(0, growth);
}

void CNBVersionReplyDlg::SetUpCheckbox()
{
    if (!mHasCheckbox) {
        // The buttons take the checkbox's place.
        ::ShowWindow(Item(cCheckboxId), SW_HIDE);
        Int rise = ItemRect(ButtonId(0)).top - ItemRect(cCheckboxId).top;
        for (Int i = 0; i < cMaxButtons; ++i)
            MoveItemBy(ButtonId(i), -rise);
        GrowDialog(0, -rise);
        return;
    }
    SetAutoSizedText(cCheckboxId, mCheckboxText, false);
    ::ShowWindow(Item(cCheckboxId), SW_SHOW);
    bool value = InitialCheckState();
    if (!::CheckDlgButton(mDlg, cCheckboxId, value ? BST_CHECKED : BST_UNCHECKED))
        ORN_ASSERT_MSG("CheckDlgButton(mDlg,1002,(UINT)(value ? 0x0001 : 0x0000))");
}

void CNBVersionReplyDlg::SetUpDefaultButton()
{
    if (mDefaultButton < 0)
        mDefaultButton = 0;
    Int defaultId = ButtonId(mDefaultButton);
    ::SendMessageA(mDlg, DM_SETDEFID, defaultId, 0);
    // The template makes 1003 the default; only one button may look it.
    for (Int i = 0; i < cMaxButtons; ++i)
        ::SendMessageA(Item(ButtonId(i)), BM_SETSTYLE, ButtonId(i) == defaultId ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON,
                       TRUE);
    ::SetFocus(Item(defaultId));
}

void CNBVersionReplyDlg::SetTitle()
{
    CString title = Substituted(mTitle, "reply dialog title");
    if (!::SetWindowTextA(mDlg, title))
        ORN_ASSERT_MSG("::SetWindowTextA(mDlg,title)");
}

void CNBVersionReplyDlg::CentreAndShow()
{
    RECT rc = {};
    if (!::GetWindowRect(mDlg, &rc))
        ORN_ASSERT_MSG("::GetWindowRect(mDlg,&rc)");
    Int width = Width(rc);
    Int height = Height(rc);
    Int newLeft = (::GetSystemMetrics(SM_CXSCREEN) - width) / 2;
    Int newTop = (::GetSystemMetrics(SM_CYSCREEN) - height) / 2;
    if (!::MoveWindow(mDlg, newLeft, newTop, width, height, true))
        ORN_ASSERT_MSG("::MoveWindow(mDlg,newLeft,newTop,width,height,true)");
    ::ShowWindow(mDlg, SW_SHOW);
}

// ---- Window helpers

HWND CNBVersionReplyDlg::Item(Int id)
{
    HWND ctl = ::GetDlgItem(mDlg, id);
    if (!ctl)
        ORN_ASSERT_MSG("::GetDlgItem(mDlg,id)");
    return ctl;
}

// The control's rectangle in the dialog's client coordinates.
RECT CNBVersionReplyDlg::ItemRect(Int id)
{
    RECT rc = {};
    HWND ctl = Item(id);
    if (!::GetWindowRect(ctl, &rc))
        ORN_ASSERT_MSG("::GetWindowRect(ctl,&rc)");
    POINT corners[2] = {{rc.left, rc.top}, {rc.right, rc.bottom}};
    if (!::ScreenToClient(mDlg, &corners[0]) || !::ScreenToClient(mDlg, &corners[1]))
        ORN_ASSERT_MSG("::ScreenToClient(mDlg,&corner)");
    return RECT{corners[0].x, corners[0].y, corners[1].x, corners[1].y};
}

void CNBVersionReplyDlg::MoveItem(Int id, const RECT& rc)
{
    HWND ctl = Item(id);
    if (!::MoveWindow(ctl, rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top, true))
        ORN_ASSERT_MSG("::MoveWindow(ctl,rc.left,rc.top,rc.right - rc.left,rc.bottom - rc.top,true)");
}

void CNBVersionReplyDlg::MoveItemBy(Int id, Int dy)
{
    RECT rc = ItemRect(id);
    ::OffsetRect(&rc, 0, dy);
    MoveItem(id, rc);
}

void CNBVersionReplyDlg::GrowDialog(Int dx, Int dy)
{
    RECT rc = {};
    if (!::GetWindowRect(mDlg, &rc))
        ORN_ASSERT_MSG("::GetWindowRect(mDlg,&rc)");
    if (!::MoveWindow(mDlg, rc.left, rc.top, Width(rc) + dx, Height(rc) + dy, true))
        ORN_ASSERT_MSG("::MoveWindow(mDlg,rc.left,rc.top,Width(rc) + dx,Height(rc) + dy,true)");
}

Int CNBVersionReplyDlg::ClientWidth()
{
    RECT rc = {};
    if (!::GetClientRect(mDlg, &rc))
        ORN_ASSERT_MSG("::GetClientRect(mDlg,&rc)");
    return Width(rc);
}

// The "<name>" references are filled before measuring, so the control fits what it shows.
Int CNBVersionReplyDlg::SetAutoSizedText(Int id, const char* text, bool wrapped)
{
    CString newText = Substituted(text, "reply dialog text");
    HWND ctl = Item(id);
    CString oldText = WindowText(ctl);
    RECT rc = ItemRect(id);
    Int change = 0;
    if (wrapped) {
        change = TextExtent(ctl, newText, Width(rc)).cy - TextExtent(ctl, oldText, Width(rc)).cy;
        rc.bottom += change;
    } else {
        change = TextExtent(ctl, newText, 0).cx - TextExtent(ctl, oldText, 0).cx;
        rc.right += change;
    }
    MoveItem(id, rc);
    if (!::SetWindowTextA(ctl, newText))
        ORN_ASSERT_MSG("::SetWindowTextA(ctl,newText)");
    return change;
}
