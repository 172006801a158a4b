// Registry keys, globals from the registry, registry scripts and the tree over Wine's real registry. Every
// test works below HKEY_CURRENT_USER\Software\OrnTest, which is removed after each test.
#include "RegKey.h"

#include <cstring>
#include <string>
#include <vector>

#include "ErrorHandler.h"
#include "MemStream.h"
#include "RegScript.h"
#include "Registry_Win.h"
#include "StringStream.h"
#include "TestSupport.h"
#include "VarList.h"

using namespace Orn;

namespace {

const char cScratchPath[] = "HKEY_CURRENT_USER\\Software\\OrnTest";
const char cScratchSubkey[] = "Software\\OrnTest";

// Checks go through the plain API so they do not trust the code under test.
class RegKeyWin : public ::testing::Test {
protected:
    void SetUp() override
    {
        ::RegDeleteTreeA(HKEY_CURRENT_USER, cScratchSubkey);
        HKEY h = nullptr;
        ASSERT_EQ(::RegCreateKeyExA(HKEY_CURRENT_USER, cScratchSubkey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &h,
                                    nullptr),
                  ERROR_SUCCESS);
        mRaw.Reset(h);
    }
    void TearDown() override
    {
        mRaw.Reset();
        EXPECT_EQ(::RegDeleteTreeA(HKEY_CURRENT_USER, cScratchSubkey), ERROR_SUCCESS);
    }

    void RawSet(const char* name, DWORD type, const void* data, DWORD size)
    {
        ASSERT_EQ(::RegSetValueExA(mRaw.Get(), name, 0, type, static_cast<const BYTE*>(data), size), ERROR_SUCCESS);
    }
    void RawSetString(const char* name, const char* text, DWORD type = REG_SZ)
    {
        RawSet(name, type, text, DWORD(std::strlen(text) + 1));
    }
    void RawSetDword(const char* name, DWORD n) { RawSet(name, REG_DWORD, &n, sizeof n); }
    // "<missing>" when the value cannot be read; the type as a prefix otherwise.
    std::string RawValue(const char* subkey, const char* name)
    {
        char buf[256] = {};
        DWORD type = 0, size = sizeof buf - 1;
        if (::RegGetValueA(mRaw.Get(), *subkey ? subkey : nullptr, name, RRF_RT_ANY | RRF_NOEXPAND, &type, buf,
                           &size) != ERROR_SUCCESS)
            return "<missing>";
        if (type == REG_DWORD)
            return "dword:" + std::to_string(*reinterpret_cast<DWORD*>(buf));
        return std::string(type == REG_SZ ? "sz:" : "other:") + buf + ":" + std::to_string(size);
    }
    bool RawKeyExists(const char* subkey)
    {
        HKEY h = nullptr;
        bool exists = ::RegOpenKeyExA(mRaw.Get(), subkey, 0, KEY_READ, &h) == ERROR_SUCCESS;
        CRegKeyHandle owner(h);
        return exists;
    }
    void RawCreate(const char* subkey)
    {
        HKEY h = nullptr;
        ASSERT_EQ(::RegCreateKeyExA(mRaw.Get(), subkey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &h, nullptr),
                  ERROR_SUCCESS);
        CRegKeyHandle owner(h);
    }

    CRegKeyHandle mRaw;
};

std::string Sub(const char* rest) { return std::string(cScratchPath) + "\\" + rest; }

bool RunScript(const std::string& text, const CVarList* extra = nullptr)
{
    CMemStream stream(text.data(), Int(text.size()), smRead | smText);
    return RunRegistryScript(stream, true, extra);
}

} // namespace

