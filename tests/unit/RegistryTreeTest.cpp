// The tree registry: paths and tree operations in memory, the text file round trip and damaged files.
#include "Registry.h"

#include <cstdio>
#include <string>
#include <vector>

#include "CaptureStream.h"
#include "ErrorHandler.h"
#include "StringStream.h"
#include "TestSupport.h"

using namespace Orn;

namespace {

std::string WriteText(CRegistry& registry)
{
    CString text;
    CStringStream stream(text, smWrite);
    RStatus status = registry.Write(stream);
    EXPECT_EQ(status, Ok) << status.Name();
    return text.Chars();
}

RStatus ReadText(CRegistry& registry, const std::string& text, const char* sourceName = nullptr)
{
    CString input(text.c_str());
    CStringStream stream(input, smRead);
    return registry.Read(stream, "", sourceName);
}

std::string Value(CRegistry& registry, const char* dirPath, const char* name)
{
    CString text;
    RStatus status = registry.GetValue(dirPath, name, text);
    return status.Succeeded() ? text.Chars() : std::string("<") + status.Name() + ">";
}

// Reads with SetValue refused, as a registry that cannot store the value would.
class CReadOnlyRegistry : public CMemRegistry {
public:
    RStatus SetValue(const char*, const char*, const char*) override { return E_NoAccess; }
};

const std::string cName64(64, 'n');
const std::string cName65(65, 'n');

} // namespace

TEST(RegistryTree, OpenTellsWhatThePathNames)
{
    CMemRegistry reg;
    ASSERT_EQ(reg.CreateDir("Software\\Vantrel\\VRNB3"), Ok);
    ASSERT_EQ(reg.SetValue("Software\\Vantrel", "Lang", "en"), Ok);
    ASSERT_EQ(reg.CreateDir(cName64.c_str()), Ok);
    const std::pair<std::string, RStatus> rows[] = {
        {"", S_RegIsDirectory},
        {"software\\VANTREL\\vrnb3", S_RegIsDirectory},
        {"Software\\Vantrel\\Lang", S_RegIsValue},
        {"Software\\Vantrel\\Lang\\Below", E_NotFound},
        {cName64, S_RegIsDirectory},
        {cName65, E_BadSyntax},
        {"Software\\\\Vantrel", E_BadArgument},
    };
    for (const auto& [path, expected] : rows)
        EXPECT_EQ(reg.Open(path.c_str()), expected) << "path '" << path << "'";
}

TEST(RegistryTree, ValuesAndDirectories)
{
    CMemRegistry reg;
    ASSERT_EQ(reg.CreateDir("A\\B"), Ok);
    EXPECT_EQ(reg.CreateDir("a\\b"), Ok) << "existing directories are fine";
    EXPECT_EQ(reg.SetValue("A\\Missing", "x", "1"), E_NotFound);
    EXPECT_EQ(reg.SetValue("A", cName65.c_str(), "1"), E_BadSyntax);
    EXPECT_EQ(reg.SetValue("A", "First", "1"), Ok);
    EXPECT_EQ(reg.SetValue("A", "FIRST", "2"), Ok) << "same name, other case";
    EXPECT_EQ(Value(reg, "a", "first"), "2");
    EXPECT_EQ(reg.RemoveValue("A", "first"), Ok);
    EXPECT_EQ(reg.RemoveValue("A", "first"), E_NotFound);
    EXPECT_EQ(reg.AddComment("A", "two\nlines"), E_BadArgument);

    ASSERT_EQ(reg.SetValue("A\\B", "deep", "1"), Ok);
    ASSERT_EQ(reg.AddComment("A", "note"), Ok);
    CRegDir listing;
    ASSERT_EQ(reg.ListDir("A", listing), Ok);
    ASSERT_EQ(listing.Count(), 2);
    EXPECT_EQ(static_cast<const CRegDir&>(listing.Child(0)).Count(), 0) << "subdirectories come empty";
    EXPECT_STREQ(listing.Child(1).Text(), "note");
    EXPECT_EQ(reg.RemoveDir(""), E_BadArgument);
    EXPECT_EQ(reg.RemoveDir("A"), Ok);
    EXPECT_EQ(reg.Open("A\\B"), E_NotFound);
    EXPECT_EQ(reg.Root().Count(), 0);
}

TEST(RegistryFile, WritesOneIndentedItemPerLine)
{
    CMemRegistry reg;
    ASSERT_EQ(reg.CreateDir("Program Files"), Ok);
    ASSERT_EQ(reg.AddComment("Program Files", " note"), Ok);
    ASSERT_EQ(reg.SetValue("Program Files", "Name", "x y"), Ok);
    ASSERT_EQ(reg.SetValue("", "", "unnamed"), Ok);
    EXPECT_EQ(WriteText(reg), "!VRREG 1.0 {\n"
                              "\t\"Program Files\" {\n"
                              "\t\t; note\n"
                              "\t\tName=\"x y\"\n"
                              "\t}\n"
                              "\t\"\"=\"unnamed\"\n"
                              "}\n");
}

