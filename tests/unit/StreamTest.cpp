// Tests of the stream base's text: encodings, line ends, indentation, translator, push-back and reads.
#include <string>

#include "CaptureStream.h"
#include "MemStream.h"
#include "Stream.h"
#include "TestSupport.h"

using namespace Orn;
using OrnTest::CCaptureStream;
using OrnTest::Hex;

TEST(StreamEncoding, WritesAndReadsEachEncoding)
{
    struct { const char* name; Int encoding; DWord mode; Int ch; const char* bytes; } const cases[] = {
        {"UTF-8 last one-byte", encUTF8, 0, 0x7F, "7F "},
        {"UTF-8 e-acute", encUTF8, 0, 0xE9, "C3 A9 "},
        {"UTF-8 last two-byte", encUTF8, 0, 0x7FF, "DF BF "},
        {"UTF-8 first three-byte", encUTF8, 0, 0x800, "E0 A0 80 "},
        {"UTF-8 euro", encUTF8, 0, 0x20AC, "E2 82 AC "},
        {"UTF-16 LE euro", encUTF16, 0, 0x20AC, "AC 20 "},
        {"UTF-16 BE euro", encUTF16, smUTF16BigEndian, 0x20AC, "20 AC "},
    };
    for (const auto& c : cases) {
        CCaptureStream out(smWrite | c.mode);
        out.SetEncoding(c.encoding);
        EXPECT_TRUE(out.WriteUnicodeChar(c.ch)) << c.name;
        EXPECT_EQ(c.bytes, Hex(out.bytes)) << c.name;

        CCaptureStream in(smRead | c.mode);
        in.SetEncoding(c.encoding);
        in.input = out.bytes;
        EXPECT_EQ(c.ch, in.ReadChar()) << c.name;
        EXPECT_EQ(-1, in.ReadChar()) << c.name;
    }
}

TEST(StreamEncoding, NarrowAndWideTextAreConverted)
{
    CCaptureStream utf8, narrow;
    utf8.SetEncoding(encUTF8);
    EXPECT_TRUE(utf8.WriteText("a\xE9") && narrow.WriteText(L"b\x00E9"));
    EXPECT_EQ("61 C3 A9 ", Hex(utf8.bytes));
    EXPECT_EQ("62 E9 ", Hex(narrow.bytes));
}

TEST(StreamLines, LineFeedBecomesTheEOLType)
{
    struct { const char* name; DWord mode; Int encoding; Int eolType; const char* bytes; } const cases[] = {
        {"text CRLF", smText, encSystem, eolCRLF, "61 0D 0A 62 "},
        {"text CR", smText, encSystem, eolCR, "61 0D 62 "},
        {"text LF", smText, encSystem, eolLF, "61 0A 62 "},
        {"binary ignores type", 0, encSystem, eolCRLF, "61 0A 62 "},
        {"UTF-16 line end", smText, encUTF16, eolCRLF, "61 00 0D 00 0A 00 62 00 "},
    };
    for (const auto& c : cases) {
        CCaptureStream out(smWrite | c.mode);
        out.SetEncoding(c.encoding);
        out.SetEOLType(c.eolType);
        EXPECT_TRUE(out.WriteText("a\nb")) << c.name;
        EXPECT_EQ(c.bytes, Hex(out.bytes)) << c.name;
    }
    OrnTest::AssertRecorder rec;
    CCaptureStream out(smWrite | smText);
    out.SetEOLType(3);
    EXPECT_FALSE(out.WriteText("\n"));
    EXPECT_ASSERTED(rec, "bad EOL type");
}

TEST(StreamLines, CountsLineFeedsWhenAskedAndReadsEveryLineEnd)
{
    CCaptureStream counting(smWrite | smText | smCountLines), plain(smWrite | smText);
    EXPECT_TRUE(counting.WriteText("one\ntwo\n\n") && plain.WriteText("one\n"));
    EXPECT_EQ(3, counting.GetLineCount());
    EXPECT_EQ(0, plain.GetLineCount());

    // Reading in text mode takes every line end for a line feed.
    CCaptureStream in(smRead | smText);
    in.input = "a\r\nb\rc\nd\r";
    CString line;
    std::string joined;
    while (in.ReadLine(line))
        joined += std::string(line.Chars()) + "|";
    EXPECT_EQ("a|b|c|d|", joined);
}

TEST(StreamIndent, SpacesOrTabsPerLevelAfterALineFeed)
{
    struct { const char* name; Int encoding; Int width; const char* bytes; } const cases[] = {
        {"three spaces", encSystem, 3, "61 0A 20 20 20 20 20 20 62 "},
        {"tabs", encSystem, 0, "61 0A 09 09 62 "},
        {"negative width is tabs", encSystem, -1, "61 0A 09 09 62 "},
        {"in the stream's encoding", encUTF16, 0, "61 00 0A 00 09 00 09 00 62 00 "},
    };
    for (const auto& c : cases) {
        CCaptureStream out;
        out.SetEncoding(c.encoding);
        out.SetIndentLevel(2);
        out.SetIndentWidth(c.width);
        EXPECT_TRUE(out.WriteText("a\nb")) << c.name;
        EXPECT_EQ(c.bytes, Hex(out.bytes)) << c.name;
    }
}

