// The reply dialog's content and the rules a script's `dialog` command must keep.
#include "ReplyDialogModel.h"

#include "VarList.h"

using namespace Orn;

void CReplyDialogModel::SetTexts(const char* title, const char* message)
{
    mTitle = title;
    mMessage = message;
}

void CReplyDialogModel::SetWidth(Int width) { mWidth = width; }

bool CReplyDialogModel::AddCheckbox(const char* text, const char* varName, bool negate, CString& error)
{
    if (mHasCheckbox) {
        error = "only one checkbox allowed";
        return false;
    }
    mHasCheckbox = true;
    mCheckboxText = text;
    mNegate = negate;
    mCheckboxVar = varName;
    return true;
}

bool CReplyDialogModel::AddButton(const char* text, const char* label, bool isDefault, bool isClose, CString& error)
{
    if (mButtonCount >= cMaxButtons)
        error = "too many buttons";
    else if (isDefault && mDefaultButton >= 0)
        error = "multiple default buttons";
    else if (isClose && mCloseButton >= 0)
        error = "multiple close buttons";
    else {
        if (isDefault)
            mDefaultButton = mButtonCount;
        if (isClose)
            mCloseButton = mButtonCount;
        mButtons[mButtonCount].text = text;
        mButtons[mButtonCount].label = label;
        ++mButtonCount;
        return true;
    }
    return false;
}

CString CReplyDialogModel::Shown(const char* text)
{
    CString shown(text);
    GlobalVars.Substitute(shown, "<>");
    return shown;
}

bool CReplyDialogModel::InitialCheckState() const
{
    Int current = 0;
    (void)GlobalVars.GetInt(mCheckboxVar, current);
    return (current != 0) != mNegate;
}
