// The error handler's substitution steps: the banner's message, the source position items, then the global
// variables.
#include "ErrorHandler.h"

#include "Format.h"
#include "VarList.h"

namespace Orn {

void CErrorHandler::SubstituteItems(CString& text, const char* file, Int line) const
{
    // Globals come in the next step, with their own count, so the template must not take them now.
    CFormat fmt(text, nullptr, fmtNoGlobals);
    fmt.Item("ErrFile", file ? file : "");
    fmt.Item("ErrLine", line);
    text = fmt.Text();
}

void CErrorHandler::FillBanner(CString& banner, const char* msg)
{
    CFormat fmt(banner, nullptr, fmtNoGlobals);
    fmt.Item("msg", msg);
    banner = fmt.Text();
}

Int CErrorHandler::SubstituteGlobals(CString& text) const { return GlobalVars.Substitute(text, "<>"); }

} // namespace Orn
