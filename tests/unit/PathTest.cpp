// Path rules: local roots, components, extensions, special directory prefixes, file URLs and unique names.
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Path.h"
#include "TestSupport.h"

using Orn::CLocalFSPathDefinition;
using Orn::CPath;
using Orn::CString;

namespace {

const CLocalFSPathDefinition& Local() { return CLocalFSPathDefinition::Get(); }

TEST(PathTest, RootTable)
{
    struct Row { const char* name; const char* text; Orn::Int root; };
    const Row rows[] = {
        {"bare drive", "C:", 2},
        {"drive path", "C:\\Data\\x", 3},
        {"drive-relative runs to first delimiter", "C:Data\\x", 7},
        {"colon not second", "ab:c", -1},
        {"network path", "\\\\server\\share\\dir", 14},
        {"network share with delimiter, empty share", "\\\\server\\", 9},
        {"network server only", "\\\\server", -1},
        {"network root found anywhere", "x\\\\srv\\sh\\y", 9},
        {"leading delimiter", "\\dir\\x", 1},
        {"relative", "dir\\x", -1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        OrnTest::AssertRecorder rec;
        EXPECT_EQ(row.root, Local().RootLength(row.text));
        EXPECT_NO_ASSERTS(rec);
    }
    OrnTest::AssertRecorder rec;
    EXPECT_EQ(-1, Local().RootLength(nullptr));
    EXPECT_EQ(-1, Local().RootLength(""));
    EXPECT_EQ(-1, Local().RootLength("[TempDir]\\x"));
    const std::vector<std::string> expected = {"pathPart", "Str::Length(pathPart) > 0", "pathPart[0] != '['"};
    EXPECT_EQ(expected, rec.Asserts());
}

// A full path as the component is refused with its assertion and leaves the path alone.
TEST(PathTest, AppendTable)
{
    struct Row { const char* name; const char* base; const char* component; const char* result; };
    const Row rows[] = {
        {"plain", "C:\\a", "b", "C:\\a\\b"},
        {"after root delimiter", "C:\\", "b", "C:\\b"},
        {"to empty path", "", "b", "b"},
        {"after special name", "[TempDir]", "x.log", "[TempDir]\\x.log"},
        {"drive path", "C:\\a", "D:\\b", nullptr},
        {"rooted", "C:\\a", "\\b", nullptr},
        {"network path", "C:\\a", "\\\\srv\\share", nullptr},
        {"special name", "C:\\a", "[TempDir]\\x", nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        OrnTest::AssertRecorder rec;
        CPath path(row.base);
        EXPECT_EQ(row.result ? Orn::Ok : Orn::E_BadArgument, path.Append(row.component));
        EXPECT_STREQ(row.result ? row.result : row.base, path.Chars());
        const std::string refusal = std::string("Attempt to add a component that is a full path.\ncomponent = '") +
                                    row.component + "', pathStr = '" + row.base + "'";
        EXPECT_EQ(rec.List(), row.result ? "" : "[" + refusal + "] ");
    }
}

TEST(PathTest, DirectoryFileNameExtensionTable)
{
    struct Row { const char* text; const char* directory; const char* fileName; const char* extension; };
    const Row rows[] = {
        {"C:\\a\\b.txt", "C:\\a", "b.txt", "txt"},
        {"C:\\a\\", "C:\\a", "", ""},
        {"\\\\server\\share\\x.y.z", "\\\\server\\share", "x.y.z", "z"},
        {"[TempDir]\\log.txt", "[TempDir]", "log.txt", "txt"},
        {"file.exe", "", "file.exe", "exe"},
        {"a.dir\\file", "a.dir", "file", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        CPath path(row.text);
        EXPECT_STREQ(row.directory, path.Directory().Chars());
        EXPECT_STREQ(row.fileName, path.FileName().Chars());
        EXPECT_STREQ(row.extension, path.Extension().Chars());
    }
}

TEST(PathTest, SetExtension)
{
    CPath path("C:\\a.d\\b.txt"), bare("C:\\a.d\\b"), dir("C:\\a\\");
    EXPECT_TRUE(path.SetExtension("log") == Orn::Ok && bare.SetExtension("log") == Orn::Ok);
    EXPECT_STREQ("C:\\a.d\\b.log", path.Chars());
    EXPECT_STREQ("C:\\a.d\\b.log", bare.Chars());
    EXPECT_TRUE(dir.SetExtension("log").Failed());
    EXPECT_STREQ("C:\\a\\", dir.Chars());

    OrnTest::AssertRecorder rec;
    EXPECT_EQ(Orn::E_BadArgument, path.SetExtension(""));
    EXPECT_EQ(Orn::E_BadArgument, path.SetExtension(".txt"));
    EXPECT_STREQ("C:\\a.d\\b.log", path.Chars());
    EXPECT_EQ(2u, rec.Asserts().size());
    EXPECT_ASSERTED(rec, "(Str::Length(extension) > 0) && (extension[0] != extDelim)");
}

TEST(PathTest, DisplayAndFileURL)
{
    EXPECT_STREQ("(bad path)", CPath().DisplayText());
    CString url("old");
    EXPECT_TRUE(CPath().GetFileURL(url).Failed());
    EXPECT_STREQ("", url.Chars());

    CPath path("C:\\Program Files\\Vantrel\\x.htm");
    EXPECT_STREQ("C:\\Program Files\\Vantrel\\x.htm", path.DisplayText());
    EXPECT_EQ(Orn::Ok, path.GetFileURL(url));
    EXPECT_STREQ("file:///C:/Program Files/Vantrel/x.htm", url.Chars());
}

TEST(PathTest, SplitSpecialNameTable)
{
    struct Row { const char* text; bool ok; const char* name; const char* rest; };
    const Row rows[] = {
        {"[TempDir]/VRLCrashes/x.dmp", true, "TempDir", "VRLCrashes\\x.dmp"},
        {"[TempDir]", true, "TempDir", ""},
        {"[tempdir]x", true, "tempdir", "x"},
        {"[TempDir", false, "", ""},
        {"C:\\x", false, "", ""},
    };
    for (const Row& row : rows) {
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

    OrnTest::AssertRecorder rec;
    EXPECT_EQ(Orn::E_BadArgument, maker.Make(dir, nullptr, exists, first));
    EXPECT_ASSERTED(rec, "prefix");
}

} // namespace
