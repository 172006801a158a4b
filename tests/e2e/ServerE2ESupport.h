// A loopback version server for the end-to-end tests, the registry that points UpdateWatch.exe at it, and
// readers for what the program sent and stored.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "E2ESupport.h"
#include "TestHttpServer.h"

namespace E2E {

// The company and product keys, below HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER.
extern const char CompanyKey[];
extern const char ProductKey[];
// Where the reply variables of a successful check are stored (below HKEY_CURRENT_USER).
extern const char ReplyKey[];
// The path every version request asks for.
extern const char VersionRequestPath[];
// The box every check against a host other than the product's server shows, even with -s.
extern const char NonStandardText[];
extern const char NonStandardCaption[];

// Removes the company trees of both roots.
void CleanVantrelKeys();

// Presses OK on the non-standard box; any other window fails the test.
Watcher NonStandardBoxWatcher();
// How many of the windows seen were the non-standard box.
int CountNonStandardBoxes(const RunResult& result);

// The name/value pairs of a query or form body in their order, still escaped.
using QueryPairs = std::vector<std::pair<std::string, std::string>>;
QueryPairs SplitQuery(const std::string& query);
std::vector<std::string> QueryNames(const QueryPairs& pairs);
// The decoded value of the first pair of that name; false when there is none.
bool FindQueryValue(const QueryPairs& pairs, const std::string& name, std::string& value);
// Form decoding: "+" is a blank, "%XX" the byte.
std::string FormDecode(const std::string& text);

// A string value; false when the key or the value is missing.
bool ReadRegString(HKEY root, const std::string& key, const std::string& name, std::string& value);
// Every value name of a key, in the registry's order; empty when the key is missing.
std::vector<std::string> RegValueNames(HKEY root, const std::string& key);
bool RegKeyExists(HKEY root, const std::string& key);

// The seconds since 1970 now, as the program reads its clock.
long long NowSeconds();

bool HasText(const std::string& text, const std::string& part);
// The URL as the verbose log shows it, or "".
std::string LoggedURL(const std::string& log);
// The port that a list in an environment variable ("name=PORT,...", set by a wrapper that runs servers around
// the tests) gives a name, or "" when it is not there.
std::string PortFromEnvironment(const char* variable, const std::string& name);
// "Failure (<name>, 0x<8 hex digits>): <step>" as the log writes a failed status step.
std::string StatusFailureLine(const char* name, unsigned long word, const char* step);

// Each case starts with no log, clean keys and a server that VersionDomain names; it cleans up after itself.
class VersionServerTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // "127.0.0.1:<port>" of the test server.
    std::string ServerHost() const;
    void PointAt(const std::string& host);
    // Runs UpdateWatch.exe and presses OK on the non-standard box; nothing else may show.
    RunResult Run(const std::string& args, DWORD timeoutMs = 30000);
    std::string Log() const { return ReadFile(LogPath()); }
    // The only request the server got; fails the test when there was not exactly one.
    OrnTest::HttpRequest OnlyRequest() const;

    OrnTest::TestHttpServer mServer;
};

} // namespace E2E
