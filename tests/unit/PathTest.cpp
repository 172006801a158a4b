// Path rules: local roots, components, extensions, special directory prefixes, file URLs and unique names.
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "Path.h"
#include "TestSupport.h"

using Orn::CLocalFSPathDefinition;
using Orn::CPath;
using Orn::CString;

namespace {

const CLocalFSPathDefinition& Local() { return CLocalFSPathDefinition::Get(); }

struct RootRow {
    const char* name;
    const char* text;
    Orn::Int root;
};

const RootRow cRootRows[] = {
    {"bare drive", "C:", 2},
    {"drive root", "C:\\", 3},
    {"drive path", "C:\\Data\\x", 3},
    {"drive-relative runs to first delimiter", "C:Data\\x", 7},
    {"colon not second", "ab:c", -1},
    {"network path", "\\\\server\\share\\dir", 14},
    {"network share only", "\\\\server\\share", 14},
    {"network share with delimiter, empty share", "\\\\server\\", 9},
    {"network server only", "\\\\server", -1},
    {"network root found anywhere", "x\\\\srv\\sh\\y", 9},
    {"leading delimiter", "\\dir\\x", 1},
    {"relative", "dir\\x", -1},
    {"forward slashes are not delimiters", "/dir/x", -1},
};

TEST(PathTest, RootTable)
{
    for (const RootRow& row : cRootRows) {
        SCOPED_TRACE(row.name);
        OrnTest::AssertRecorder rec;
        EXPECT_EQ(row.root, Local().RootLength(row.text));
        EXPECT_NO_ASSERTS(rec);
    }
}

TEST(PathTest, RootAssertions)
{
    OrnTest::AssertRecorder rec;
    EXPECT_EQ(-1, Local().RootLength(nullptr));
    EXPECT_ASSERTED(rec, "pathPart");
    EXPECT_EQ(-1, Local().RootLength(""));
    EXPECT_ASSERTED(rec, "Str::Length(pathPart) > 0");
    EXPECT_EQ(-1, Local().RootLength("[TempDir]\\x"));
    EXPECT_ASSERTED(rec, "pathPart[0] != '['");
}

struct AppendRow {
    const char* name;
    const char* base;
    const char* component;
    const char* result;
};

const AppendRow cAppendRows[] = {
    {"plain", "C:\\a", "b", "C:\\a\\b"},
    {"after root delimiter", "C:\\", "b", "C:\\b"},
    {"several levels", "C:\\a", "b\\c.txt", "C:\\a\\b\\c.txt"},
    {"to empty path", "", "b", "b"},
    {"empty component", "C:\\a", "", "C:\\a"},
    {"after special name", "[TempDir]", "x.log", "[TempDir]\\x.log"},
};

TEST(PathTest, AppendTable)
{
    for (const AppendRow& row : cAppendRows) {
        SCOPED_TRACE(row.name);
        OrnTest::AssertRecorder rec;
        CPath path(row.base);
        EXPECT_EQ(Orn::Ok, path.Append(row.component));
        EXPECT_STREQ(row.result, path.Chars());
        EXPECT_NO_ASSERTS(rec);
    }
}

TEST(PathTest, AppendRefusesFullPaths)
{
    const char* fullPaths[] = {"D:\\b", "\\b", "\\\\srv\\share", "[TempDir]\\x", "D:"};
    for (const char* component : fullPaths) {
        SCOPED_TRACE(component);
        OrnTest::AssertRecorder rec;
        CPath path("C:\\a");
        EXPECT_EQ(Orn::E_BadArgument, path.Append(component));
        EXPECT_STREQ("C:\\a", path.Chars());
        std::string expected = std::string("Attempt to add a component that is a full path.\ncomponent = '") +
                               component + "', pathStr = 'C:\\a'";
        EXPECT_ASSERTED(rec, expected);
    }
}

struct PartsRow {
    const char* text;
    const char* directory;
    const char* fileName;
    const char* extension;
};

const PartsRow cPartsRows[] = {
    {"C:\\a\\b.txt", "C:\\a", "b.txt", "txt"},
    {"C:\\b.txt", "C:\\", "b.txt", "txt"},
    {"C:\\", "C:\\", "", ""},
    {"C:\\a\\", "C:\\a", "", ""},
    {"\\\\server\\share\\x.y.z", "\\\\server\\share", "x.y.z", "z"},
    {"\\\\server\\share", "\\\\server\\share", "", ""},
    {"[TempDir]\\log.txt", "[TempDir]", "log.txt", "txt"},
    {"a.dir\\file", "a.dir", "file", ""},
    {"file.exe", "", "file.exe", "exe"},
    {"\\x", "\\", "x", ""},
};

TEST(PathTest, DirectoryFileNameExtensionTable)
{
    for (const PartsRow& row : cPartsRows) {
        SCOPED_TRACE(row.text);
        CPath path(row.text);
        EXPECT_STREQ(row.directory, path.Directory().Chars());
        EXPECT_STREQ(row.fileName, path.FileName().Chars());
        EXPECT_STREQ(row.extension, path.Extension().Chars());
    }
}

TEST(PathTest, SetExtension)
{
    CPath path("C:\\a.d\\b.txt");
    EXPECT_EQ(Orn::Ok, path.SetExtension("log"));
    EXPECT_STREQ("C:\\a.d\\b.log", path.Chars());
    CPath bare("C:\\a.d\\b");
    EXPECT_EQ(Orn::Ok, bare.SetExtension("log"));
    EXPECT_STREQ("C:\\a.d\\b.log", bare.Chars());
    CPath dir("C:\\a\\");
    EXPECT_TRUE(dir.SetExtension("log").Failed());
    EXPECT_STREQ("C:\\a\\", dir.Chars());
}

TEST(PathTest, SetExtensionAssertsOnEmptyOrDottedExtension)
{
    for (const char* extension : {"", ".log"}) {
        SCOPED_TRACE(extension);
        OrnTest::AssertRecorder rec;
        CPath path("C:\\b.txt");
        EXPECT_EQ(Orn::E_BadArgument, path.SetExtension(extension));
        EXPECT_STREQ("C:\\b.txt", path.Chars());
        EXPECT_ASSERTED(rec, "(Str::Length(extension) > 0) && (extension[0] != extDelim)");
    }
}

TEST(PathTest, DisplayAndFileURL)
{
    EXPECT_STREQ("(bad path)", CPath().DisplayText());
    EXPECT_FALSE(CPath().IsValid());
    CString url("old");
    EXPECT_TRUE(CPath().GetFileURL(url).Failed());
    EXPECT_STREQ("", url.Chars());

    CPath path("C:\\Program Files\\Vantrel\\x.htm");
    EXPECT_STREQ("C:\\Program Files\\Vantrel\\x.htm", path.DisplayText());
    EXPECT_EQ(Orn::Ok, path.GetFileURL(url));
    EXPECT_STREQ("file:///C:/Program Files/Vantrel/x.htm", url.Chars());
}

struct SplitRow {
    const char* text;
    bool ok;
    const char* name;
    const char* rest;
};

const SplitRow cSplitRows[] = {
    {"[TempDir]/VRLCrashes/x.dmp", true, "TempDir", "VRLCrashes\\x.dmp"},
    {"[AppDir]\\nimbra.vrc", true, "AppDir", "nimbra.vrc"},
    {"[TempDir]", true, "TempDir", ""},
    {"[tempdir]x", true, "tempdir", "x"},
    {"[TempDir", false, "", ""},
    {"[]x", false, "", ""},
    {"C:\\x", false, "", ""},
};

TEST(PathTest, SplitSpecialNameTable)
{
    for (const SplitRow& row : cSplitRows) {
        SCOPED_TRACE(row.text);
        CString name("old"), rest("old");
        EXPECT_EQ(row.ok, Local().SplitSpecialName(row.text, name, rest));
        EXPECT_STREQ(row.name, name.Chars());
        EXPECT_STREQ(row.rest, rest.Chars());
    }
}

TEST(PathTest, UniqueNamesUseTheCounterLastSixHexDigitsAndSkipExistingOnes)
{
    std::set<std::string> existing = {"C:\\Temp\\uwABCDEF", "C:\\Temp\\uwABCDF0"};
    auto exists = [&existing](const CPath& p) { return existing.count(p.Chars()) != 0; };
    Orn::CUniqueNameMaker maker(0x12ABCDEF);
    CPath dir("C:\\Temp"), first, second;
    ASSERT_EQ(Orn::Ok, maker.Make(dir, "uw", exists, first));
    EXPECT_STREQ("C:\\Temp\\uwABCDF1", first.Chars());
    ASSERT_EQ(Orn::Ok, maker.Make(dir, "uw", exists, second));
    EXPECT_STREQ("C:\\Temp\\uwABCDF2", second.Chars());
}

TEST(PathTest, UniqueNameNeedsPrefix)
{
    OrnTest::AssertRecorder rec;
    Orn::CUniqueNameMaker maker(1);
    CPath out;
    EXPECT_EQ(Orn::E_BadArgument, maker.Make(CPath("C:\\"), nullptr, [](const CPath&) { return false; }, out));
    EXPECT_ASSERTED(rec, "prefix");
}

} // namespace
