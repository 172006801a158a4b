// The version-check engine against the loopback test server, and its persistent identity in the registry.
#include "VersionRequest.h"

#include <cstdlib>
#include <string>

#include "RegKey.h"
#include "TestHttpServer.h"
#include "TestSupport.h"
#include "Time.h"
#include "Version.h"

using namespace Orn;
using OrnTest::HttpAnswer;
using OrnTest::TestHttpServer;

namespace {

const char* const AppVarNames[] = {"EqTotal", "Notify", nullptr};
const char MachineKeyPath[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantrel";
const char UserKeyPath[] = "HKEY_CURRENT_USER\\SOFTWARE\\Vantrel";

// The real machine facts; the box is recorded instead of shown, so nothing waits for a click.
class CRecordingWatcher : public CUpdateWatcher {
public:
    CRecordingWatcher() : CUpdateWatcher(AppVarNames) {}
    std::string mBoxes; // "title: text;" per box

protected:
    void ShowNonStandardBox(const char* text, const char* title) override
    {
        mBoxes += std::string(title) + ": " + text + ";";
    }
};

std::string ReadValue(const char* keyPath, const char* name)
{
    CRegKey key;
    CString value;
    if (!key.OpenRooted(keyPath) || !key.GetString(name, value))
        return "(absent)";
    return value.Chars();
}

// Other tests use the same keys: afterwards only the identity values that a test created are deleted.
class CIdentityValuesScope {
public:
    CIdentityValuesScope()
    {
        for (int i = 0; i < 3; ++i) {
            CRegKey key;
            EXPECT_TRUE(key.OpenRooted(cSlots[i][0], CRegKey::regCreate)) << cSlots[i][0];
            mExisted[i] = ReadValue(cSlots[i][0], cSlots[i][1]) != "(absent)";
        }
    }
    ~CIdentityValuesScope()
    {
        for (int i = 0; i < 3; ++i) {
            CRegKey key;
            if (!mExisted[i] && key.OpenRooted(cSlots[i][0], CRegKey::regReadWrite))
                key.DeleteValue(cSlots[i][1]);
        }
    }

private:
    static constexpr const char* cSlots[3][2] = {
        {MachineKeyPath, "Random"}, {MachineKeyPath, "MachTime"}, {UserKeyPath, "UserTime"}};
    bool mExisted[3] = {};
};

// The identity as "Random MachTime UserTime", from the global variables or from the registry.
std::string GlobalIdentity()
{
    return std::string(GlobalVars.Find("Random")) + " " + GlobalVars.Find("MachTime") + " " +
           GlobalVars.Find("UserTime");
}

std::string StoredIdentity()
{
    return ReadValue(MachineKeyPath, "Random") + " " + ReadValue(MachineKeyPath, "MachTime") + " " +
           ReadValue(UserKeyPath, "UserTime");
}


class UpdateWatcherWinTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mServer.IsListening());
        mSavedGlobals = GlobalVars;
        GlobalVars.Clear();
        std::string domain = "127.0.0.1:" + std::to_string(mServer.Port());
        GlobalVars.Set("VersionDomain", domain.c_str());
        GlobalVars.Set("VendorId", "VRL");
        GlobalVars.Set("ShowTips", "1");
        mAppVars.Set("EqTotal", "5");
        mAppVars.Set("Notify", "X");
        ASSERT_TRUE(mVersion.Parse("3.1.2.45", vsDotted));
    }
    void TearDown() override { GlobalVars = mSavedGlobals; }

    RStatus Check(CRecordingWatcher& watcher, Int timeout = 30)
    {
        RStatus status;
        RStatus result = watcher.CheckWithTimeout(status, true, "NBW", mVersion, "EN", mAppVars, mReply, mURL, nullptr,
                                                  false, timeout);
        EXPECT_EQ(status, result) << "the out status is the result";
        return result;
    }

    CIdentityValuesScope mIdentity;
    TestHttpServer mServer;
    CVarList mSavedGlobals;
    CVarList mAppVars;
    CVersion mVersion;
    CString mReply;
    CString mURL;
};

} // namespace

TEST_F(UpdateWatcherWinTest, SilentServerTimesOut)
{
    mServer.Enqueue(HttpAnswer::NeverAnswer());
    CRecordingWatcher watcher;
    EXPECT_EQ(Check(watcher, 1), E_Timeout);
    EXPECT_TRUE(mServer.WaitForRequests(1, 0)) << "the request did reach the server";
    EXPECT_STREQ(mReply, "");
    EXPECT_EQ(watcher.Poll(), S_Busy) << "the read is given up, not waited for";
}

TEST_F(UpdateWatcherWinTest, PersistentIdentityIsFixedOnceAndRepeated)
{
    CRecordingWatcher first;
    ASSERT_TRUE(first.UpdatePersistentIdentity(true, false));
    const std::string fixed = GlobalIdentity();
    EXPECT_EQ(StoredIdentity(), fixed);
    EXPECT_GT(std::atoll(GlobalVars.Find("UserTime")), 0);
    EXPECT_LE(std::atoll(GlobalVars.Find("MachTime")), CTime::Now().Seconds());

    GlobalVars.Set("Random", "changed");
    CRecordingWatcher second;
    ASSERT_TRUE(second.UpdatePersistentIdentity(true, false));
    EXPECT_EQ(GlobalIdentity(), fixed);
}
