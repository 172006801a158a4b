// The version-check engine against the loopback test server, and its persistent identity in the registry.
#include "VersionRequest.h"

#include <cstdlib>
#include <string>
#include <vector>

#include "RegKey.h"
#include "TestHttpServer.h"
#include "TestSupport.h"
#include "Time.h"
#include "Version.h"

using namespace Orn;
using OrnTest::HttpAnswer;
using OrnTest::TestHttpServer;

namespace {

const char* const AppVarNames[] = {"EqTotal", "Notify", "Long", nullptr};
const char MachineKeyPath[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantrel";
const char UserKeyPath[] = "HKEY_CURRENT_USER\\SOFTWARE\\Vantrel";

// The real machine facts; the box is recorded instead of shown, so nothing waits for a click.
class CRecordingWatcher : public CUpdateWatcher {
public:
    CRecordingWatcher() : CUpdateWatcher(AppVarNames) {}
    std::vector<std::string> mBoxes;

protected:
    void ShowNonStandardBox(const char* text, const char* title) override
    {
        mBoxes.push_back(std::string(title) + ": " + text);
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
        for (Slot& slot : mSlots) {
            CRegKey key;
            EXPECT_TRUE(key.OpenRooted(slot.keyPath, CRegKey::regCreate)) << slot.keyPath;
            slot.existed = ReadValue(slot.keyPath, slot.name) != "(absent)";
        }
    }
    ~CIdentityValuesScope()
    {
        for (const Slot& slot : mSlots) {
            CRegKey key;
            if (!slot.existed && key.OpenRooted(slot.keyPath, CRegKey::regReadWrite))
                key.DeleteValue(slot.name);
        }
    }

private:
    struct Slot {
        const char* keyPath;
        const char* name;
        bool existed;
    };
    Slot mSlots[3] = {{MachineKeyPath, "Random", false}, {MachineKeyPath, "MachTime", false},
                      {UserKeyPath, "UserTime", false}};
};

class UpdateWatcherWinTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mServer.IsListening());
        mSavedGlobals = GlobalVars;
        for (const char* name : {"LastUpdateWatch", "LastTip", "UWServerTestVer", "UWServerScriptId", "UWDelay"})
            GlobalVars.Remove(name);
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
    std::string Query() const
    {
        std::string url = mURL.Chars();
        return url.substr(url.find('?') + 1);
    }

    CIdentityValuesScope mIdentity;
    TestHttpServer mServer;
    CVarList mSavedGlobals;
    CVarList mAppVars;
    CVersion mVersion;
    CString mReply;
    CString mURL;
};

bool IsMACText(const std::string& text)
{
    if (text == "none")
        return true;
    if (text.size() != 12)
        return false;
    for (char ch : text) {
        if (!((ch >= '0' && ch <= '9') || (ch >= 'A' && ch <= 'F')))
            return false;
    }
    return true;
}

} // namespace

TEST_F(UpdateWatcherWinTest, SendsTheRequestAndCutsTheReply)
{
    mServer.Enqueue(HttpAnswer::Page("<html>[START]\r\nset x, \"1\";\r\n[END]</html>\r\n"));
    OrnTest::AssertRecorder rec;
    CRecordingWatcher watcher;
    EXPECT_EQ(Check(watcher), Ok);
    EXPECT_NO_ASSERTS(rec) << "every core parameter has a value on this machine";
    EXPECT_STREQ(mReply, "\nset x, \"1\";\n");

    auto requests = mServer.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].method, "GET");
    EXPECT_EQ(requests[0].path, "/updatewatch/updatewatch.aspx");
    EXPECT_EQ(requests[0].query, Query()) << "the URL handed back is the one sent";
    EXPECT_EQ(requests[0].Header("User-Agent"), "VRL Version Checker");
    std::string query = requests[0].query;
    EXPECT_EQ(query.rfind("EqTotal=5&Notify=X&VR_ShowTips=1&VR_LastUW=-1&VR_LastTip=-1&VR_AutoUW=1&VR_MachTime=", 0),
              0u)
        << query;
    std::string tail = "&VR_Product=NBW&VR_ProdLang=EN&VR_ProdVer=3.1.2.45&VR_Vendor=VRL";
    ASSERT_GT(query.size(), tail.size());
    EXPECT_EQ(query.substr(query.size() - tail.size()), tail);

    const CVarList& sent = watcher.RequestVars();
    EXPECT_STREQ(sent.Find("VR_OSBits"), "64") << "a 64-bit build runs on 64-bit Windows only";
    EXPECT_TRUE(IsMACText(sent.Find("VR_MACAddr"))) << sent.Find("VR_MACAddr");
    EXPECT_STREQ(sent.Find("VR_UserTime"), ReadValue(UserKeyPath, "UserTime").c_str())
        << "the user's time is stored by every request";
    EXPECT_EQ(watcher.mBoxes, std::vector<std::string>{"Version Check: Non-standard version check."})
        << "the loopback server is not the standard host";
}

