// Registry keys, globals from the registry, registry scripts and the tree over Wine's real registry. Every
// test works below HKEY_CURRENT_USER\Software\OrnTest, which is removed after each test.
#include "RegKey.h"

#include <algorithm>
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

// Keeps every delivered report; the banner shows the source position.
class CCaptureHandler : public CErrorHandler {
public:
    CCaptureHandler() : mPrevious(SetErrorHandler(this)) {}
    ~CCaptureHandler() override { SetErrorHandler(mPrevious); }
    std::vector<std::string> mReports;

protected:
    CString GetBanner(Int) const override { return "<ErrFile>:<ErrLine>: <msg>"; }
    void Deliver(const CString& text, DWord) override { mReports.push_back(text.Chars()); }

private:
    CErrorHandler* mPrevious;
};

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
    // "<missing>" when the value cannot be read; the type as a prefix otherwise.
    std::string RawValue(const char* subkey, const char* name)
    {
        char buf[256] = {};
        DWORD type = 0, size = sizeof buf - 1;
        const char* below = *subkey ? subkey : nullptr;
        LONG rc = ::RegGetValueA(mRaw.Get(), below, name, RRF_RT_ANY | RRF_NOEXPAND, &type, buf, &size);
        if (rc != ERROR_SUCCESS)
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

} // namespace

TEST_F(RegKeyWin, RootNameAloneBorrowsThePredefinedKey)
{
    OrnTest::AssertRecorder rec;
    {
        CRegKey key;
        ASSERT_TRUE(key.OpenRooted("HKEY_CURRENT_USER"));
        EXPECT_EQ(key.Handle(), HKEY_CURRENT_USER);
        EXPECT_FALSE(key.OwnsHandle());
        CRegKey below;
        EXPECT_TRUE(below.OpenRelative(key, cScratchSubkey));
    }
    CRegKey again;
    EXPECT_TRUE(again.OpenRooted(cScratchPath)) << "the predefined key still works after the first was closed";
    EXPECT_TRUE(again.OwnsHandle());
    EXPECT_NO_ASSERTS(rec);
}

