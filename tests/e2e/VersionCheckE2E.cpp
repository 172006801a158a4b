// The version check (-v) as the server sees it: the request parameters in their order, the identity kept in
// the registry, the non-standard box, and the reply variables stored under UWResult.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <regex>
#include <sstream>
#include <utility>

#include "E2ESupport.h"

using namespace E2E;
using OrnTest::HttpAnswer;
using OrnTest::HttpRequest;

namespace {

const char cCheckArgs[] = "-s -v \"EqTotal=3 PagesTotal=12\"";

// The name/value pairs of a query in their order, as sent: every value the check sends is plain enough to need no
// escape, so one that arrives escaped fails its comparison.
using QueryPairs = std::vector<std::pair<std::string, std::string>>;

QueryPairs SplitQuery(const std::string& query)
{
    QueryPairs pairs;
    std::istringstream in(query);
    for (std::string pair; std::getline(in, pair, '&');) {
        std::size_t eq = pair.find('=');
        pairs.emplace_back(pair.substr(0, eq), eq == std::string::npos ? "" : pair.substr(eq + 1));
    }
    return pairs;
}

class VersionCheckE2E : public VersionServerTest {
protected:
    // One check; the parameters the server received.
    QueryPairs CheckOnce()
    {
        std::size_t before = mServer.Requests().size();
        EXPECT_EQ(Run(cCheckArgs).exitCode, 0u);
        std::vector<HttpRequest> requests = mServer.Requests();
        EXPECT_EQ(requests.size(), before + 1);
        return requests.size() > before ? SplitQuery(requests.back().query) : QueryPairs();
    }
};

// The value of the first parameter of that name.
std::string Param(const QueryPairs& pairs, const std::string& name)
{
    for (const auto& pair : pairs)
        if (pair.first == name)
            return pair.second;
    ADD_FAILURE() << name << " not sent";
    return "";
}

bool Matches(const std::string& text, const char* pattern) { return std::regex_match(text, std::regex(pattern)); }

} // namespace

TEST_F(VersionCheckE2E, FullRequestAndStoredReply)
{
    ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ReplyKey, "Stale", "from an earlier check"));
    mServer.Enqueue(HttpAnswer::Page("<html><body>[START]\r\nset $greeting, \"hello world\";\r\n"
                                     "set ShowTips, \"0\";\r\n[END]</body></html>"));

    bool requestWhileBoxOpen = false;
    RunResult r = RunUpdateWatch("-s -verbose -v \"EqTotal=3 PagesTotal=12\"", [&](const Window& w) {
        requestWhileBoxOpen = mServer.WaitForRequests(1, 10000);
        return NonStandardBoxWatcher()(w);
    });
    EXPECT_EQ(r.exitCode, 0u);
    EXPECT_EQ(std::count_if(r.windows.begin(), r.windows.end(), IsNonStandardBox), 1) << "shown even with -s";
    EXPECT_TRUE(requestWhileBoxOpen) << "the read starts before the box";
    std::string log = Log();
    EXPECT_TRUE(HasText(log, "Success: Version check\r\n")) << log;

    HttpRequest request = OnlyRequest();
    // The verbose sections: what the product asked for, the URL as sent, and the reply script.
    const std::string url = "http://" + ServerHost() + request.path + "?" + request.query;
    EXPECT_TRUE(HasText(log, "Start: Dump of app-specific version request parameters {\r\n\tEqTotal\t=\t\"3\"\r\n"
                             "\tPagesTotal\t=\t\"12\"\r\n\tNotify\t=\t\"X\"\r\n} End: Dump of app-specific"))
        << log;
    EXPECT_TRUE(HasText(log, "Start: URL info {\r\n\tURL = \"" + url + "\".\r\n\tURL length = " +
                                 std::to_string(url.size()) + ".\r\n\tURL (unescaped) = \"http://"))
        << log;
    EXPECT_TRUE(HasText(log, "Start: Script {\r\n")) << log;
    EXPECT_TRUE(HasText(log, "\tset $greeting, \"hello world\";\r\n\tset ShowTips, \"0\";\r\n")) << log;
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.path, "/updatewatch/updatewatch.aspx");
    // The order of the parameters is UpdateWatcherTest's full request; that of the job's own, -over's row below.
    QueryPairs pairs = SplitQuery(request.query);
    struct Row {
        const char* name;
        const char* value;
    };
    const Row fixed[] = {{"EqTotal", "3"},     {"PagesTotal", "12"}, {"Notify", "X"},      {"VR_ShowTips", "1"},
                         {"VR_LastUW", "-1"},  {"VR_LastTip", "-1"}, {"VR_AutoUW", "1"},   {"VR_OS", "WIN"},
                         {"VR_Product", "NBW"}, {"VR_ProdLang", "EN"}, {"VR_Vendor", "VRL"}};
    for (const Row& row : fixed)
        EXPECT_EQ(Param(pairs, row.name), row.value) << row.name;
    // The values that depend on the machine, checked for their form only.
    const Row forms[] = {{"VR_ProdVer", "[0-9]+(\\.[0-9]+){3}"}, {"VR_OSVer", "[0-9]+\\.[0-9]+"},
                         {"VR_OSBits", "32|64"}, {"VR_MACAddr", "none|[0-9A-Fa-f]{12}"}, {"VR_OSLang", ".+"}};
    for (const Row& row : forms)
        EXPECT_TRUE(Matches(Param(pairs, row.name), row.value)) << row.name << " = " << Param(pairs, row.name);
    EXPECT_FALSE(HasText(request.query, "ERROR")) << request.query;

    std::vector<std::string> stored = RegValueNames(HKEY_CURRENT_USER, ReplyKey);
    std::sort(stored.begin(), stored.end());
    EXPECT_EQ(stored, (std::vector<std::string>{"$greeting", "ShowTips"})) << "the stale value is gone";
    std::string value;
    EXPECT_TRUE(ReadRegString(HKEY_CURRENT_USER, ReplyKey, "$greeting", value) && value == "hello world") << value;
    EXPECT_TRUE(ReadRegString(HKEY_CURRENT_USER, ReplyKey, "ShowTips", value) && value == "0") << value;
}