TEST(RegistryFile, RoundTripKeepsCommentsAndOddTexts)
{
    const std::pair<const char*, const char*> rows[] = {
        {"empty", ""},
        {"quotes", "  say \"hi\"  "},
        {"controls", "tab\there\nline\rcr\x7f\x01"},
        {"punctuation;={}", "a=b;c{d}e"},
        {"escape-like", "\\x41\\\\\\\""},
        {"high", "caf\xE9 \xFF"},
        {cName64.c_str(), "longest name"},
    };
    CFileRegistry reg;
    ASSERT_EQ(reg.AddComment("", "top comment with \"quotes\" = { } ;"), Ok);
    ASSERT_EQ(reg.CreateDir("Odd\\Nested Dir"), Ok);
    for (const auto& [name, text] : rows)
        ASSERT_EQ(reg.SetValue("Odd\\Nested Dir", name, text), Ok) << name;
    ASSERT_EQ(reg.AddComment("Odd", "\tlast, after the directory"), Ok);
    std::string written = WriteText(reg);

    CMemRegistry copy;
    ASSERT_EQ(ReadText(copy, written), Ok) << written;
    for (const auto& [name, text] : rows)
        EXPECT_EQ(Value(copy, "Odd\\Nested Dir", name), text) << name;
    EXPECT_EQ(WriteText(copy), written) << "comments and order survive";

    std::string path = OrnTest::TempPath("tree.vrreg");
    ASSERT_EQ(reg.Save(path.c_str()), Ok);
    CFileRegistry loaded;
    ASSERT_EQ(loaded.Load(path.c_str()), Ok);
    ASSERT_EQ(loaded.SetValue("Odd", "added", "1"), Ok);
    ASSERT_EQ(loaded.Save(), Ok) << "saves back where it was loaded from";
    CFileRegistry again;
    ASSERT_EQ(again.Load(path.c_str()), Ok);
    EXPECT_EQ(Value(again, "Odd", "added"), "1");
    std::remove(path.c_str());
    EXPECT_EQ(again.Load(path.c_str()), E_NotFound);
}

TEST(RegistryFile, ReadsHandWrittenText)
{
    CMemRegistry reg;
    ASSERT_EQ(ReadText(reg, "  !VRREG 1.0 {\r\n;crlf comment\r\nbare=word dir{x=\"1\"}\r\n}\r\n\t"), Ok);
    EXPECT_EQ(Value(reg, "", "bare"), "word");
    EXPECT_EQ(Value(reg, "dir", "x"), "1");
    ASSERT_EQ(reg.Root().Count(), 3);
    EXPECT_STREQ(reg.Root().Child(0).Text(), "crlf comment");
}

TEST(RegistryFile, DamagedTextGivesCleanStatus)
{
    const std::string head = "!VRREG 1.0 {\n";
    std::string deep;
    for (int i = 0; i < 600; ++i)
        deep += "d{";
    const std::pair<const char*, std::string> rows[] = {
        {"empty", ""},
        {"other version", "!VRREG 2.0 {\n}\n"},
        {"no end", head + "a=\"1\"\n"},
        {"after end", head + "}\nx\n"},
        {"name alone", head + "a\n}\n"},
        {"value missing", head + "a=}\n"},
        {"long name", head + cName65 + "=\"1\"\n}\n"},
        {"empty directory name", head + "\"\" {\n}\n}\n"},
        {"open quote", head + "a=\"1\n}\n"},
        {"bad escape", head + "a=\"\\q\"\n}\n"},
        {"nul escape", head + "a=\"\\x00\"\n}\n"},
        {"deep", head + deep + std::string(600, '}') + "}"},
    };
    for (const auto& [what, text] : rows) {
        OrnTest::CCaptureHandler handler(OrnTest::cPositionBanner);
        CMemRegistry reg;
        EXPECT_EQ(ReadText(reg, text), E_BadSyntax) << what;
        EXPECT_EQ(handler.mReports, std::vector<std::string>{"<ErrFile>:<ErrLine>: Exception: E_BadSyntax"}) << what;
    }
}

TEST(RegistryFile, ErrorsNameTheSourceLineAndKeepWhatWasRead)
{
    OrnTest::CCaptureHandler handler(OrnTest::cPositionBanner);
    CMemRegistry reg;
    EXPECT_EQ(ReadText(reg, "!VRREG 1.0 {\n\tkept=\"1\"\n\tbroken\n}\n", "tree.txt"), E_BadSyntax);
    EXPECT_EQ(handler.mReports, std::vector<std::string>{"tree.txt:4: Exception: E_BadSyntax"})
        << "the name token 'broken' is only known to be bad at the '}' of line 4";
    EXPECT_EQ(Value(reg, "", "kept"), "1");
    EXPECT_FALSE(CurrentErrorHandler().HasSource()) << "the source position is popped again";
}

TEST(RegistryFile, StoreAndStreamFailures)
{
    OrnTest::CCaptureHandler handler(OrnTest::cPositionBanner);
    CReadOnlyRegistry readOnly;
    EXPECT_EQ(ReadText(readOnly, "!VRREG 1.0 {\nd {\n a=\"1\"\n}\n}\n"), Failure);
    EXPECT_EQ(readOnly.Open("d"), S_RegIsDirectory) << "the directory came before the refused value";
    EXPECT_EQ(handler.mReports, std::vector<std::string>{"<ErrFile>:<ErrLine>: Exception: Failure"});

    CMemRegistry reg;
    OrnTest::CCaptureStream input(smRead);
    input.input = "!VRREG 1.0 {\n}\n";
    input.failReadAfter = 5;
    EXPECT_EQ(reg.Read(input), E_Read);
    ASSERT_EQ(reg.SetValue("", "v", "1"), Ok);
    OrnTest::CCaptureStream output;
    output.failAfter = 16;
    EXPECT_EQ(reg.Write(output), E_DiskFull);

    // The writer refuses what the reader would.
    CMemRegistry longName;
    longName.Root().AddDir(cName65.c_str());
    CString text;
    CStringStream stream(text, smWrite);
    EXPECT_EQ(longName.Write(stream), E_BadSyntax);
}
