// The version-check engine's portable half: request parameters, their checks, the URL, identity and waiting.
#include "VersionRequest.h"

#include <map>
#include <string>
#include <vector>

#include "Time.h"
#include "TestSupport.h"
#include "Version.h"

using namespace Orn;

namespace {

const char* const AppVarNames[] = {"EqTotal", "Notify", "Eq Total", nullptr};

// Fixed machine facts, an identity as on a machine without readable keys; the box and the page read are
// recorded instead of shown and made.
class CTestWatcher : public CUpdateWatcher {
public:
    CTestWatcher() : CUpdateWatcher(AppVarNames) {}
    std::vector<std::string> mBoxes;
    std::vector<std::string> mReads;

    bool UpdatePersistentIdentity(bool write, bool evenIfUnreadable) override
    {
        EXPECT_FALSE(write);
        EXPECT_TRUE(evenIfUnreadable);
        return UpdateIdentityValues(nullptr, nullptr, write, evenIfUnreadable, 42, 1000);
    }

protected:
    RStatus StartPageRead(const char* url, Int max) override
    {
        EXPECT_EQ(max, 10000);
        mReads.emplace_back(url);
        return Failure;
    }
    void ShowNonStandardBox(const char* text, const char* title) override
    {
        mBoxes.push_back(std::string(title) + ": " + text);
    }
    void GetMachineFacts(CMachineFacts& facts) override
    {
        facts.osVersion = "10.0";
        facts.osLanguage = "en-US";
        facts.osBits = "64";
        facts.macAddress = "00E04C6811A2";
    }
};

class CListReader : public CVarList::CVisitor {
public:
    bool Visit(const char* name, const char* value) override
    {
        mNames.emplace_back(name);
        mPairs.emplace_back(std::string(name) + "=" + value);
        return true;
    }
    std::vector<std::string> mNames;
    std::vector<std::string> mPairs;
};

std::vector<std::string> Names(const CVarList& list)
{
    CListReader reader;
    list.Visit(reader);
    return reader.mNames;
}

std::string Value(const CVarList& list, const char* name)
{
    const char* value = list.Find(name);
    return value ? value : "(missing)";
}

std::string Join(const std::vector<std::string>& items)
{
    std::string all;
    for (const std::string& item : items)
        all += (all.empty() ? "" : " ") + item;
    return all;
}

const char* const GlobalsTouched[] = {"VersionDomain", "VendorId", "ShowTips", "LastTip", "LastUpdateWatch",
                                      "UWServerTestVer", "UWServerScriptId", "UWDelay", "Random", "MachTime",
                                      "UserTime", nullptr};

class UpdateWatcherTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        mSavedGlobals = GlobalVars;
        for (const char* const* name = GlobalsTouched; *name; ++name)
            GlobalVars.Remove(*name);
        GlobalVars.Set("VersionDomain", StandardVersionHost);
        GlobalVars.Set("VendorId", "VRL");
        GlobalVars.Set("ShowTips", "1");
        mAppVars.Set("EqTotal", "5");
        mAppVars.Set("Notify", "X");
        ASSERT_TRUE(mVersion.Parse("3.1.2.45", vsDotted));
    }
    void TearDown() override { GlobalVars = mSavedGlobals; }

    void Start(CTestWatcher& watcher, const CVarList* overrides = nullptr, bool overrideOnly = false,
               const char* product = "NBW", const char* language = "EN")
    {
        RStatus status;
        watcher.StartCheck(status, true, product, mVersion, language, mAppVars, mURL, overrides, overrideOnly);
        // No read was started, so the reader still gives its initial status.
        EXPECT_EQ(status, Failure);
        EXPECT_EQ(watcher.mReads.size(), 1u);
    }

    CVarList mSavedGlobals;
    CVarList mAppVars;
    CVersion mVersion;
    CString mURL;
};

} // namespace