TEST_F(RegKeyWin, RootNames)
{
    {
        CRegKey key;
        ASSERT_TRUE(key.OpenRooted("HKEY_CURRENT_USER"));
        EXPECT_EQ(key.Handle(), HKEY_CURRENT_USER);
        EXPECT_FALSE(key.OwnsHandle());
    }
    CRegKey again;
    EXPECT_TRUE(again.OpenRooted(cScratchPath)) << "the predefined key still works after the first was closed";

    // "HKEY_CURRENT" begins HKEY_CURRENT_CONFIG before HKEY_CURRENT_USER, so it lands below the former.
    CRegKey created;
    ASSERT_TRUE(created.OpenRooted("HKEY_CURRENT\\OrnTestConfig", CRegKey::regCreate));
    created.Close();
    EXPECT_EQ(::RegDeleteKeyA(HKEY_CURRENT_CONFIG, "OrnTestConfig"), ERROR_SUCCESS);

    const std::pair<const char*, bool> rows[] = {
        {"hkey_current_user\\Software", true},
        {"HKEY_CURRENT_USERX\\Software", true},
        {"HKEY_CURRENT_USER\\Software\\OrnTest\\Missing", false},
    };
    for (const auto& [path, unknownRoot] : rows) {
        OrnTest::AssertRecorder rec;
        CRegKey key;
        EXPECT_FALSE(key.OpenRooted(path)) << path;
        EXPECT_EQ(rec.Fired("unknown root key"), unknownRoot) << path << ": " << rec.List();
    }
}

TEST_F(RegKeyWin, ModesAndMisuse)
{
    OrnTest::AssertRecorder rec;
    CRegKey reader;
    ASSERT_TRUE(reader.OpenRooted(cScratchPath, CRegKey::regRead));
    EXPECT_FALSE(reader.SetString("x", "1")) << "read access only";
    EXPECT_FALSE(reader.OpenRooted(cScratchPath));
    EXPECT_ASSERTED(rec, "! IsValid()");

    CRegKey creator;
    EXPECT_TRUE(creator.OpenRelative(reader, "New\\Deeper", CRegKey::regCreate));
    EXPECT_TRUE(RawKeyExists("New\\Deeper"));

    // A failed open of a leading part of "HKEY_CURRENT_USER" falls back to the user's own key.
    CRegKey fallback, viaFallback, noFallback;
    ASSERT_TRUE(fallback.OpenRelative(reader, "HKEY_CURRENT"));
    EXPECT_TRUE(viaFallback.OpenRelative(fallback, "Software\\OrnTest\\New"));
    EXPECT_FALSE(noFallback.OpenRelative(reader, "HKEY_CURRENT_USERS"));
}

// Strings are REG_SZ (and REG_EXPAND_SZ when asked for by name), numbers REG_DWORD; enumeration and the globals
// loader see REG_SZ only.
TEST_F(RegKeyWin, ReadsValuesByType)
{
    const unsigned long long qword = 7;
    const std::string longText(300, 'L'); // the longest data sets the buffer size
    // Alphabetical names: Wine keeps values sorted, so the registry's order is this one.
    RawSetString("a", longText.c_str());
    RawSetDword("b", 42);
    RawSetString("d", "%TEMP%\\x", REG_EXPAND_SZ);
    RawSet("e", REG_SZ, "abc", 3); // without its NUL
    RawSet("f", REG_QWORD, &qword, sizeof qword);
    RawSetString("g", "");

    struct Row {
        const char* name;
        const char* text; // null: not a string
        DWord number;     // 0: not a DWORD
    };
    const Row rows[] = {
        {"a", longText.c_str(), 0}, {"b", nullptr, 42}, {"d", "%TEMP%\\x", 0},
        {"e", "abc", 0},            {"f", nullptr, 0},  {"missing", nullptr, 0},
    };
    CRegKey key;
    ASSERT_TRUE(key.OpenRooted(cScratchPath));
    for (const Row& row : rows) {
        CString text("stale");
        DWord n = 99;
        EXPECT_EQ(key.GetString(row.name, text), row.text != nullptr) << row.name;
        EXPECT_STREQ(text, row.text ? row.text : "") << row.name;
        EXPECT_EQ(key.GetDword(row.name, n), row.number != 0) << row.name;
        EXPECT_EQ(n, row.number) << row.name;
    }

    std::string withData, namesOnly;
    CString name, data;
    CRegKey::CEnumValues values(key);
    while (values.Next(name, &data))
        withData += std::string(name) + "=" + data.Chars() + ";";
    CRegKey::CEnumValues names(key);
    while (names.Next(name))
        namesOnly += std::string(name) + ";";
    EXPECT_EQ(withData, "a=" + longText + ";e=abc;g=;");
    EXPECT_EQ(namesOnly, "a;e;g;");

    const CVarList saved = GlobalVars;
    GlobalVars.Set("g", "default");
    EXPECT_EQ(LoadGlobalsFromRegistry(cScratchPath), Ok);
    EXPECT_STREQ(GlobalVars.Find("e"), "abc");
    EXPECT_STREQ(GlobalVars.Find("g"), "default") << "an empty value does not overwrite";
    EXPECT_EQ(GlobalVars.Find("b"), nullptr);
    EXPECT_EQ(LoadGlobalsFromRegistry(Sub("Missing").c_str()), E_NotFound);
    GlobalVars = saved;
}

