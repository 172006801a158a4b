// The download's progress window: template 101, brought up to date four times a second from the worker's count.
#include "ProgressDialog.h"

#include <commctrl.h>

using namespace Orn;

namespace {

const Int cTemplateId = 101;
const Int cFileId = 1101;
const Int cBarId = 1102;
const Int cAmountId = 1103;
const Int cRateId = 1104;
const UINT_PTR cTimerId = 1;
const UINT cTimerMs = 250;

} // namespace

EDownloadEnd CProgressDialog::Run()
{
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_PROGRESS_CLASS};
    ::InitCommonControlsEx(&controls);
    mStartTick = ::GetTickCount();
    if (::DialogBoxParamA(::GetModuleHandleA(nullptr), MAKEINTRESOURCEA(cTemplateId), nullptr, DlgProc,
                          reinterpret_cast<LPARAM>(this)) == -1) {
        // Without a window the download still runs to its end.
        mDownload.WaitForEnd(INFINITE);
    }
    return mCancelled ? deCancelled : mDownload.Poll();
}

INT_PTR CALLBACK CProgressDialog::DlgProc(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam)
{
    if (msg == WM_INITDIALOG) {
        ::SetWindowLongPtrA(dlg, DWLP_USER, lParam);
        auto* self = reinterpret_cast<CProgressDialog*>(lParam);
        self->mDlg = dlg;
        self->OnInitDialog();
        return TRUE;
    }
    auto* self = reinterpret_cast<CProgressDialog*>(::GetWindowLongPtrA(dlg, DWLP_USER));
    if (!self)
        return FALSE;
    if (msg == WM_TIMER) {
        self->Update();
        return TRUE;
    }
    // The Cancel button, Esc and the close box.
    if (msg == WM_COMMAND && LOWORD(wParam) == IDCANCEL) {
        self->mCancelled = true;
        self->mDownload.Cancel();
        ::EndDialog(dlg, IDCANCEL);
        return TRUE;
    }
    return FALSE;
}

void CProgressDialog::OnInitDialog()
{
    Update();
    ::SetTimer(mDlg, cTimerId, cTimerMs, nullptr);
}

void CProgressDialog::Update()
{
    if (mDownload.Poll() != deBusy) {
        ::KillTimer(mDlg, cTimerId);
        ::EndDialog(mDlg, IDOK);
        return;
    }
    Int64 done = mDownload.Received();
    bool checking = mDownload.Verifying();
    CString file(checking ? "Checking " : "Downloading ");
    file.Append(mRequest.fileName);
    SetText(cFileId, file);
    SetText(cAmountId, mProgress.AmountText(done));
    SetText(cRateId, checking ? "Comparing the file with its SHA-256"
                              : mProgress.RateText(done, ::GetTickCount() - mStartTick).Chars());
    ::SendDlgItemMessageA(mDlg, cBarId, PBM_SETPOS, static_cast<WPARAM>(mProgress.Percent(done)), 0);
}

void CProgressDialog::SetText(Int id, const char* text) { ::SetDlgItemTextA(mDlg, id, text); }