TEST_F(RegKeyWin, RootTableIsMatchedOnTheFirstPartInOrder)
{
    // "HKEY_CURRENT" begins HKEY_CURRENT_CONFIG before HKEY_CURRENT_USER, so it lands below the former.
    CRegKey created;
    ASSERT_TRUE(created.OpenRooted("HKEY_CURRENT\\OrnTestConfig", CRegKey::regCreate));
    created.Close();
    HKEY h = nullptr;
    EXPECT_EQ(::RegOpenKeyExA(HKEY_CURRENT_CONFIG, "OrnTestConfig", 0, KEY_READ, &h), ERROR_SUCCESS);
    CRegKeyHandle owner(h);
    EXPECT_EQ(::RegDeleteKeyA(HKEY_CURRENT_CONFIG, "OrnTestConfig"), ERROR_SUCCESS);

    struct Row {
        const char* path;
        bool opens;
        const char* assertion; // null: none
    };
    const Row rows[] = {
        {"hkey_current_user\\Software", false, "unknown root key"},
        {"HKEY_CURRENT_USERX\\Software", false, "unknown root key"},
        {"HKEY", false, "unknown root key"},
        {"", false, "unknown root key"},
        {"HKEY_CURRENT_USER\\Software\\OrnTest", true, nullptr},
        {"HKEY_CURRENT_USER\\Software\\OrnTest\\Missing", false, nullptr},
        {"HKEY_LOCAL_MACHINE\\Software", true, nullptr},
        {"HKEY_USERS", true, nullptr},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        CRegKey key;
        EXPECT_EQ(key.OpenRooted(row.path), row.opens) << "path '" << row.path << "'";
        if (row.assertion)
            EXPECT_ASSERTED(rec, row.assertion) << "path '" << row.path << "'";
        else
            EXPECT_NO_ASSERTS(rec) << "path '" << row.path << "'";
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
    CRegKey writer;
    ASSERT_TRUE(writer.OpenRelative(reader, "New", CRegKey::regReadWrite));
    EXPECT_TRUE(writer.SetString("x", "1"));
    EXPECT_EQ(RawValue("New", "x"), "sz:1:2");

    // A failed open of a leading part of "HKEY_CURRENT_USER" falls back to the user's own key.
    CRegKey fallback, viaFallback;
    ASSERT_TRUE(fallback.OpenRelative(reader, "HKEY_CURRENT"));
    EXPECT_TRUE(viaFallback.OpenRelative(fallback, "Software\\OrnTest\\New"));
    CRegKey noFallback;
    EXPECT_FALSE(noFallback.OpenRelative(reader, "HKEY_CURRENT_USERS"));

    rec.Clear();
    CRegKey closed;
    CString text("stale");
    EXPECT_FALSE(closed.GetString("x", text));
    EXPECT_STREQ(text, "");
    EXPECT_ASSERTED(rec, "IsValid()");
    EXPECT_FALSE(closed.OpenRooted(nullptr));
    EXPECT_ASSERTED(rec, "rootedPath");
    EXPECT_FALSE(writer.GetString(nullptr, text));
    EXPECT_ASSERTED(rec, "name");
    EXPECT_FALSE(writer.SetString("x", nullptr));
    EXPECT_ASSERTED(rec, "value");
}

TEST_F(RegKeyWin, ValuesOfEveryType)
{
    const DWORD dword = 42;
    const unsigned long long qword = 7;
    const Byte binary[] = {'a', 'b', 0, 1};
    RawSetString("sz", "text");
    RawSetString("expand", "%TEMP%\\x", REG_EXPAND_SZ);
    RawSet("multi", REG_MULTI_SZ, "a\0b\0", 5);
    RawSet("dword", REG_DWORD, &dword, sizeof dword);
    RawSet("qword", REG_QWORD, &qword, sizeof qword);
    RawSet("binary", REG_BINARY, binary, sizeof binary);
    RawSet("noNul", REG_SZ, "abc", 3);
    RawSetString("", "default text");
    const std::string longText(300, 'L'); // the longest data sets the buffer size
    RawSetString("long", longText.c_str());

    struct Row {
        const char* name;
        bool isString;
        const char* text;
        bool isDword;
        DWord number;
    };
    const Row rows[] = {
        {"sz", true, "text", false, 0},
        {"expand", true, "%TEMP%\\x", false, 0},
        {"noNul", true, "abc", false, 0},
        {"", true, "default text", false, 0},
        {"long", true, longText.c_str(), false, 0},
        {"dword", false, "", true, 42},
        {"qword", false, "", false, 0},
        {"multi", false, "", false, 0},
        {"binary", false, "", false, 0},
        {"missing", false, "", false, 0},
    };
    CRegKey key;
    ASSERT_TRUE(key.OpenRooted(cScratchPath));
    for (const Row& row : rows) {
        CString text("stale");
        DWord n = 99;
        EXPECT_EQ(key.GetString(row.name, text), row.isString) << "value '" << row.name << "'";
        EXPECT_STREQ(text, row.text) << "value '" << row.name << "'";
        EXPECT_EQ(key.GetDword(row.name, n), row.isDword) << "value '" << row.name << "'";
        EXPECT_EQ(n, row.number) << "value '" << row.name << "'";
    }
}

TEST_F(RegKeyWin, WritesAndDeletes)
{
    CRegKey key;
    ASSERT_TRUE(key.OpenRooted(Sub("W").c_str(), CRegKey::regCreate));
    EXPECT_TRUE(key.SetString("s", "hello"));
    EXPECT_TRUE(key.SetString("empty", ""));
    EXPECT_TRUE(key.SetDefault("dflt"));
    EXPECT_TRUE(key.SetDword("d", 0xFFFFFFFFu));
    EXPECT_EQ(RawValue("W", "s"), "sz:hello:6") << "the NUL is counted";
    EXPECT_EQ(RawValue("W", "empty"), "sz::1");
    EXPECT_EQ(RawValue("W", ""), "sz:dflt:5");
    EXPECT_EQ(RawValue("W", "d"), "dword:4294967295");
    EXPECT_TRUE(key.DeleteValue("s"));
    EXPECT_FALSE(key.DeleteValue("s"));
    EXPECT_EQ(RawValue("W", "s"), "<missing>");

    RawCreate("W\\A\\B\\C");
    RawCreate("W\\A\\D");
    RawCreate("W\\Keep");
    EXPECT_TRUE(key.DeleteKey("A"));
    EXPECT_FALSE(RawKeyExists("W\\A"));
    EXPECT_TRUE(RawKeyExists("W\\Keep"));
    CRegKey reader;
    ASSERT_TRUE(reader.OpenRooted(Sub("W").c_str()));
    EXPECT_FALSE(reader.DeleteKey("Missing")) << "read mode does not create what it deletes";
}

TEST_F(RegKeyWin, EnumerationSkipsNonStringValues)
{
    const DWORD dword = 1;
    const Byte binary[] = {1, 2};
    // Alphabetical names: Wine keeps values sorted, so the registry's order is this one.
    RawSetString("a", "1");
    RawSet("b", REG_DWORD, &dword, sizeof dword);
    RawSet("c", REG_BINARY, binary, sizeof binary);
    RawSetString("d", "", REG_SZ);
    RawSetString("e", "%x%", REG_EXPAND_SZ);
    RawSetString("f", "6");
    RawCreate("K2");
    RawCreate("K1\\Below");

    CRegKey key;
    ASSERT_TRUE(key.OpenRooted(cScratchPath));
    std::string withData, namesOnly;
    CString name, data;
    CRegKey::CEnumValues values(key);
    while (values.Next(name, &data))
        withData += std::string(name) + "=" + data.Chars() + ";";
    CRegKey::CEnumValues names(key);
    while (names.Next(name))
        namesOnly += std::string(name) + ";";
    EXPECT_EQ(withData, "a=1;d=;f=6;");
    EXPECT_EQ(namesOnly, "a;d;f;");

    std::vector<std::string> subkeys;
    CRegKey::CEnumSubkeys enumSubkeys(key);
    while (enumSubkeys.Next(name))
        subkeys.push_back(name.Chars());
    std::sort(subkeys.begin(), subkeys.end());
    EXPECT_EQ(subkeys, (std::vector<std::string>{"K1", "K2"}));
}

namespace {

// The names of GlobalVars that begin with a prefix, in list order.
class CNamesVisitor : public CVarList::CVisitor {
public:
    explicit CNamesVisitor(std::string prefix) : mPrefix(std::move(prefix)) {}
    bool Visit(const char* name, const char*) override
    {
        if (std::string(name).rfind(mPrefix, 0) == 0)
            mNames += std::string(name) + ";";
        return true;
    }
    std::string mNames;

private:
    std::string mPrefix;
};

} // namespace

TEST_F(RegKeyWin, LoadGlobalsTakesNonEmptyStringsInOrder)
{
    const DWORD dword = 5;
    RawSetString("LgA", "1");
    RawSetString("LgB", "");
    RawSet("LgC", REG_DWORD, &dword, sizeof dword);
    RawSetString("LgD", "4");
    RawSetString("LgE", "5");
    GlobalVars.Set("LgB", "default");
    GlobalVars.Set("LgE", "old");

    EXPECT_EQ(LoadGlobalsFromRegistry(cScratchPath), Ok);
    CNamesVisitor names("Lg");
    GlobalVars.Visit(names);
    EXPECT_EQ(names.mNames, "LgB;LgE;LgA;LgD;") << "new names are appended in the registry's order";
    EXPECT_STREQ(GlobalVars.Find("LgA"), "1");
    EXPECT_STREQ(GlobalVars.Find("LgB"), "default") << "an empty value does not overwrite";
    EXPECT_STREQ(GlobalVars.Find("LgE"), "5");
    EXPECT_EQ(LoadGlobalsFromRegistry(Sub("Missing").c_str()), E_NotFound);
    for (const char* name : {"LgA", "LgB", "LgD", "LgE"})
        GlobalVars.Remove(name);
}

namespace {

bool RunScript(const std::string& text, const CVarList* extra = nullptr)
{
    CMemStream stream(text.data(), Int(text.size()), smRead | smText);
    return RunRegistryScript(stream, true, extra);
}

} // namespace

TEST_F(RegKeyWin, ScriptCreatesKeysAndValues)
{
    GlobalVars.Set("RsKeyName", "FromGlobals");
    CVarList extra;
    extra.Set("RsValue", "from extra");
    CCaptureHandler handler;
    OrnTest::AssertRecorder rec;
    bool ok = RunScript("// made by the installer\r\n"
                        "@HKEY_CURRENT_USER/Software/OrnTest/Script=root default\r\n"
                        "\r\n"
                        "  #AtRoot=1\r\n"
                        "\t/Sub/Deeper=sub default\r\n"
                        "#Name=value with = sign\r\n"
                        "#<RsKeyName>=<RsValue>\r\n"
                        "/Software/Old/Inner\r\n"
                        "#x=1\r\n"
                        "/Software/Keep\r\n"
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
    EXPECT_EQ(RawValue("Script\\Sub\\Deeper", "Name"), "sz:value with = sign:18");
    EXPECT_EQ(RawValue("Script\\Sub\\Deeper", "FromGlobals"), "sz:from extra:11");
    EXPECT_FALSE(RawKeyExists("Script\\Software\\Old")) << "deleted with everything below";
    EXPECT_TRUE(RawKeyExists("Script\\Software\\Keep"));
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
        CCaptureHandler handler;
        OrnTest::AssertRecorder rec;
        EXPECT_EQ(RunScript(row.script), row.result) << "row " << row.what;
        std::vector<std::string> reports;
        if (row.report)
            reports.push_back(row.report);
        EXPECT_EQ(handler.mReports, reports) << "row " << row.what;
        if (row.assertion)
            EXPECT_ASSERTED(rec, row.assertion) << "row " << row.what;
        else
            EXPECT_NO_ASSERTS(rec) << "row " << row.what;
    }
    EXPECT_EQ(RawValue("", "Later"), "<missing>") << "the script stopped at the bad line";
}

TEST_F(RegKeyWin, TreeOverTheRegistry)
{
    const DWORD dword = 1;
    RawCreate("Tree\\Dir");
    RawSetString("a", "1");
    RawSet("n", REG_DWORD, &dword, sizeof dword);
    CWinRegRegistry reg;
    struct Row {
        std::string path;
        RStatus expected;
    };
    const Row rows[] = {
        {"HKEY_CURRENT_USER", E_BadArgument},
        {cScratchPath, S_RegIsDirectory},
        {Sub("Tree\\Dir"), S_RegIsDirectory},
        {Sub("a"), S_RegIsValue},
        {Sub("n"), E_NotFound}, // only string values belong to the tree
        {Sub("Missing"), E_NotFound},
        {Sub("Tree\\\\Dir"), E_BadArgument},
    };
    for (const Row& row : rows)
        EXPECT_EQ(reg.Open(row.path.c_str()), row.expected) << "path '" << row.path << "'";

    const std::string tree = Sub("Tree");
    CString input("!VRREG 1.0 {\n;dropped\nDir {\nv=\"x y\"\n}\nNew {\n}\nw=\"2\"\n}\n");
    CStringStream in(input, smRead);
    ASSERT_EQ(reg.Read(in, tree.c_str()), Ok);
    EXPECT_EQ(RawValue("Tree\\Dir", "v"), "sz:x y:4");
    CString out;
    CStringStream outStream(out, smWrite);
    ASSERT_EQ(reg.Write(outStream, tree.c_str()), Ok);
    EXPECT_STREQ(out, "!VRREG 1.0 {\n\tw=\"2\"\n\tDir {\n\t\tv=\"x y\"\n\t}\n\tNew {\n\t}\n}\n");

    EXPECT_EQ(reg.SetValue(tree.c_str(), "w", "3"), Ok);
    EXPECT_EQ(reg.SetValue(Sub("Nope").c_str(), "w", "3"), E_NotFound);
    EXPECT_EQ(reg.RemoveValue(tree.c_str(), "w"), Ok);
    EXPECT_EQ(reg.RemoveValue(tree.c_str(), "w"), E_NotFound);
    EXPECT_EQ(reg.RemoveDir(Sub("Tree\\Dir").c_str()), Ok);
    EXPECT_FALSE(RawKeyExists("Tree\\Dir"));
    EXPECT_EQ(reg.RemoveDir(Sub("Tree\\Dir").c_str()), E_NotFound);
}

TEST_F(RegKeyWin, ScriptsRunFromTheProgramsResources)
{
    CCaptureHandler handler;
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