TEST_F(UpdateWatcherWinTest, ReplyWithoutMarkersIsKeptWhole)
{
    mServer.Enqueue(HttpAnswer::Page("a[start]b[end]c"));
    CRecordingWatcher watcher;
    EXPECT_EQ(Check(watcher), Ok) << "missing markers do not change the status";
    EXPECT_STREQ(mReply, "a[start]b[end]c");
    CString again;
    EXPECT_FALSE(watcher.FetchScript(again));
    EXPECT_STREQ(again, "a[start]b[end]c");
}

TEST_F(UpdateWatcherWinTest, LongRequestGoesAsAPost)
{
    mAppVars.Set("Long", std::string(2100, 'v').c_str());
    mServer.Enqueue(HttpAnswer::Page("[START]posted[END]"));
    CRecordingWatcher watcher;
    EXPECT_EQ(Check(watcher), Ok);
    EXPECT_STREQ(mReply, "posted");
    auto requests = mServer.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_EQ(requests[0].path, "/updatewatch/updatewatch.aspx");
    EXPECT_EQ(requests[0].query, "");
    EXPECT_EQ(requests[0].Header("Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(requests[0].body, Query());
}

TEST_F(UpdateWatcherWinTest, ReadFailuresComeBackAsTheyAre)
{
    struct Row {
        const char* name;
        HttpAnswer answer;
        RStatus expected;
    };
    const Row rows[] = {
        {"404", HttpAnswer::Page("gone", 404), E_NotFound},
        {"500", HttpAnswer::Page("broken", 500), E_InternetBadHTTPStatus},
        {"a page of the largest size", HttpAnswer::Oversized(10000), Ok},
        {"one byte more", HttpAnswer::Oversized(10001), E_TooMuchData},
    };
    for (const Row& row : rows) {
        mServer.Enqueue(row.answer);
        CRecordingWatcher watcher;
        EXPECT_EQ(Check(watcher).Name(), std::string(row.expected.Name())) << row.name;
        EXPECT_EQ(mReply.Length(), row.expected == Ok ? 10000 : 0) << row.name;
    }
}

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
    std::string random = GlobalVars.Find("Random");
    std::string machTime = GlobalVars.Find("MachTime");
    std::string userTime = GlobalVars.Find("UserTime");
    EXPECT_EQ(ReadValue(MachineKeyPath, "Random"), random);
    EXPECT_EQ(ReadValue(MachineKeyPath, "MachTime"), machTime);
    EXPECT_EQ(ReadValue(UserKeyPath, "UserTime"), userTime);
    EXPECT_LE(std::atoll(machTime.c_str()), CTime::Now().Seconds());
    EXPECT_GT(std::atoll(userTime.c_str()), 0);

    GlobalVars.Set("Random", "changed");
    CRecordingWatcher second;
    ASSERT_TRUE(second.UpdatePersistentIdentity(true, false));
    EXPECT_EQ(GlobalVars.Find("Random"), random);
    EXPECT_EQ(GlobalVars.Find("MachTime"), machTime);
    EXPECT_EQ(GlobalVars.Find("UserTime"), userTime);
}
