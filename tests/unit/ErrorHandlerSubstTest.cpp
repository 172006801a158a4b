// The error handler's item and global-variable substitution into reported messages.
#include "ErrorHandler.h"

#include <string>

#include "TestSupport.h"
#include "VarList.h"

using namespace Orn;

namespace {

// Keeps what would have been shown.
class CCaptureHandler : public CErrorHandler {
public:
    std::string mDelivered;

protected:
    void Deliver(const CString& text, DWord) override { mDelivered = text.Chars(); }
};

} // namespace

TEST(ErrorHandlerSubst, ErrorGetsBannerPositionAndGlobals)
{
    GlobalVars.Set("EhsProduct", "Nimbra");
    CCaptureHandler handler;
    handler.PushSource("nimbra.txt");
    handler.NextLine();
    handler.NextLine();
    CString out;
    Int count = handler.FormatMessage("<ErrFile>(<ErrLine:03d>): bad value for <EhsProduct>", errERROR, out);
    handler.Report("<ErrFile>:<ErrLine> <EhsProduct>", errWARNING);
    handler.PopSource();
    GlobalVars.Remove("EhsProduct");
    EXPECT_STREQ(out, "Error: nimbra.txt(002): bad value for Nimbra");
    EXPECT_EQ(count, 1) << "only global substitutions are counted";
    EXPECT_EQ(handler.mDelivered, "Warning: nimbra.txt:2 Nimbra");
}

TEST(ErrorHandlerSubst, NoSourceLeavesPositionItems)
{
    GlobalVars.Set("EhsA", "<EhsB>");
    GlobalVars.Set("EhsB", "b");
    CErrorHandler handler;
    CString out;
    Int count = handler.FormatMessage("<ErrFile> <ErrLine> <EhsA>", errOK, out);
    GlobalVars.Remove("EhsA");
    GlobalVars.Remove("EhsB");
    EXPECT_STREQ(out, "<ErrFile> <ErrLine> b");
    EXPECT_EQ(count, 2);
}
