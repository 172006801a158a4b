// The GUI application chain: singletons, the command line it is given, and its defaults.
#include "Application.h"
#include "TestSupport.h"
#include "VarList.h"

using namespace Orn;

namespace {
class TestApp : public CGUIApplication {
public:
    TestApp() : CGUIApplication("TestApp") {}
    bool Run(Int) override
    {
        ran = true;
        sawS = TestOption("s");
        TestOptionValue("v", value);
        SetExitStatus(7);
        return false;
    }
    bool ran = false;
    bool sawS = false;
    CString value;
};
} // namespace

TEST(ApplicationWin, GUIMainSplitsTheCommandLineAndRunsWithTheDefaults)
{
    CGlobalDeleteList::Create();
    auto* app = new TestApp;
    EXPECT_EQ(CGUIApplication::Get(), app);
    EXPECT_EQ(CApplication::Get(), app);
    EXPECT_FALSE(app->GUIMain(nullptr, nullptr, "-s /v \"a b\"", 1));
    EXPECT_TRUE(app->ran);
    EXPECT_TRUE(app->sawS);
    EXPECT_STREQ(app->value, "a b");
    EXPECT_STREQ(app->CommandLineText(), "-s /v \"a b\"");
    EXPECT_EQ(app->GetExitStatus(), 7);

    CString usage;
    app->GetUsageText(usage);
    EXPECT_STREQ(usage, "TestApp: no usage information available.");

    GlobalVars.Set("ShortAppKey", "nbw");
    GlobalVars.Set("MajVersion", "3");
    CString path;
    EXPECT_TRUE(app->GetConfigPath(path));
    EXPECT_GT(path.Length(), 9);
    EXPECT_STREQ(path.Chars() + path.Length() - 9, "\\nbw3.vrc") << path.Chars();

    GlobalVars.Remove("MajVersion");
    OrnTest::AssertRecorder rec;
    EXPECT_FALSE(app->GetConfigPath(path));
    EXPECT_ASSERTED(rec, "AppGetVariable(\"MajVersion\",majorString)");
    app->ReportMessage(false, nullptr);
    EXPECT_ASSERTED(rec, "msg");
    GlobalVars.Remove("ShortAppKey");
    CGlobalDeleteList::DeleteAll();
    EXPECT_EQ(CApplication::Get(), nullptr) << "the application is on the delete list";
}