TEST_F(RegKeyWin, WritesAndDeletes)
{
    CRegKey key;
    ASSERT_TRUE(key.OpenRooted(Sub("W").c_str(), CRegKey::regCreate));
    EXPECT_TRUE(key.SetString("s", "hello"));
    EXPECT_TRUE(key.SetDefault("dflt"));
    EXPECT_TRUE(key.SetDword("d", 0xFFFFFFFFu));
    EXPECT_EQ(RawValue("W", "s"), "sz:hello:6") << "the NUL is counted";
    EXPECT_EQ(RawValue("W", ""), "sz:dflt:5");
    EXPECT_EQ(RawValue("W", "d"), "dword:4294967295");
    EXPECT_TRUE(key.DeleteValue("s"));
    EXPECT_FALSE(key.DeleteValue("s"));

    RawCreate("W\\A\\B\\C");
    RawCreate("W\\A\\D");
    RawCreate("W\\Keep");
    EXPECT_TRUE(key.DeleteKey("A"));
    EXPECT_FALSE(RawKeyExists("W\\A"));
    EXPECT_TRUE(RawKeyExists("W\\Keep"));
}

TEST_F(RegKeyWin, ScriptCreatesKeysAndValues)
{
    GlobalVars.Set("RsKeyName", "FromGlobals");
    CVarList extra;
    extra.Set("RsValue", "from extra");
    OrnTest::CCaptureHandler handler(OrnTest::cPositionBanner);
    OrnTest::AssertRecorder rec;
    bool ok = RunScript("// made by the installer\r\n"
                        "@HKEY_CURRENT_USER/Software/OrnTest/Script=root default\r\n"
                        "\r\n"
                        "  #AtRoot=1\r\n"
                        "\t/Sub/Deeper=sub default\r\n"
                        "#<RsKeyName>=<RsValue> = sign\r\n"
                        "/Software/Old/Inner\r\n"
                        "-Software/Old\r\n"
                        "#AfterDelete=root again",
                        &extra);
    GlobalVars.Remove("RsKeyName");
    EXPECT_TRUE(ok);
    EXPECT_TRUE(handler.mReports.empty());
    EXPECT_NO_ASSERTS(rec);
    EXPECT_EQ(RawValue("Script", ""), "sz:root default:13");
    EXPECT_EQ(RawValue("Script", "AtRoot"), "sz:1:2");
    EXPECT_EQ(RawValue("Script\\Sub\\Deeper", ""), "sz:sub default:12");
    EXPECT_EQ(RawValue("Script\\Sub\\Deeper", "FromGlobals"), "sz:from extra = sign:18");
    EXPECT_FALSE(RawKeyExists("Script\\Software\\Old")) << "deleted with everything below";
    EXPECT_EQ(RawValue("Script", "AfterDelete"), "sz:root again:11") << "'-' closes the subkey";
}