TEST_F(UpdateWatcherTest, FullRequestInOrder)
{
    OrnTest::AssertRecorder rec;
    CTestWatcher watcher;
    Start(watcher);
    EXPECT_NO_ASSERTS(rec);
    // Unreadable identity keys leave "1"; no last check and no last tip give "-1".
    EXPECT_STREQ(mURL, "http://versioncheck.vantrel.com/updatewatch/updatewatch.aspx?"
                       "EqTotal=5&Notify=X&VR_ShowTips=1&VR_LastUW=-1&VR_LastTip=-1&VR_AutoUW=1&"
                       "VR_MachTime=1&VR_UserTime=1&VR_Random=1&VR_MACAddr=00E04C6811A2&"
                       "VR_OS=WIN&VR_OSVer=10.0&VR_OSLang=en-US&VR_OSBits=64&"
                       "VR_Product=NBW&VR_ProdLang=EN&VR_ProdVer=3.1.2.45&VR_Vendor=VRL");
    EXPECT_TRUE(watcher.IsStandardCheck());
    EXPECT_TRUE(watcher.mBoxes.empty()) << Join(watcher.mBoxes);
    EXPECT_EQ(watcher.mReads, std::vector<std::string>{mURL.Chars()}) << "the built URL is the one read";
}

TEST_F(UpdateWatcherTest, OverrideOnlySendsOnlyTheGivenVariables)
{
    OrnTest::AssertRecorder rec;
    mAppVars.Clear();
    mAppVars.Set("VR_Product", "NBW");
    mAppVars.Set("EqTotal", "3");
    CVarList overrides;
    overrides.Set("EqTotal", "9");
    overrides.Set("VR_OS", "MAC");
    CTestWatcher watcher;
    Start(watcher, &overrides, true);
    EXPECT_NO_ASSERTS(rec) << "no required check without the core parameters";
    EXPECT_EQ(Join(Names(watcher.RequestVars())), "VR_Product EqTotal VR_OS");
    EXPECT_EQ(Value(watcher.RequestVars(), "EqTotal"), "9") << "an override replaces in place";
    EXPECT_FALSE(watcher.IsStandardCheck());
    EXPECT_EQ(Join(watcher.mBoxes), "Version Check: Non-standard version check.");
}

TEST_F(UpdateWatcherTest, TestParametersOnlyWhenTheirSourceExists)
{
    struct Row {
        const char* name;
        const char* testVer;
        const char* scriptId;
        const char* expectedAfterVendor;
    };
    const Row rows[] = {
        {"neither", nullptr, nullptr, ""},
        {"test version as an integer", "7 beta", nullptr, "VR_TestVer=7"},
        {"script id as text", nullptr, "beta 7", "VR_TestScript=beta 7"},
        {"both", "1", "s1", "VR_TestVer=1 VR_TestScript=s1"},
    };
    for (const Row& row : rows) {
        GlobalVars.Remove("UWServerTestVer");
        GlobalVars.Remove("UWServerScriptId");
        if (row.testVer)
            GlobalVars.Set("UWServerTestVer", row.testVer);
        if (row.scriptId)
            GlobalVars.Set("UWServerScriptId", row.scriptId);
        OrnTest::AssertRecorder rec;
        CTestWatcher watcher;
        Start(watcher);
        EXPECT_NO_ASSERTS(rec) << row.name;
        CListReader reader;
        watcher.RequestVars().Visit(reader);
        std::vector<std::string> afterVendor;
        bool seenVendor = false;
        for (const std::string& pair : reader.mPairs) {
            if (seenVendor)
                afterVendor.push_back(pair);
            seenVendor = seenVendor || pair == "VR_Vendor=VRL";
        }
        EXPECT_TRUE(seenVendor) << row.name;
        EXPECT_EQ(Join(afterVendor), row.expectedAfterVendor) << row.name;
    }
}

TEST_F(UpdateWatcherTest, MissingValuesGoOutAsError)
{
    struct Row {
        const char* name;
        const char* product;
        const char* missingGlobal;
        bool invalidVersion;
        const char* param;
        const char* assertion;
    };
    const Row rows[] = {
        {"empty product code", "", nullptr, false, "VR_Product", "EnsureAllVarsSet(requestVars,CoreRequiredVars)"},
        {"no product version", "NBW", nullptr, true, "VR_ProdVer", "EnsureAllVarsSet(requestVars,CoreRequiredVars)"},
        {"no vendor", "NBW", "VendorId", false, "VR_Vendor", "global variable undefined: 'VendorId'"},
        {"no tips setting", "NBW", "ShowTips", false, "VR_ShowTips", "global variable undefined: 'ShowTips'"},
    };
    for (const Row& row : rows) {
        GlobalVars.Set("VendorId", "VRL");
        GlobalVars.Set("ShowTips", "1");
        ASSERT_TRUE(mVersion.Parse("3.1.2.45", vsDotted));
        if (row.missingGlobal)
            GlobalVars.Remove(row.missingGlobal);
        if (row.invalidVersion)
            mVersion.Reset();
        OrnTest::AssertRecorder rec;
        CTestWatcher watcher;
        Start(watcher, nullptr, false, row.product);
        EXPECT_EQ(Value(watcher.RequestVars(), row.param), "ERROR") << row.name;
        EXPECT_ASSERTED(rec, row.assertion) << row.name;
        EXPECT_EQ(rec.Asserts().size(), 1u) << row.name << ": " << rec.List();
        EXPECT_NE(std::string(mURL.Chars()).find(std::string(row.param) + "=ERROR"), std::string::npos) << row.name;
    }
}

