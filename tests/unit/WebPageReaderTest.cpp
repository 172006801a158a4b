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

} // namespace

TEST(WebPageReader, SplitsHostPortAndObject)
{
    struct Row {
        const char* url;
        const char* host; // null: refused, the request untouched
        Int port;
        const char* object;
        bool secure;
    };
    const Row rows[] = {
        {"http://www.example.com/updatewatch/updatewatch.aspx?a=1&b=2", "www.example.com", 80,
         "updatewatch/updatewatch.aspx?a=1&b=2", false},
        {"http://127.0.0.1:8080/p?x", "127.0.0.1", 8080, "p?x", false},
        {"http://hostonly", "hostonly", 80, "", false},
        {"http://h/p?a=http://x:9/y", "h", 80, "p?a=http://x:9/y", false},
        {"http://h/p?", "h", 80, "p?", false},
        {"https://h/p", "h", 443, "p", true},
        {"https://localhost:8443/p?x", "localhost", 8443, "p?x", true},
        {"HTTPS://h/p", nullptr, 80, "", false},
        {"https:/h/p", nullptr, 80, "", false},
        {"h/p", nullptr, 80, "", false},
        {"http://h:0/p", nullptr, 80, "", false},
        {"https://h:65536/p", nullptr, 80, "", false},
        {"http://h:8a/p", nullptr, 80, "", false},
    };
    for (const Row& row : rows) {
        CWebRequest request;
        request.host = "untouched";
        EXPECT_EQ(SplitWebURL(row.url, false, request), row.host != nullptr) << row.url;
        EXPECT_STREQ(request.host, row.host ? row.host : "untouched") << row.url;
        EXPECT_EQ(request.port, row.port) << row.url;
        EXPECT_STREQ(request.object, row.object) << row.url;
        EXPECT_EQ(request.secure, row.secure) << row.url;
        EXPECT_FALSE(request.doPOST) << row.url;
    }
    CWebRequest request;
    EXPECT_FALSE(SplitWebURL(nullptr, false, request));
}

// A POST sends the query as its body; the object ends before the "?". A bare "?" leaves no body: a GET.
TEST(WebPageReader, ChoosesPOSTForLongURLsAndAlwaysUsePOST)
{
    struct Row {
        const char* name;
        std::string url;
        bool alwaysUsePOST;
        std::string object; // "=": the URL after "http://h/"
        std::string body;
        bool asserts;
    };
    const std::string long2001 = UrlOfLength(2001, true);
    const Row rows[] = {
        {"2000 characters with a query", UrlOfLength(2000, true), false, "=", "", false},
        {"2001 characters with a query", long2001, false, "p", long2001.substr(11), false},
        {"2001 characters without a query", UrlOfLength(2001, false), false, "=", "", true},
        {"2001 characters ending in a bare ?", UrlOfLength(2000, false) + "?", false,
         UrlOfLength(2000, false).substr(9), "", false},
        {"AlwaysUsePOST with a query", "http://h/p?a=1?b=2", true, "p", "a=1?b=2", false},
        {"AlwaysUsePOST without a query", "http://h/p", true, "=", "", false},
        {"AlwaysUsePOST with a bare ?", "http://h/p?", true, "p", "", false},
        {"a bare ? alone", "http://h/p?", false, "=", "", false},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        CWebRequest request;
        ASSERT_TRUE(SplitWebURL(row.url.c_str(), row.alwaysUsePOST, request)) << row.name;
        EXPECT_EQ(std::string(request.object), row.object == "=" ? row.url.substr(9) : row.object) << row.name;
        EXPECT_EQ(std::string(request.body), row.body) << row.name;
        EXPECT_EQ(request.doPOST, !row.body.empty()) << row.name;
        EXPECT_EQ(request.alwaysUsePOST, row.alwaysUsePOST) << row.name;
        EXPECT_EQ(rec.Fired("URL longer than max but does not contain query parameters"), row.asserts) << row.name;
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
    EXPECT_NO_ASSERTS(rec) << "a failed start leaves the reader free for another";
    CWebPageReader unnamed(nullptr);
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
