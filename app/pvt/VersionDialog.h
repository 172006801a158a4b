// The reply dialog of a version script: a message, up to three buttons and one checkbox.
#pragma once

#include <windows.h>

#include "ReplyDialogModel.h"

class CNBVersionReplyDlg final : public CReplyDialogModel {
public:
    // The interpreter receives the pressed button's jump and the checkbox state.
    explicit CNBVersionReplyDlg(Orn::CVersionScriptInterpreter* interpreter) : CReplyDialogModel(interpreter) {}

    // Modal, from dialog template 100 of the program.
    bool Run() override;
    void Release() override;

private:
    struct CRowLayout;

    ~CNBVersionReplyDlg() = default; // only Release destroys it

    static INT_PTR CALLBACK DlgProc(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam);
    void OnInitDialog();
    bool OnCommand(Orn::Int id);
    void OnDestroy();
    void SelectButton(Orn::Int index, bool closed);
    // One log line: the button that ended the dialog and the checkbox as it was left.
    void LogAnswer() const;

    // The set-up steps, in the order they run.
    void SetButtonTexts();
    CRowLayout MeasureRow(Orn::Int gap);
    Orn::Int ExtraWidth(Orn::Int neededWidth, Orn::Int clientWidth);
    void Widen(Orn::Int extra);
    void PlaceButtons(const CRowLayout& row, Orn::Int firstLeft);
    void SetMessageText();
    void SetUpCheckbox();
    void SetUpDefaultButton();
    void SetTitle();
    void CentreAndShow();

    // Window helpers; a failing call asserts with the call's text.
    HWND Item(Orn::Int id);
    RECT ItemRect(Orn::Int id);
    void MoveItem(Orn::Int id, const RECT& rc);
    void MoveItemBy(Orn::Int id, Orn::Int dy);
    void GrowDialog(Orn::Int dx, Orn::Int dy);
    Orn::Int ClientWidth();
    Orn::Int SetAutoSizedText(Orn::Int id, const char* text, bool wrapped);

    HWND mDlg = nullptr;
    Orn::Int mPressed = 0;
    bool mClosed = false; // by Esc or the close box
    bool mChecked = false;
};