TEST_F(UpdateWatcherTest, UnknownNamesAreReportedButSent)
{
    mAppVars.Set("Bogus", "1");
    CVarList overrides;
    overrides.Set("Other", "2");
    OrnTest::AssertRecorder rec;
    CTestWatcher watcher;
    Start(watcher, &overrides);
    EXPECT_EQ(rec.List().find("EnsureAllVarsSet"), std::string::npos) << rec.List();
    ASSERT_EQ(rec.Asserts().size(), 3u) << rec.List();
    EXPECT_EQ(rec.Asserts()[0], "unknown version request parameter: 'Bogus'");
    EXPECT_EQ(rec.Asserts()[1], "unknown version request parameter: 'Other'");
    EXPECT_EQ(rec.Asserts()[2], "EnsureNoUnknownVars(requestVars,mAppVarNames)");
    std::string url = mURL.Chars();
    EXPECT_NE(url.find("&Bogus=1&"), std::string::npos) << url;
    EXPECT_EQ(url.substr(url.size() - 8), "&Other=2") << url;
}

TEST_F(UpdateWatcherTest, QueryEscapesNamesAndValues)
{
    mAppVars.Clear();
    mAppVars.Set("Eq Total", "a b&c=d/e%f?\xE9~");
    OrnTest::AssertRecorder rec;
    CTestWatcher watcher;
    Start(watcher, nullptr, true);
    EXPECT_NO_ASSERTS(rec);
    EXPECT_STREQ(mURL, "http://versioncheck.vantrel.com/updatewatch/updatewatch.aspx?"
                       "Eq+Total=a+b%26c%3Dd%2Fe%25f%3F%E9%7E");
    EXPECT_TRUE(watcher.mBoxes.empty()) << Join(watcher.mBoxes);
}

TEST_F(UpdateWatcherTest, DaysSinceTheLastCheckAndTheLastTip)
{
    Int64 now = CTime::Now().Seconds();
    struct Row {
        const char* name;
        std::string lastUpdateWatch; // empty: undefined
        const char* lastTip;
        const char* expectedLastUW;
        const char* expectedLastTip;
    };
    const Row rows[] = {
        {"never checked", "", nullptr, "-1", "-1"},
        {"36 hours ago", std::to_string(now - 36 * 3600), "4", "1", "4"},
        {"ten days ago", std::to_string(now - 10 * 86400 - 5), nullptr, "10", "-1"},
        {"36 hours ahead truncates toward zero", std::to_string(now + 36 * 3600), nullptr, "-1", "-1"},
        {"three days ahead", std::to_string(now + 3 * 86400 + 5), nullptr, "-3", "-1"},
        {"not a time", "yesterday", nullptr, "-1", "-1"},
    };
    for (const Row& row : rows) {
        GlobalVars.Remove("LastUpdateWatch");
        GlobalVars.Remove("LastTip");
        if (!row.lastUpdateWatch.empty())
            GlobalVars.Set("LastUpdateWatch", row.lastUpdateWatch.c_str());
        if (row.lastTip)
            GlobalVars.Set("LastTip", row.lastTip);
        CTestWatcher watcher;
        Start(watcher);
        EXPECT_EQ(Value(watcher.RequestVars(), "VR_LastUW"), row.expectedLastUW) << row.name;
        EXPECT_EQ(Value(watcher.RequestVars(), "VR_LastTip"), row.expectedLastTip) << row.name;
    }
}

