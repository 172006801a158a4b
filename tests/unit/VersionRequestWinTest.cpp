// The version-check engine's time limit, against a loopback server that never answers.
#include "VersionRequest.h"

#include <string>

#include "TestHttpServer.h"
#include "TestSupport.h"
#include "Version.h"

using namespace Orn;
using OrnTest::HttpAnswer;

namespace {

const char* const AppVarNames[] = {"EqTotal", "Notify", nullptr};

// The box is not shown, so nothing waits for a click.
class CQuietWatcher : public CUpdateWatcher {
public:
    CQuietWatcher() : CUpdateWatcher(AppVarNames) {}

protected:
    void ShowNonStandardBox(const char*, const char*) override {}
};

} // namespace

TEST(UpdateWatcherWin, SilentServerTimesOut)
{
    OrnTest::TestHttpServer server;
    ASSERT_TRUE(server.IsListening());
    server.Enqueue(HttpAnswer::NeverAnswer());
    const CVarList saved = GlobalVars;
    GlobalVars.Set("VersionDomain", ("127.0.0.1:" + std::to_string(server.Port())).c_str());
    GlobalVars.Set("VendorId", "VRL");
    GlobalVars.Set("ShowTips", "1");
    CVarList appVars;
    appVars.Set("EqTotal", "5");
    appVars.Set("Notify", "X");
    OrnTest::AssertRecorder rec;
    CVersion version;
    ASSERT_TRUE(version.Parse("3.1.2.45", vsDotted));
    CQuietWatcher watcher;
    RStatus status;
    CString reply("old"), url;
    EXPECT_EQ(watcher.CheckWithTimeout(status, true, "NBW", version, "EN", appVars, reply, url, nullptr, false, 1),
              E_Timeout);
    GlobalVars = saved;
    EXPECT_NO_ASSERTS(rec);
    EXPECT_EQ(status, E_Timeout);
    EXPECT_TRUE(server.WaitForRequests(1, 0)) << "the request did reach the server";
    EXPECT_STREQ(reply, "");
    EXPECT_EQ(watcher.Poll(), S_Busy) << "the read is given up, not waited for";
}