TEST_F(RegKeyWin, ScriptErrorsStopWithTheirMessage)
{
    struct Row {
        const char* what;
        const char* script;
        bool result;
        const char* report;    // null: none
        const char* assertion; // null: none
    };
    const Row rows[] = {
        {"value missing", "@HKEY_CURRENT_USER/Software/OrnTest\n\n#Name\n#Later=1\n", false,
         "registry script:3: # command must have a value for key (Name)", nullptr},
        {"no root", "-Software/Old\n", false, "registry script:1: no root key (Software\\Old)", nullptr},
        {"bad root", "@hkey_current_user/Software\n", false,
         "registry script:1: can't open or create key (hkey_current_user\\Software)", "unknown root key"},
        {"subkey without root", "/Sub\n", false, "registry script:1: can't open or create key (Sub)", "IsValid()"},
        {"value without key", "#x=1\n", false, nullptr, "valueKey"},
        {"unknown command", "%whatever\n", true, nullptr, "bad syntax"},
        {"delete with value", "@HKEY_CURRENT_USER/Software/OrnTest\n-Gone=1\n", true, nullptr, "! hasValue"},
    };
    for (const Row& row : rows) {
        OrnTest::CCaptureHandler handler(OrnTest::cPositionBanner);
        OrnTest::AssertRecorder rec;
        EXPECT_EQ(RunScript(row.script), row.result) << row.what;
        EXPECT_EQ(handler.mReports, row.report ? std::vector<std::string>{row.report} : std::vector<std::string>{})
            << row.what;
        EXPECT_EQ(rec.Asserts().empty(), !row.assertion) << row.what << ": " << rec.List();
        EXPECT_TRUE(!row.assertion || rec.Fired(row.assertion)) << row.what << ": " << rec.List();
    }
    EXPECT_EQ(RawValue("", "Later"), "<missing>") << "the script stopped at the bad line";
}

TEST_F(RegKeyWin, TreeOverTheRegistry)
{
    RawCreate("Tree\\Dir");
    RawSetString("a", "1");
    RawSetDword("n", 1);
    CWinRegRegistry reg;
    const std::pair<std::string, RStatus> rows[] = {
        {"HKEY_CURRENT_USER", E_BadArgument}, {cScratchPath, S_RegIsDirectory}, {Sub("a"), S_RegIsValue},
        {Sub("n"), E_NotFound}, // only string values belong to the tree
    };
    for (const auto& [path, expected] : rows)
        EXPECT_EQ(reg.Open(path.c_str()), expected) << path;

    const std::string tree = Sub("Tree");
    CString input("!VRREG 1.0 {\n;dropped\nDir {\nv=\"x y\"\n}\nNew {\n}\nw=\"2\"\n}\n");
    CStringStream in(input, smRead);
    ASSERT_EQ(reg.Read(in, tree.c_str()), Ok);
    EXPECT_EQ(RawValue("Tree\\Dir", "v"), "sz:x y:4");
    CString out;
    CStringStream outStream(out, smWrite);
    ASSERT_EQ(reg.Write(outStream, tree.c_str()), Ok);
    EXPECT_STREQ(out, "!VRREG 1.0 {\n\tw=\"2\"\n\tDir {\n\t\tv=\"x y\"\n\t}\n\tNew {\n\t}\n}\n");

    EXPECT_EQ(reg.SetValue(Sub("Nope").c_str(), "w", "3"), E_NotFound);
    EXPECT_EQ(reg.RemoveValue(tree.c_str(), "w"), Ok);
    EXPECT_EQ(reg.RemoveDir(Sub("Tree\\Dir").c_str()), Ok);
    EXPECT_FALSE(RawKeyExists("Tree\\Dir"));
}

TEST_F(RegKeyWin, ScriptsRunFromTheProgramsResources)
{
    OrnTest::CCaptureHandler handler(OrnTest::cPositionBanner);
    EXPECT_TRUE(RunRegistryScriptResource(101, false, nullptr));
    EXPECT_EQ(RawValue("FromResource", "Source"), "sz:by number:10");

    CVarList extra;
    extra.Set("RsResource", "substituted");
    EXPECT_FALSE(RunRegistryScriptResource("REGSCRIPT", false, &extra));
    EXPECT_EQ(RawValue("FromResource", "Named"), "sz:substituted:12");
    EXPECT_EQ(RawValue("FromResource", "NotReached"), "<missing>");
    EXPECT_EQ(handler.mReports,
              std::vector<std::string>{"REGSCRIPT:3: # command must have a value for key (Broken)"});

    OrnTest::AssertRecorder rec;
    EXPECT_FALSE(RunRegistryScriptResource(999, false, nullptr));
    EXPECT_ASSERTED(rec, "info");
}