TEST_F(UpdateWatcherTest, NonStandardChecksAndTheDelayPage)
{
    struct Row {
        const char* name;
        const char* versionDomain;
        const char* delay; // null: UWDelay undefined
        const char* readURL; // null: the built one
        bool box;
    };
    const Row rows[] = {
        {"standard", StandardVersionHost, nullptr, nullptr, false},
        {"other host", "127.0.0.1:8080", nullptr, nullptr, true},
        {"delay with a value", StandardVersionHost, "5 s",
         "http://uwtest.vantrel.com/updatewatch/UwDelayTest.aspx?VR_TIMEDELAY=5 s", true},
        {"delay of 1", StandardVersionHost, "1", "http://uwtest.vantrel.com/updatewatch/UwDelayTest.aspx", true},
        {"delay on another host", "127.0.0.1:8080", "",
         "http://uwtest.vantrel.com/updatewatch/UwDelayTest.aspx?VR_TIMEDELAY=", true},
    };
    for (const Row& row : rows) {
        GlobalVars.Set("VersionDomain", row.versionDomain);
        GlobalVars.Remove("UWDelay");
        if (row.delay)
            GlobalVars.Set("UWDelay", row.delay);
        CTestWatcher watcher;
        Start(watcher);
        ASSERT_EQ(watcher.mReads.size(), 1u) << row.name;
        EXPECT_EQ(watcher.mReads[0], row.readURL ? row.readURL : mURL.Chars()) << row.name;
        EXPECT_EQ(watcher.mBoxes.size(), row.box ? 1u : 0u) << row.name;
        EXPECT_EQ(watcher.IsStandardCheck(), row.versionDomain == StandardVersionHost) << row.name;
        EXPECT_NE(std::string(mURL.Chars()).find(std::string("http://") + row.versionDomain + "/updatewatch/"),
                  std::string::npos)
            << row.name << ": the URL handed back is the built one";
    }
}

TEST_F(UpdateWatcherTest, MissingVersionDomain)
{
    GlobalVars.Remove("VersionDomain");
    OrnTest::AssertRecorder rec;
    CTestWatcher watcher;
    Start(watcher);
    EXPECT_ASSERTED(rec, "GlobalVars.GetValue(\"VersionDomain\",versionDomain)");
    EXPECT_EQ(std::string(mURL.Chars()).rfind("http:///updatewatch/updatewatch.aspx?EqTotal=5&", 0), 0u) << mURL;
    EXPECT_FALSE(watcher.IsStandardCheck());
}

TEST_F(UpdateWatcherTest, CheckWithTimeoutReturnsTheReadFailure)
{
    OrnTest::AssertRecorder rec;
    CTestWatcher watcher;
    RStatus status;
    CString reply("old");
    RStatus result = watcher.CheckWithTimeout(status, true, "NBW", mVersion, "EN", mAppVars, reply, mURL, nullptr,
                                              false, 0);
    EXPECT_ASSERTED(rec, "timeout > 0");
    EXPECT_EQ(result, Failure);
    EXPECT_EQ(status, Failure);
    EXPECT_STREQ(reply, "");
    EXPECT_FALSE(mURL.IsEmpty());
}

namespace {

// A read that stays busy for a number of polls, on a clock that each wait moves on.
class CScriptedRead : public IReadWait {
public:
    CScriptedRead(Int busyPolls, RStatus end, DWord start, DWord waitStep)
        : mBusyPolls(busyPolls), mEnd(end), mTick(start), mWaitStep(waitStep)
    {
    }
    RStatus Poll() override { return mBusyPolls < 0 || mPolls++ < mBusyPolls ? S_Busy : mEnd; }
    void Wait(DWord ms) override
    {
        EXPECT_EQ(ms, 1000u);
        ++mWaits;
        mTick += mWaitStep;
    }
    DWord TickCount() override { return mTick; }
    Int mWaits = 0;

private:
    Int mBusyPolls; // -1: for ever
    RStatus mEnd;
    Int mPolls = 0;
    DWord mTick;
    DWord mWaitStep;
};

} // namespace

