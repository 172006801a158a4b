// The loopback version server fixture and the registry and query readers of the end-to-end tests.
#include "ServerE2ESupport.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "String.h"

namespace E2E {

const char CompanyKey[] = "SOFTWARE\\Vantrel";
const char ProductKey[] = "SOFTWARE\\Vantrel\\VRNB3";
const char ReplyKey[] = "SOFTWARE\\Vantrel\\VRNB3\\UWResult";
const char VersionRequestPath[] = "/updatewatch/updatewatch.aspx";
const char NonStandardText[] = "Non-standard version check.";
const char NonStandardCaption[] = "Version Check";

namespace {

bool IsNonStandardBox(const Window& w) { return w.caption == NonStandardCaption && w.text == NonStandardText; }

} // namespace

void CleanVantrelKeys()
{
    DeleteRegTree(HKEY_CURRENT_USER, CompanyKey);
    DeleteRegTree(HKEY_LOCAL_MACHINE, CompanyKey);
}

Watcher NonStandardBoxWatcher()
{
    return [](const Window& w) { return IsNonStandardBox(w) ? Answer::Press(IDOK) : Answer::Press(-1); };
}

int CountNonStandardBoxes(const RunResult& result)
{
    int count = 0;
    for (const Window& w : result.windows)
        count += IsNonStandardBox(w) ? 1 : 0;
    return count;
}

QueryPairs SplitQuery(const std::string& query)
{
    QueryPairs pairs;
    if (query.empty())
        return pairs;
    std::size_t start = 0;
    for (;;) {
        std::size_t amp = query.find('&', start);
        std::string pair = query.substr(start, amp == std::string::npos ? std::string::npos : amp - start);
        std::size_t eq = pair.find('=');
        if (eq == std::string::npos)
            pairs.emplace_back(pair, std::string());
        else
            pairs.emplace_back(pair.substr(0, eq), pair.substr(eq + 1));
        if (amp == std::string::npos)
            return pairs;
        start = amp + 1;
    }
}

std::vector<std::string> QueryNames(const QueryPairs& pairs)
{
    std::vector<std::string> names;
    for (const auto& pair : pairs)
        names.push_back(pair.first);
    return names;
}

bool FindQueryValue(const QueryPairs& pairs, const std::string& name, std::string& value)
{
    for (const auto& pair : pairs) {
        if (FormDecode(pair.first) == name) {
            value = FormDecode(pair.second);
            return true;
        }
    }
    value.clear();
    return false;
}

std::string FormDecode(const std::string& text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto digit = [&text](std::size_t at) { return Orn::Str::HexValue(static_cast<unsigned char>(text[at])); };
        Orn::Int hi = text[i] == '%' && i + 2 < text.size() ? digit(i + 1) : -1;
        Orn::Int lo = hi >= 0 ? digit(i + 2) : -1;
        if (lo >= 0) {
            out += static_cast<char>(hi * 16 + lo);
            i += 2;
        } else {
            out += text[i] == '+' ? ' ' : text[i];
        }
    }
    return out;
}

bool ReadRegString(HKEY root, const std::string& key, const std::string& name, std::string& value)
{
    char data[4096] = {0};
    DWORD size = sizeof data - 1;
    if (::RegGetValueA(root, key.c_str(), name.c_str(), RRF_RT_REG_SZ, nullptr, data, &size) != ERROR_SUCCESS)
        return false;
    value = data;
    return true;
}

std::vector<std::string> RegValueNames(HKEY root, const std::string& key)
{
    std::vector<std::string> names;
    HKEY hkey = nullptr;
    if (::RegOpenKeyExA(root, key.c_str(), 0, KEY_READ, &hkey) != ERROR_SUCCESS)
        return names;
    for (DWORD i = 0;; ++i) {
        char name[256] = {0};
        DWORD size = sizeof name;
        if (::RegEnumValueA(hkey, i, name, &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        names.push_back(name);
    }
    ::RegCloseKey(hkey);
    return names;
}

bool RegKeyExists(HKEY root, const std::string& key)
{
    HKEY hkey = nullptr;
    if (::RegOpenKeyExA(root, key.c_str(), 0, KEY_READ, &hkey) != ERROR_SUCCESS)
        return false;
    ::RegCloseKey(hkey);
    return true;
}

long long NowSeconds() { return static_cast<long long>(std::time(nullptr)); }

bool HasText(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::string LoggedURL(const std::string& log)
{
    const std::string head = "URL = \"";
    std::size_t start = log.find(head);
    if (start == std::string::npos)
        return "";
    start += head.size();
    std::size_t end = log.find("\".", start);
    return end == std::string::npos ? "" : log.substr(start, end - start);
}

std::string PortFromEnvironment(const char* variable, const std::string& name)
{
    const char* ports = std::getenv(variable);
    std::string list = ports ? "," + std::string(ports) + "," : "";
    std::size_t at = list.find("," + name + "=");
    if (at == std::string::npos)
        return "";
    std::size_t start = at + name.size() + 2;
    return list.substr(start, list.find(',', start) - start);
}

std::string StatusFailureLine(const char* name, unsigned long word, const char* step)
{
    char line[256];
    std::snprintf(line, sizeof line, "Failure (%s, 0x%08lX): %s", name, word, step);
    return line;
}

void VersionServerTest::SetUp()
{
    ASSERT_TRUE(mServer.IsListening());
    DeleteFileIfAny(LogPath());
    CleanVantrelKeys();
    PointAt(ServerHost());
}

void VersionServerTest::TearDown() { CleanVantrelKeys(); }

std::string VersionServerTest::ServerHost() const { return "127.0.0.1:" + std::to_string(mServer.Port()); }

void VersionServerTest::PointAt(const std::string& host)
{
    // The per-user product key is read last, so it beats every other source of VersionDomain.
    ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VersionDomain", host));
}

RunResult VersionServerTest::Run(const std::string& args, DWORD timeoutMs)
{
    return RunUpdateWatch(args, NonStandardBoxWatcher(), timeoutMs);
}

OrnTest::HttpRequest VersionServerTest::OnlyRequest() const
{
    std::vector<OrnTest::HttpRequest> requests = mServer.Requests();
    EXPECT_EQ(requests.size(), 1u) << "requests received";
    return requests.empty() ? OrnTest::HttpRequest() : requests.front();
}

} // namespace E2E
