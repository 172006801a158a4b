// The progress window of an install's download: product and file, bytes of the total, percent, rate, time left,
// and Cancel.
#pragma once

#include <windows.h>

#include "DownloadProgress.h"
#include "FileDownload_Win.h"
#include "InstallCommand.h"

class CProgressDialog {
public:
    CProgressDialog(Orn::CFileDownload& download, const CInstallRequest& request)
        : mDownload(download), mRequest(request), mProgress(request.size)
    {
    }
    CProgressDialog(const CProgressDialog&) = delete;
    CProgressDialog& operator=(const CProgressDialog&) = delete;

    // Modal, from dialog template 101, until the download ends; deCancelled at once when the user cancels
    // (the download is told to stop, but not waited for), else how the download ended.
    Orn::EDownloadEnd Run();

private:
    static INT_PTR CALLBACK DlgProc(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam);
    void OnInitDialog();
    void Update();
    void SetText(Orn::Int id, const char* text);

    Orn::CFileDownload& mDownload;
    const CInstallRequest& mRequest;
    CDownloadProgress mProgress;
    DWORD mStartTick = 0;
    HWND mDlg = nullptr;
    bool mCancelled = false;
};