TEST(UpdateWatcherWait, PollsOnceASecondUntilTheLimit)
{
    struct Row {
        const char* name;
        Int busyPolls;
        RStatus end;
        DWord start;
        DWord waitStep;
        Int timeout;
        RStatus expected;
        Int expectedWaits;
    };
    const Row rows[] = {
        {"ends in time", 2, Ok, 5000, 1000, 30, Ok, 2},
        {"never ends", -1, Ok, 5000, 1000, 3, E_Timeout, 3},
        {"tick count wraps", -1, Ok, 0xFFFFF000u, 1000, 3, E_Timeout, 3},
        {"failure as it is", 0, E_NotFound, 0, 1000, 30, E_NotFound, 0},
        {"ends during a short wait", 1, E_InternetBadHTTPStatus, 0, 20, 1, E_InternetBadHTTPStatus, 1},
        {"ends on the last poll", 3, Ok, 0, 1000, 3, Ok, 3},
    };
    for (const Row& row : rows) {
        CScriptedRead read(row.busyPolls, row.end, row.start, row.waitStep);
        EXPECT_EQ(WaitForRead(read, row.start, row.timeout), row.expected) << row.name;
        EXPECT_EQ(read.mWaits, row.expectedWaits) << row.name;
    }
}

namespace {

class CFakeKey : public IIdentityKey {
public:
    bool Get(const char* name, CString& value) override
    {
        auto it = mValues.find(name);
        value = it == mValues.end() ? "" : it->second.c_str();
        return it != mValues.end();
    }
    bool Set(const char* name, const char* value) override
    {
        if (mRefuse)
            return false;
        mValues[name] = value;
        return true;
    }
    std::map<std::string, std::string> mValues;
    bool mRefuse = false;
};

std::string IdentityGlobals()
{
    return Value(GlobalVars, "Random") + " " + Value(GlobalVars, "MachTime") + " " + Value(GlobalVars, "UserTime");
}

} // namespace

TEST(UpdateWatcherIdentity, StoreRules)
{
    struct Row {
        const char* name;
        bool machineOpen, userOpen;
        std::map<std::string, std::string> machine, user;
        bool refuseMachine;
        bool write, evenIfUnreadable;
        bool expected;
        const char* globals; // Random MachTime UserTime afterwards
        std::map<std::string, std::string> machineAfter, userAfter;
    };
    const Row rows[] = {
        {"first run with write", true, true, {}, {}, false, true, false, true, "42 1000 1000",
         {{"MachTime", "1000"}, {"Random", "42"}}, {{"UserTime", "1000"}}},
        {"first run without write keeps the machine values unstored", true, true, {}, {}, false, false, true, true,
         "42 1000 1000", {}, {{"UserTime", "1000"}}},
        {"later runs repeat the stored identity", true, true, {{"Random", "7"}, {"MachTime", "8"}},
         {{"UserTime", "9"}}, false, true, false, true, "7 8 9", {{"MachTime", "8"}, {"Random", "7"}},
         {{"UserTime", "9"}}},
        {"a failed store changes no global", true, true, {}, {}, true, true, false, false, "old old old", {},
         {{"UserTime", "1000"}}},
        {"unreadable keys stop the update", false, true, {}, {}, false, true, false, false, "old old old", {}, {}},
        {"unreadable keys leave 1", false, false, {}, {}, false, false, true, true, "1 1 1", {}, {}},
        {"only the user key", false, true, {}, {}, false, false, true, true, "1 1 1000", {}, {{"UserTime", "1000"}}},
    };
    CVarList saved = GlobalVars;
    for (const Row& row : rows) {
        GlobalVars.Set("Random", "old");
        GlobalVars.Set("MachTime", "old");
        GlobalVars.Set("UserTime", "old");
        CFakeKey machine;
        machine.mValues = row.machine;
        machine.mRefuse = row.refuseMachine;
        CFakeKey user;
        user.mValues = row.user;
        bool result = UpdateIdentityValues(row.machineOpen ? &machine : nullptr, row.userOpen ? &user : nullptr,
                                           row.write, row.evenIfUnreadable, 42, 1000);
        EXPECT_EQ(result, row.expected) << row.name;
        EXPECT_EQ(IdentityGlobals(), row.globals) << row.name;
        EXPECT_EQ(machine.mValues, row.machineAfter) << row.name;
        EXPECT_EQ(user.mValues, row.userAfter) << row.name;
    }
    GlobalVars = saved;
}

TEST(UpdateWatcherIdentity, FreshValuesAreSigned32BitDecimals)
{
    CVarList saved = GlobalVars;
    CFakeKey machine;
    CFakeKey user;
    EXPECT_TRUE(UpdateIdentityValues(&machine, &user, true, false, 0x80000000u, 0x100000005LL));
    EXPECT_EQ(IdentityGlobals(), "-2147483648 5 5");
    GlobalVars = saved;
}
