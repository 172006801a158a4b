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
    std::string mBoxes; // "title: text;" per box
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
        mBoxes += std::string(title) + ": " + text + ";";
    }
    void GetMachineFacts(CMachineFacts& facts) override
    {
        facts.osVersion = "10.0";
        facts.osLanguage = "en-US";
        facts.osBits = "64";
        facts.macAddress = "00E04C6811A2";
    }
};

std::string Value(const CVarList& list, const char* name)
{
    const char* value = list.Find(name);
    return value ? value : "(missing)";
}

class UpdateWatcherTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        mSavedGlobals = GlobalVars;
        GlobalVars.Clear();
        GlobalVars.Set("VersionDomain", StandardVersionHost);
        GlobalVars.Set("VendorId", "VRL");
        GlobalVars.Set("ShowTips", "1");
        mAppVars.Set("EqTotal", "5");
        mAppVars.Set("Notify", "X");
        ASSERT_TRUE(mVersion.Parse("3.1.2.45", vsDotted));
    }
    void TearDown() override { GlobalVars = mSavedGlobals; }

    void Start(CTestWatcher& watcher, const CVarList* overrides = nullptr, bool overrideOnly = false,
               const char* product = "NBW")
    {
        RStatus status;
        watcher.StartCheck(status, true, product, mVersion, "EN", mAppVars, mURL, overrides, overrideOnly);
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
    EXPECT_EQ(watcher.mBoxes, "");
    EXPECT_EQ(watcher.mReads, std::vector<std::string>{mURL.Chars()}) << "the built URL is the one read";
}

TEST_F(UpdateWatcherTest, OverrideOnlySendsOnlyTheGivenVariablesEscaped)
{
    OrnTest::AssertRecorder rec;
    mAppVars.Clear();
    mAppVars.Set("VR_Product", "NBW");
    mAppVars.Set("Eq Total", "3");
    CVarList overrides;
    overrides.Set("Eq Total", "a b&c=d/e%f?\xE9~");
    overrides.Set("VR_OS", "MAC");
    CTestWatcher watcher;
    Start(watcher, &overrides, true);
    EXPECT_NO_ASSERTS(rec) << "no required check without the core parameters";
    EXPECT_STREQ(mURL, "http://versioncheck.vantrel.com/updatewatch/updatewatch.aspx?"
                       "VR_Product=NBW&Eq+Total=a+b%26c%3Dd%2Fe%25f%3F%E9%7E&VR_OS=MAC")
        << "overrides replace in place";
    EXPECT_FALSE(watcher.IsStandardCheck());
    EXPECT_EQ(watcher.mBoxes, "Version Check: Non-standard version check.;");
}

