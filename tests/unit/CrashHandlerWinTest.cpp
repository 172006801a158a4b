// The crash handler's set-up and its preconditions; the crashes themselves are end-to-end tests.
#include "CrashHandler_Win.h"

#include "TestSupport.h"

using namespace Orn;

TEST(CrashHandlerWin, OneHandlerAtATimeWithAPrefix)
{
    OrnTest::AssertRecorder rec;
    {
        CCrashHandler first("UnitCrash");
        EXPECT_NO_ASSERTS(rec);
        CCrashHandler second("Other");
        EXPECT_ASSERTED(rec, "! cCrashHandler");
        CPath path;
        EXPECT_FALSE(CCrashHandler::GetCrashDumpPath(nullptr, 0, path));
        EXPECT_ASSERTED(rec, "prefix");
        EXPECT_FALSE(CCrashHandler::WriteDump(nullptr, path, nullptr));
        EXPECT_ASSERTED(rec, "WriteDumpFunc");
    }
    rec.Clear();
    CCrashHandler afterwards(nullptr);
    EXPECT_ASSERTED(rec, "prefix");
    EXPECT_FALSE(rec.Fired("! cCrashHandler")) << "the first handler let go when it ended";
}
