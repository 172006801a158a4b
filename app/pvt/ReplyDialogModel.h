// What a reply dialog holds apart from any window: texts, width, checkbox and buttons, and the rules for adding them.
#pragma once

#include "String.h"
#include "VersionScript.h"

// The program's reply dialog shows it in a window; the tools around the program print and answer it.
class CReplyDialogModel : public Orn::IUpdateWatchDialog {
public:
    static constexpr Orn::Int cMaxButtons = 3;

    // The interpreter receives the pressed button's jump and the checkbox state.
    explicit CReplyDialogModel(Orn::CVersionScriptInterpreter* interpreter) : mInterpreter(interpreter) {}
    CReplyDialogModel(const CReplyDialogModel&) = delete;
    CReplyDialogModel& operator=(const CReplyDialogModel&) = delete;

    void SetTexts(const char* title, const char* message) override;
    void SetWidth(Orn::Int width) override;
    bool AddCheckbox(const char* text, const char* varName, bool negate, Orn::CString& error) override;
    bool AddButton(const char* text, const char* label, bool isDefault, bool isClose, Orn::CString& error) override;

protected:
    struct CButtonSlot {
        Orn::CString text;
        Orn::CString label;
    };

    ~CReplyDialogModel() = default; // only Release destroys it

    // A text as the dialog shows it: "<name>" references to global variables filled in.
    static Orn::CString Shown(const char* text);
    // The checkbox as it opens: its variable read as an integer (undefined counts as 0), inverted with neg.
    bool InitialCheckState() const;

    Orn::CVersionScriptInterpreter* mInterpreter;
    Orn::CString mTitle;
    Orn::CString mMessage;
    Orn::Int mWidth = 0;
    bool mHasCheckbox = false;
    Orn::CString mCheckboxText;
    bool mNegate = false;
    Orn::CString mCheckboxVar;
    Orn::Int mButtonCount = 0;
    Orn::Int mDefaultButton = -1;
    Orn::Int mCloseButton = -1;
    CButtonSlot mButtons[cMaxButtons];
};