TEST(StreamIndent, EmptyLineInsideASectionCarriesItsTabs)
{
    CCaptureStream out(smWrite | smText);
    EXPECT_TRUE(out.WriteText("\nStart: x {\n"));
    out.Indent();
    EXPECT_TRUE(out.WriteFormat("step %d\n\n", 1));
    out.Outdent();
    EXPECT_TRUE(out.WriteText("} End: x\n"));
    EXPECT_EQ("\r\nStart: x {\r\n\tstep 1\r\n\t\r\n} End: x\r\n", out.bytes);
}

namespace {

// Upper-cases letters, swallows '#', declines '!'.
struct CTestTranslator : CStream::CCharTranslator {
    bool Translate(Int& ch) override
    {
        if (ch == '#')
            ch = -1;
        else if (ch >= 'a' && ch <= 'z')
            ch -= 'a' - 'A';
        return ch != '!';
    }
};

} // namespace

TEST(StreamTranslator, ChangesSwallowsOrDeclines)
{
    CTestTranslator translator;
    CCaptureStream out;
    out.SetIndentLevel(1);
    out.SetTranslator(&translator);
    EXPECT_TRUE(out.WriteText("ab\n#"));
    EXPECT_EQ("AB\n", out.bytes) << "a swallowed character writes no indentation";
    EXPECT_FALSE(out.WriteText("c!d"));
    EXPECT_EQ("AB\n\tC", out.bytes);
    EXPECT_EQ(Failure, out.GetStatus());
}

TEST(StreamFormat, LimitIs1998Characters)
{
    OrnTest::AssertRecorder rec;
    CCaptureStream out;
    EXPECT_TRUE(out.WriteFormat("%s", std::string(1998, 'x').c_str()));
    EXPECT_TRUE(out.WriteFormat(L"%s", std::wstring(1998, L'x').c_str()));
    EXPECT_NO_ASSERTS(rec);
    EXPECT_EQ(std::string(3996, 'x'), out.bytes);

    EXPECT_FALSE(out.WriteFormat("%s", std::string(1999, 'y').c_str()));
    EXPECT_ASSERTED(rec, "Str::VFormat(buf,format,args) < ((static_cast<Int>(sizeof(buf)/sizeof(buf[0]))) - 1)");
    EXPECT_FALSE(out.WriteFormat(L"%s", std::wstring(1999, L'y').c_str()));
    EXPECT_ASSERTED(rec, "WStr::VFormat(buf,format,args) < ((static_cast<Int>(sizeof(buf)/sizeof(buf[0]))) - 1)");
}

TEST(StreamPushBack, OneCharacterThatFitsTheEncoding)
{
    OrnTest::AssertRecorder rec;
    CCaptureStream in(smRead);
    in.input = "\xFF" "b"; // a high byte must not read back as the end
    EXPECT_EQ(0xFF, in.ReadChar());
    EXPECT_TRUE(in.UnGetChar(0xFF));
    EXPECT_FALSE(in.UnGetChar('x'));
    EXPECT_ASSERTED(rec, "mUnGetChar == -1");
    EXPECT_EQ(0xFF, in.ReadChar());
    EXPECT_FALSE(in.UnGetChar(0x100));
    EXPECT_ASSERTED(rec, "mUnGetChar <= 0xFF");
    EXPECT_EQ('b', in.ReadChar());

    in.SetEncoding(encUTF16);
    EXPECT_TRUE(in.UnGetChar(0xFFFF));
    EXPECT_EQ(0xFFFF, in.ReadChar());
    EXPECT_FALSE(in.UnGetChar(0x10000));
    EXPECT_ASSERTED(rec, "mUnGetChar <= 0xFFFF");
}

TEST(StreamRead, ToADelimiter)
{
    CMemStream s("abcdef,g", 8);
    CString text;
    EXPECT_TRUE(s.ReadToDelim(text, ',', 4));
    EXPECT_STREQ("abcd", text.Chars()) << "the maximum stops before the delimiter";
    EXPECT_TRUE(s.ReadToDelim(text, ','));
    EXPECT_STREQ("ef", text.Chars());

    OrnTest::AssertRecorder rec;
    s.ReadToDelim(text, 0x100);
    EXPECT_ASSERTED(rec, "delim <= 0xFF");
    s.ReadToDelim(text, 0, 0);
    EXPECT_ASSERTED(rec, "maxLen == -1 || maxLen > 0");
}

TEST(StreamRead, ShortReadFailsOrThrowsWhenInsisting)
{
    char buf[4];
    CMemStream s("abc", 3);
    EXPECT_FALSE(s.Read(buf, 4));
    EXPECT_EQ(E_UnexpectedEOF, s.GetStatus());

    CMemStream insisting("abc", 3, smRead | smInsistComplete);
    EXPECT_TRUE(insisting.Read(buf, 3));
    try {
        insisting.ReadChar();
        ADD_FAILURE() << "no exception at the end";
    } catch (RStatus status) {
        EXPECT_EQ(E_UnexpectedEOF, status);
    }
}
