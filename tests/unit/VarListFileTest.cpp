// Variable lists in files: binary round trips and damaged files, the text form's reports and quirks, dumps.
#include "VarList.h"

#include <string>
#include <vector>

#include "Environment.h"
#include "StringStream.h"
#include "TestSupport.h"
#include "Time.h"

using namespace Orn;

namespace {

const std::string cHeader = "Vantrel Configuration File 1.0";

// The dump of a list, without indentation.
std::string Dump(const CVarList& list)
{
    CString text;
    CStringStream stream(text, smWrite);
    list.WriteDump(stream);
    return text.Chars();
}

// Parses text, returning the reports.
std::string ParseText(CVarList& list, const std::string& input)
{
    CString in(input.c_str()), errors;
    CStringStream inStream(in, smRead);
    CStringStream errorStream(errors, smWrite);
    EXPECT_EQ(list.Parse(inStream, errorStream), Ok);
    return errors.Chars();
}

std::string WithChecksum(const std::string& body)
{
    unsigned long sum = 0;
    for (unsigned char c : body)
        sum = (sum + c) & 0xFFFFFFFFul;
    return body + std::to_string(sum) + '\0';
}

// Header, A = "1", read-only B = "two", the terminator and the checksum.
const std::string cGoodBody = cHeader + '\0' + "A" + '\0' + "1" + '\0' + "%B" + '\0' + "two" + '\0' + '\0';
const std::string cGoodFile = WithChecksum(cGoodBody);

} // namespace

// Save writes the exact layout; Load adds to what the list holds, and odd values come back as they were.
TEST(VarListFile, SaveWritesTheExactLayoutAndLoadAddsBack)
{
    CVarList list;
    list.Set("A", "1");
    list.Set("B", "two", true);
    OrnTest::CScratchFile file("layout.vrc");
    ASSERT_EQ(list.Save(file.path.c_str()), Ok);
    EXPECT_EQ(file.Read(), cGoodFile);

    list.Set("Plain", "value with blanks, = and : and %");
    list.Set("Empty", "");
    list.Set("High", "caf\xE9 \x80\xFF");
    ASSERT_EQ(list.Save(file.path.c_str()), Ok);
    CVarList into;
    into.Set("Before", "kept");
    into.Set("A", "old");
    EXPECT_EQ(into.Load(file.path.c_str()), Ok);
    EXPECT_EQ(Dump(into), "Before\t=\t\"kept\"\n" + Dump(list)) << "not cleared first";
}

// The exact status and what stays; a changed header is among the next test's bit flips.
TEST(VarListFile, DamagedFilesGiveACleanStatus)
{
    const size_t afterHeader = cHeader.size() + 1;
    struct Row { const char* name; std::string bytes; RStatus status; const char* kept; };
    const char* both = "A\t=\t\"1\"\nB (READ-ONLY)\t=\t\"two\"\n";
    std::string offByOne = cGoodBody + std::to_string(std::stoul(cGoodFile.substr(cGoodBody.size())) + 1) + '\0';
    const Row rows[] = {
        {"empty file", "", E_BadData, ""},
        {"checksum off by one", offByOne, E_BadData, both},
        {"checksum not a number", cGoodBody + "x" + '\0', E_BadData, both},
        {"cut inside a value", cGoodFile.substr(0, afterHeader + 9), E_BadData, "A\t=\t\"1\"\n"},
        {"cut before the checksum", cGoodBody, E_BadData, both},
        {"intact", cGoodFile, Ok, both},
    };
    for (const Row& row : rows) {
        OrnTest::CScratchFile file("damaged.vrc");
        file.Write(row.bytes);
        CVarList list;
        EXPECT_EQ(list.Load(file.path.c_str()), row.status) << row.name;
        EXPECT_EQ(Dump(list), row.kept) << row.name << ": what was read before the failure stays";
    }
}

// Every truncation and every single-bit flip of a good file is refused, and nothing asserts.
TEST(VarListFile, EveryCutAndBitFlipIsRefused)
{
    OrnTest::AssertRecorder rec;
    OrnTest::CScratchFile file("flipped.vrc");
    std::vector<std::string> damaged;
    for (size_t len = 0; len < cGoodFile.size(); ++len)
        damaged.push_back(cGoodFile.substr(0, len));
    for (size_t bit = 0; bit < cGoodFile.size() * 8; ++bit) {
        damaged.push_back(cGoodFile);
        damaged.back()[bit / 8] = static_cast<char>(damaged.back()[bit / 8] ^ (1 << (bit % 8)));
    }
    for (size_t i = 0; i < damaged.size(); ++i) {
        file.Write(damaged[i]);
        CVarList list;
        EXPECT_TRUE(list.Load(file.path.c_str()).Failed()) << "damage #" << i;
    }
    EXPECT_NO_ASSERTS(rec);
}

