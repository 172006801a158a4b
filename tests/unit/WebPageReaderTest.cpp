// The web page reader's portable half: URL splitting, the GET/POST choice and the checks of a start.
#include "WebPageReader.h"

#include <string>

#include "TestSupport.h"

using namespace Orn;

namespace {

// An "http://h/p?..." URL of exactly length characters, or "http://h/pxxx..." without a query.
std::string UrlOfLength(size_t length, bool withQuery)
{
    std::string url = withQuery ? "http://h/p?q=" : "http://h/p";
    url.append(length - url.size(), 'x');
    return url;
}

// Sets the global AlwaysUsePOST for one test.
class AlwaysUsePOSTScope {
public:
    AlwaysUsePOSTScope() { GlobalVars.Set("AlwaysUsePOST", "1"); }
    ~AlwaysUsePOSTScope() { GlobalVars.Remove("AlwaysUsePOST"); }
};

} // namespace

TEST(WebPageReader, SplitsHostPortAndObject)
{
    struct Row {
        const char* url;
        const char* host;
        Int port;
        const char* object;
    };
    const Row rows[] = {
        {"http://www.example.com/updatewatch/updatewatch.aspx?a=1&b=2", "www.example.com", 80,
         "updatewatch/updatewatch.aspx?a=1&b=2"},
        {"http://127.0.0.1:8080/p?x", "127.0.0.1", 8080, "p?x"},
        {"http://h:1/", "h", 1, ""},
        {"http://h:65535/a/b/", "h", 65535, "a/b/"},
        {"http://hostonly", "hostonly", 80, ""},
        {"http://h/p?a=http://x:9/y", "h", 80, "p?a=http://x:9/y"},
        {"http:///p", "", 80, "p"},
    };
    for (const Row& row : rows) {
        CWebRequest request;
        ASSERT_TRUE(SplitWebURL(row.url, false, request)) << row.url;
        EXPECT_STREQ(request.host, row.host) << row.url;
        EXPECT_EQ(request.port, row.port) << row.url;
        EXPECT_STREQ(request.object, row.object) << row.url;
        EXPECT_FALSE(request.doPOST) << row.url;
        EXPECT_STREQ(request.body, "") << row.url;
    }
}

TEST(WebPageReader, RefusesURLsItCannotSend)
{
    const char* const urls[] = {
        "https://h/p", "ftp://h/p", "h/p", "http:/h/p", "", "http://h:/p", "http://h:0/p", "http://h:65536/p",
        "http://h:8a/p", "http://h:123456/p", "http://h: 80/p",
    };
    for (const char* url : urls) {
        CWebRequest request;
        request.host = "untouched";
        EXPECT_FALSE(SplitWebURL(url, false, request)) << url;
        EXPECT_STREQ(request.host, "untouched") << url;
    }
    CWebRequest request;
    EXPECT_FALSE(SplitWebURL(nullptr, false, request));
}

TEST(WebPageReader, ChoosesPOSTForLongURLsAndAlwaysUsePOST)
{
    struct Row {
        const char* name;
        std::string url;
        bool alwaysUsePOST;
        bool doPOST;
        std::string object; // empty: the URL's object unchanged
        std::string body;
        bool asserts;
    };
    const std::string longQuery = UrlOfLength(2001, true).substr(11);
    const Row rows[] = {
        {"2000 characters with a query", UrlOfLength(2000, true), false, false, "", "", false},
        {"2001 characters with a query", UrlOfLength(2001, true), false, true, "p", longQuery, false},
        {"2001 characters without a query", UrlOfLength(2001, false), false, false, "", "", true},
        {"AlwaysUsePOST with a query", "http://h/p?a=1?b=2", true, true, "p", "a=1?b=2", false},
        {"AlwaysUsePOST with an empty query", "http://h/p?", true, true, "p", "", false},
        {"AlwaysUsePOST without a query", "http://h/p", true, false, "", "", false},
        {"short GET", "http://h/p?a=1", false, false, "", "", false},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        CWebRequest request;
        ASSERT_TRUE(SplitWebURL(row.url.c_str(), row.alwaysUsePOST, request)) << row.name;
        EXPECT_EQ(request.doPOST, row.doPOST) << row.name;
        std::string object = row.object.empty() ? row.url.substr(9) : row.object;
        EXPECT_EQ(std::string(request.object), object) << row.name;
        EXPECT_EQ(std::string(request.body), row.body) << row.name;
        if (row.asserts)
            EXPECT_ASSERTED(rec, "URL longer than max but does not contain query parameters") << row.name;
        else
            EXPECT_NO_ASSERTS(rec) << row.name;
    }
}

TEST(WebPageReader, StartChecksItsArguments)
{
    OrnTest::AssertRecorder rec;
    CWebPageReader reader("test agent");
    EXPECT_EQ(reader.Poll(), Failure) << "nothing started yet";
    EXPECT_EQ(reader.StartRead("http://h/p", 0), Failure);
    EXPECT_ASSERTED(rec, "max > 0");

    rec.Clear();
    EXPECT_EQ(reader.StartRead("ftp://h/p", 100), E_BadArgument);
    EXPECT_EQ(reader.Poll(), E_BadArgument);
    CString text;
    EXPECT_FALSE(reader.GetText(text));
    EXPECT_NO_ASSERTS(rec) << "a refused URL leaves the reader free for another start";
    EXPECT_TRUE(reader.WaitForEnd(0));
}

TEST(WebPageReader, AlwaysUsePOSTNeedsAQuery)
{
    AlwaysUsePOSTScope always;
    {
        OrnTest::AssertRecorder rec;
        CWebPageReader reader("test agent");
        (void)reader.StartRead("http://127.0.0.1:1/p", 100);
        EXPECT_ASSERTED(rec, "(! AlwaysUsePOST) || doPOST");
        EXPECT_FALSE(reader.Request().doPOST);
    }
    {
        OrnTest::AssertRecorder rec;
        CWebPageReader reader("test agent");
        (void)reader.StartRead("http://127.0.0.1:1/p?a=1", 100);
        EXPECT_NO_ASSERTS(rec);
        EXPECT_TRUE(reader.Request().doPOST);
        EXPECT_STREQ(reader.Request().body, "a=1");
    }
}

TEST(WebPageReader, NeedsAClientName)
{
    OrnTest::AssertRecorder rec;
    CWebPageReader reader(nullptr);
    EXPECT_ASSERTED(rec, "clientName");
}

TEST(WebPageReader, VarListReaderSendsItsVariablesAsTheQuery)
{
    CVarListPageReader reader("test agent");
    CString url;
    reader.BuildURL("http://h/p", url);
    EXPECT_STREQ(url, "http://h/p") << "no variables, no query";

    reader.RequestVars().Set("a b", "x&y");
    reader.RequestVars().Set("n", "1");
    reader.BuildURL("http://h/p", url);
    EXPECT_STREQ(url, "http://h/p?a+b=x%26y&n=1");
}