// Each row changes some global variables (a null value removes one) and looks at the URLs and the box.
TEST_F(UpdateWatcherTest, GlobalsShapeTheRequest)
{
    const std::string ago36h = std::to_string(CTime::Now().Seconds() - 36 * 3600);
    const std::string ahead36h = std::to_string(CTime::Now().Seconds() + 36 * 3600);
    const char* const delayPage = "http://uwtest.vantrel.com/updatewatch/UwDelayTest.aspx";
    struct Row {
        const char* name;
        std::vector<std::pair<const char*, const char*>> globals;
        const char* urlPart;
        std::string readURL; // empty: the built one
        bool standard, box;
        const char* assertion; // null: none
    };
    const Row rows[] = {
        {"test parameters after the core ones", {{"UWServerTestVer", "7 beta"}, {"UWServerScriptId", "beta 7"}},
         "&VR_Vendor=VRL&VR_TestVer=7&VR_TestScript=beta+7", "", true, false, nullptr},
        {"36 hours ago", {{"LastUpdateWatch", ago36h.c_str()}, {"LastTip", "4"}}, "&VR_LastUW=1&VR_LastTip=4&", "",
         true, false, nullptr},
        {"36 hours ahead truncates toward zero", {{"LastUpdateWatch", ahead36h.c_str()}}, "&VR_LastUW=-1&", "", true,
         false, nullptr},
        {"not a time", {{"LastUpdateWatch", "yesterday"}}, "&VR_LastUW=-1&", "", true, false, nullptr},
        {"other host", {{"VersionDomain", "127.0.0.1:8080"}}, "http://127.0.0.1:8080/updatewatch/updatewatch.aspx?",
         "", false, true, nullptr},
        {"delay with a value", {{"UWDelay", "5 s"}}, "", std::string(delayPage) + "?VR_TIMEDELAY=5 s", true, true,
         nullptr},
        {"delay of 1", {{"UWDelay", "1"}}, "", delayPage, true, true, nullptr},
        {"https delay", {{"VersionScheme", "https"}, {"UWDelay", "1"}}, "https://versioncheck.vantrel.com/",
         "https://uwtest.vantrel.com/updatewatch/UwDelayTest.aspx", true, true, nullptr},
        {"no vendor", {{"VendorId", nullptr}}, "&VR_Vendor=ERROR", "", true, false,
         "global variable undefined: 'VendorId'"},
        {"no version host", {{"VersionDomain", nullptr}}, "http:///updatewatch/updatewatch.aspx?EqTotal=5&", "", false,
         true, "GlobalVars.GetValue(\"VersionDomain\",versionDomain)"},
    };
    const CVarList defaults = GlobalVars;
    for (const Row& row : rows) {
        GlobalVars = defaults;
        for (const auto& [name, value] : row.globals) {
            if (value)
                GlobalVars.Set(name, value);
            else
                GlobalVars.Remove(name);
        }
        OrnTest::AssertRecorder rec;
        CTestWatcher watcher;
        Start(watcher);
        EXPECT_EQ(rec.List(), row.assertion ? "[" + std::string(row.assertion) + "] " : "") << row.name;
        EXPECT_NE(std::string(mURL.Chars()).find(row.urlPart), std::string::npos) << row.name << ": " << mURL;
        EXPECT_EQ(watcher.mReads[0], row.readURL.empty() ? mURL.Chars() : row.readURL) << row.name;
        EXPECT_EQ(watcher.IsStandardCheck(), row.standard) << row.name;
        EXPECT_EQ(watcher.mBoxes, row.box ? "Version Check: Non-standard version check.;" : "") << row.name;
    }
}