TEST(VarListFile, LoadAnyChoosesTheFormByExtension)
{
    OrnTest::CScratchFile binary("upper.VRC");
    binary.Write(cGoodFile);
    OrnTest::CScratchFile textual("config.txt");
    textual.Write(cHeader + "\r\nA : STRING = text\r\nbad line\r\n");
    OrnTest::CScratchFile textAsVrc("text.vrc");
    textAsVrc.Write(cHeader + "\nA : STRING = text\n");

    CVarList list;
    CString errors;
    CStringStream errorStream(errors, smWrite);
    EXPECT_EQ(list.LoadAny(OrnTest::TempPath("missing.vrc").c_str(), errorStream), E_NotFound);
    EXPECT_EQ(list.LoadAny(OrnTest::TempPath("missing.txt").c_str(), errorStream), E_NotFound);
    EXPECT_EQ(list.LoadAny(binary.path.c_str(), errorStream), Ok);
    EXPECT_STREQ(list.Find("B"), "two");
    EXPECT_EQ(list.LoadAny(textAsVrc.path.c_str(), errorStream), E_BadData);
    EXPECT_STREQ(errors, "");
    // Line errors do not make the result a failure.
    EXPECT_EQ(list.LoadAny(textual.path.c_str(), errorStream), Ok);
    EXPECT_STREQ(list.Find("A"), "text");
    EXPECT_STREQ(errors, "mkconfig: line #3: can't find ':' in non-comment line.\n"
                         "mkconfig: line #3: can't find '=' in non-comment line.\n"
                         "mkconfig: line #3: bad type\n");
}

TEST(VarListFile, TextFormRulesAndReports)
{
    const std::string h = cHeader + "\n";
    struct Row { const char* name; std::string input; const char* errors; const char* dump; };
    const Row rows[] = {
        {"comments, blanks and trimming", "// c\n\n   " + cHeader + " \t\n// x\n  A  :  STRING  =  hi there  \n", "",
         "A\t=\t\"hi there\"\n"},
        {"wrong header counted with comments", "\n// c\nWrong\nA : STRING = 1\n",
         "mkconfig: line #3: first non-comment line of input file is not 'Vantrel Configuration File 1.0'.\n",
         "A\t=\t\"1\"\n"},
        {"header looked for only once", h + cHeader + "\n",
         "mkconfig: line #2: can't find ':' in non-comment line.\n"
         "mkconfig: line #2: can't find '=' in non-comment line.\n"
         "mkconfig: line #2: bad type\n",
         ""},
        {"no ':' reports both and goes on", h + "STRING = x\n",
         "mkconfig: line #2: can't find ':' in non-comment line.\n"
         "mkconfig: line #2: can't find '=' in non-comment line.\n",
         "STRING = x\t=\t\"x\"\n"},
        {"':' without '=' is not reported", h + "A : STRING\n", "", "A\t=\t\"A : STRING\"\n"},
        {"first ':' and first '=' after it", h + "U : STRING = http://x/?a=b\n", "",
         "U\t=\t\"http://x/?a=b\"\n"},
        {"types are case-sensitive", h + "A : string = x\n", "mkconfig: line #2: bad type\n", ""},
        {"BOOL takes only 0 and 1", h + "T : BOOL = 1\nF : BOOL = 0\nX : BOOL = true\nY : BOOL = 01\n",
         "mkconfig: line #4: bad value for type.\nmkconfig: line #5: bad value for type.\n",
         "T\t=\t\"1\"\nF\t=\t\"0\"\n"},
        {"DATE zero, negative and text", h + "Z : DATE = 0\nN : DATE = -5\nW : DATE = soon\n", "",
         "Z\t=\t\"0\"\nN\t=\t\"-5\"\nW\t=\t\"0\"\n"},
        {"read-only mark and later lines", h + "%R : STRING = x\nA : STRING = 1\nA : STRING = 2\n", "",
         "R (READ-ONLY)\t=\t\"x\"\nA\t=\t\"2\"\n"},
        {"double percent", h + "P : STRING = 100%%\n", "", "P\t=\t\"100%\"\n"},
        {"undefined variable", h + "\nX : STRING = %ORN_CFG_UNSET%y\n",
         "mkconfig: line #3: ORN_CFG_UNSET: Environment variable not defined.\n", "X\t=\t\"%ORN_CFG_UNSET%y\"\n"},
        {"unterminated variable", h + "X : STRING = a%ORN_CFG_TAIL\n",
         "mkconfig: line #2: ORN_CFG_TAIL: Unterminated environment variable.\n", "X\t=\t\"a%ORN_CFG_TAIL\"\n"},
        {"defined variables, their values not scanned again", h + "X : STRING = <%ORN_CFG_SET%>%%%ORN_CFG_SET%%%\n", "",
         "X\t=\t\"<a%b>%a%b%\"\n"},
        {"report text holding its own item", h + "X : STRING = %<Message>%\n",
         "mkconfig: line #2: <Message>: Environment variable not defined.\n", "X\t=\t\"%<Message>%\"\n"},
    };
    ASSERT_TRUE(SetEnvVariable("ORN_CFG_SET", "a%b"));
    for (const Row& row : rows) {
        CVarList list;
        OrnTest::AssertRecorder rec;
        EXPECT_EQ(ParseText(list, row.input), row.errors) << row.name;
        EXPECT_EQ(Dump(list), row.dump) << row.name;
        EXPECT_NO_ASSERTS(rec) << row.name;
    }
}

TEST(VarListFile, PositiveDateIsAStartOfDayAhead)
{
    CVarList list;
    Int64 before = CTime::Now().Seconds() / 86400;
    EXPECT_EQ(ParseText(list, cHeader + "\nD : DATE = 3\n"), "");
    Int64 after = CTime::Now().Seconds() / 86400;
    Int64 value = std::stoll(list.Find("D"));
    EXPECT_EQ(value % 86400, 0);
    EXPECT_TRUE(value == (before + 3) * 86400 || value == (after + 3) * 86400) << value;
}

// The dump's indentation inside a section is the verbose log's (VersionCheckE2E).
TEST(VarListFile, DumpDoesNotEscapeOrSubstitute)
{
    CVarList list;
    list.Set("A", "say \"hi\"\\ <A>");
    EXPECT_EQ(Dump(list), "A\t=\t\"say \"hi\"\\ <A>\"\n");
}