TEST_F(VersionCheckE2E, ReplyThatCannotBeStoredStillEndsTheCheckWell)
{
    // A UWResult key that nobody may open or delete: the store fails.
    HKEY key = nullptr;
    ASSERT_EQ(::RegCreateKeyExA(HKEY_CURRENT_USER, ReplyKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    SECURITY_DESCRIPTOR denyAll;
    ACL emptyAcl;
    ::InitializeSecurityDescriptor(&denyAll, SECURITY_DESCRIPTOR_REVISION);
    ::InitializeAcl(&emptyAcl, sizeof emptyAcl, ACL_REVISION);
    ::SetSecurityDescriptorDacl(&denyAll, TRUE, &emptyAcl, FALSE);
    LONG secured = ::RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, &denyAll);
    ::RegCloseKey(key);
    mServer.Enqueue(HttpAnswer::Page("[START]set $greeting, \"hello\";[END]"));

    RunResult r = Run(cCheckArgs);
    ::RegDeleteKeyA(HKEY_CURRENT_USER, ReplyKey); // the tree deletion of the clean-up cannot open it
    ASSERT_EQ(secured, ERROR_SUCCESS);
    EXPECT_EQ(r.exitCode, 0u);
    std::string log = Log();
    EXPECT_TRUE(HasText(log, "Failure: Store reply variables\r\n")) << log;
    EXPECT_TRUE(HasText(log, "Success: Version check\r\n")) << log;
}

// A machine without the product's key keeps the reply all the same.
TEST_F(VersionCheckE2E, ReplyIsStoredWithoutTheProductKey)
{
    DeleteRegTree(HKEY_CURRENT_USER, ProductKey);
    ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, CompanyKey, "VersionDomain", ServerHost()));
    mServer.Enqueue(HttpAnswer::Page("[START]set $greeting, \"hello\";[END]"));
    EXPECT_EQ(Run(cCheckArgs).exitCode, 0u);
    std::string value;
    EXPECT_TRUE(ReadRegString(HKEY_CURRENT_USER, ReplyKey, "$greeting", value) && value == "hello") << value;
}