// A missing or empty required value goes out as "ERROR", after the assertion.
TEST_F(UpdateWatcherTest, MissingProductFactsGoOutAsError)
{
    for (bool noVersion : {false, true}) {
        if (noVersion)
            mVersion.Reset();
        OrnTest::AssertRecorder rec;
        CTestWatcher watcher;
        Start(watcher, nullptr, false, noVersion ? "NBW" : "");
        EXPECT_EQ(rec.List(), "[EnsureAllVarsSet(requestVars,CoreRequiredVars)] ") << noVersion;
        const std::string url = mURL.Chars();
        EXPECT_NE(url.find(noVersion ? "&VR_ProdVer=ERROR&" : "&VR_Product=ERROR&"), std::string::npos) << url;
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
    EXPECT_EQ(rec.List(), "[unknown version request parameter: 'Bogus'] [unknown version request parameter: 'Other'] "
                          "[EnsureNoUnknownVars(requestVars,mAppVarNames)] ");
    std::string url = mURL.Chars();
    EXPECT_NE(url.find("&Bogus=1&"), std::string::npos) << url;
    EXPECT_EQ(url.substr(url.size() - 8), "&Other=2") << url;
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

// Nothing is built, read or shown for a scheme other than "http" or "https", or a ReplyKey that is not a list
// of keys (the key text's rules are SignedReply's, "ftp" is HttpsE2E's): a key that cannot be read never means
// an unsigned check.
TEST_F(UpdateWatcherTest, BadSettingsFailTheCheck)
{
    const struct {
        const char* name;
        std::string value;
        RStatus status;
        EReplyCheck check;
    } rows[] = {
        {"VersionScheme", "HTTPS", E_InternetBadScheme, rcSigned},
        {"VersionScheme", "", E_InternetBadScheme, rcSigned},
        {"VersionScheme", "https ", E_InternetBadScheme, rcSigned},
        {"ReplyKey", "", E_InternetBadReplyKey, rcMalformedKey},
    };
    const CVarList defaults = GlobalVars;
    for (const auto& row : rows) {
        GlobalVars = defaults;
        GlobalVars.Set(row.name, row.value.c_str());
        CTestWatcher watcher;
        RStatus status;
        CString reply("old");
        EXPECT_EQ(watcher.CheckWithTimeout(status, true, "NBW", mVersion, "EN", mAppVars, reply, mURL, nullptr, false,
                                           30),
                  row.status)
            << row.name << "=" << row.value;
        EXPECT_EQ(status, row.status) << row.value;
        EXPECT_TRUE(watcher.mReads.empty()) << row.value;
        EXPECT_EQ(watcher.mBoxes, "") << row.value;
        EXPECT_STREQ(reply, "") << row.value;
        EXPECT_STREQ(mURL, "") << row.value;
        EXPECT_EQ(watcher.ReplyCheck(), row.check) << row.value;
    }
}

// With ReplyKey every request ends with a nonce of its own, which no override can choose; the delay page
// gets it too.
TEST_F(UpdateWatcherTest, ReplyKeyAddsAFreshNonce)
{
    GlobalVars.Set("ReplyKey", "8b735ca5fc10333f03e6cfca9379f5e72f7b5e634d94e65569d594201a9e7d25"
                               "876dbfae6feeeff853ba1a88395a36be813f2bc6ad87e81836796f5cdcae8784");
    CVarList overrides;
    overrides.Set("VR_Nonce", "chosen");
    OrnTest::AssertRecorder rec;
    CTestWatcher watcher;
    Start(watcher, &overrides, true);
    EXPECT_NO_ASSERTS(rec) << "VR_Nonce is a known name";
    const std::string nonce = watcher.RequestVars().Find("VR_Nonce");
    EXPECT_EQ(nonce.find_first_not_of("0123456789ABCDEF"), std::string::npos) << nonce;
    EXPECT_EQ(nonce.size(), 32u);
    EXPECT_EQ(std::string(mURL.Chars()), "http://versioncheck.vantrel.com/updatewatch/updatewatch.aspx?"
                                         "EqTotal=5&Notify=X&VR_Nonce=" + nonce);

    GlobalVars.Set("UWDelay", "5");
    CTestWatcher delayed;
    Start(delayed);
    const std::string second = delayed.RequestVars().Find("VR_Nonce");
    EXPECT_NE(second, nonce) << "each request has a nonce of its own";
    EXPECT_EQ(delayed.mReads[0],
              "http://uwtest.vantrel.com/updatewatch/UwDelayTest.aspx?VR_TIMEDELAY=5&VR_Nonce=" + second);
}

namespace {

// A read that stays busy for a number of polls, on a clock that each wait moves on.
class CScriptedRead : public IReadWait {
public:
    CScriptedRead(Int busyPolls, RStatus end, DWord start) : mBusyPolls(busyPolls), mEnd(end), mTick(start) {}
    RStatus Poll() override { return mBusyPolls < 0 || mPolls++ < mBusyPolls ? S_Busy : mEnd; }
    void Wait(DWord ms) override
    {
        EXPECT_EQ(ms, 1000u);
        ++mWaits;
        mTick += ms;
    }
    DWord TickCount() override { return mTick; }
    Int mWaits = 0;

private:
    Int mBusyPolls; // -1: for ever
    RStatus mEnd;
    Int mPolls = 0;
    DWord mTick;
};

} // namespace

TEST(UpdateWatcherWait, PollsOnceASecondUntilTheLimit)
{
    struct Row {
        const char* name;
        Int busyPolls;
        RStatus end;
        DWord start;
        Int timeout;
        RStatus expected;
        Int expectedWaits;
    };
    const Row rows[] = {
        {"ends in time", 2, Ok, 5000, 30, Ok, 2},
        {"never ends", -1, Ok, 5000, 3, E_Timeout, 3},
        {"tick count wraps", -1, Ok, 0xFFFFF000u, 3, E_Timeout, 3},
        {"failure as it is", 0, E_NotFound, 0, 30, E_NotFound, 0},
        {"ends on the last poll", 3, Ok, 0, 3, Ok, 3},
    };
    for (const Row& row : rows) {
        CScriptedRead read(row.busyPolls, row.end, row.start);
        EXPECT_EQ(WaitForRead(read, row.start, row.timeout), row.expected) << row.name;
        EXPECT_EQ(read.mWaits, row.expectedWaits) << row.name;
    }
}

namespace {

class CFakeKey : public IIdentityKey {
public:
    bool Get(const char* name, CString& value) override
    {
        value = mValues.count(name) ? mValues[name].c_str() : "";
        return mValues.count(name) != 0;
    }
    bool Set(const char* name, const char* value) override { return !mRefuse && (mValues[name] = value, true); }
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