// The user's time is fixed by the first check and repeated; the machine's identity is read but never written.
// That stored machine values are sent again is UpdateWatcherIdentity's table, through the same key reader.
TEST_F(VersionCheckE2E, IdentityIsKeptInTheRegistry)
{
    long long before = std::time(nullptr);
    QueryPairs first = CheckOnce();
    long long after = std::time(nullptr);
    std::string userTime = Param(first, "VR_UserTime");
    ASSERT_TRUE(Matches(userTime, "[0-9]+")) << userTime;
    EXPECT_GE(std::stoll(userTime), before);
    EXPECT_LE(std::stoll(userTime), after);
    std::string stored;
    EXPECT_TRUE(ReadRegString(HKEY_CURRENT_USER, CompanyKey, "UserTime", stored) && stored == userTime) << stored;
    // Without the machine key there is nothing to read the machine's identity from.
    EXPECT_EQ(Param(first, "VR_Random"), "1");
    EXPECT_EQ(Param(first, "VR_MachTime"), "1");
    EXPECT_FALSE(RegKeyExists(HKEY_LOCAL_MACHINE, CompanyKey)) << "a check does not create the machine key";

    ASSERT_TRUE(SetRegString(HKEY_LOCAL_MACHINE, CompanyKey, "Unrelated", "keeps the key"));
    QueryPairs fresh = CheckOnce();
    EXPECT_EQ(Param(fresh, "VR_UserTime"), userTime);
    EXPECT_TRUE(Matches(Param(fresh, "VR_Random"), "[0-9]+")) << Param(fresh, "VR_Random");
    std::string machTime = Param(fresh, "VR_MachTime");
    ASSERT_TRUE(Matches(machTime, "[0-9]+")) << machTime;
    EXPECT_GE(std::stoll(machTime), before);
    std::string value;
    EXPECT_FALSE(ReadRegString(HKEY_LOCAL_MACHINE, CompanyKey, "Random", value)) << value;
    EXPECT_FALSE(ReadRegString(HKEY_LOCAL_MACHINE, CompanyKey, "MachTime", value)) << value;
}

// -over and -step, and a reply whose script fails: what the server saw, what is stored, how the check ends.
TEST_F(VersionCheckE2E, OptionsAndFailingReplies)
{
    struct Row {
        const char* name;
        const char* args;
        const char* script;
        unsigned exitCode;
        std::vector<std::string> sent; // parts of the query
        const char* stored;            // $r under UWResult afterwards
        int steps;
        const char* logged;
    };
    const Row rows[] = {
        {"-over replaces in place and adds", "-s -verbose -v \"EqTotal=3 PagesTotal=12\" -over \"EqTotal=9 VR_OS=MAC\"",
         "set $r, \"new\";", 0, {"?EqTotal=9&PagesTotal=12&Notify=X&", "&VR_OS=MAC&"}, "new", 0,
         "Start: Dump of override version request parameters {\r\n\tEqTotal\t=\t\"9\"\r\n\tVR_OS\t=\t\"MAC\"\r\n}"},
        {"-step asks before each command", "-s -v EqTotal=3 -step", "set $r, \"new\"; set $b, \"2\";", 0,
         {"?EqTotal=3&Notify=X&"}, "new", 3, "Success: Version check\r\n"},
        {"a failing script keeps the earlier reply", "-s -v EqTotal=3", "set $r, \"new\"; bogus;", 3,
         {"?EqTotal=3&"}, "earlier", 0, "Failure: run script\r\nFailure: Version check\r\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        VersionServerTest::SetUp();
        ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ReplyKey, "$r", "earlier"));
        std::size_t before = mServer.Requests().size();
        mServer.Enqueue(HttpAnswer::Page("[START]" + std::string(row.script) + "[END]"));
        int steps = 0;
        std::vector<std::string> errors;
        RunResult r = RunUpdateWatch(row.args, [&](const Window& w) {
            if (IsNonStandardBox(w))
                return Answer::Press(IDOK);
            if (w.caption == "UpdateWatch" && HasText(w.text, "Single step:\nRemaining script:\n")) {
                ++steps;
                return Answer::Press(IDYES);
            }
            if (w.caption == "UpdateWatch" && HasText(w.text, "Script error: ")) {
                errors.push_back(w.text);
                return Answer::Press(IDOK);
            }
            return Answer::Press(-1);
        });
        EXPECT_EQ(r.exitCode, row.exitCode);
        EXPECT_EQ(steps, row.steps);
        EXPECT_EQ(errors.size(), row.exitCode == 0 ? 0u : 1u);
        std::vector<HttpRequest> requests = mServer.Requests();
        ASSERT_EQ(requests.size(), before + 1);
        for (const std::string& part : row.sent)
            EXPECT_TRUE(HasText("?" + requests.back().query + "&", part)) << part << " in " << requests.back().query;
        std::string value;
        EXPECT_TRUE(ReadRegString(HKEY_CURRENT_USER, ReplyKey, "$r", value));
        EXPECT_EQ(value, row.stored);
        std::string log = Log();
        EXPECT_TRUE(HasText(log, row.logged)) << log;
    }
}
