// Tests of the stream base's text: encodings, line ends, indentation, translator, push-back and reads.
#include <string>

#include "CaptureStream.h"
#include "MemStream.h"
#include "Stream.h"
#include "TestSupport.h"

using namespace Orn;
using OrnTest::CCaptureStream;
using OrnTest::Bytes;
using OrnTest::Hex;

// ---- Encodings

struct EncodingCase {
    const char* name;
    Int encoding;
    DWord mode;
    Int ch;
    const char* bytes;
};

const EncodingCase cEncodingCases[] = {
    {"UTF-8 ASCII", encUTF8, 0, 0x41, "41 "},
    {"UTF-8 e-acute", encUTF8, 0, 0xE9, "C3 A9 "},
    {"UTF-8 last two-byte", encUTF8, 0, 0x7FF, "DF BF "},
    {"UTF-8 first three-byte", encUTF8, 0, 0x800, "E0 A0 80 "},
    {"UTF-8 euro", encUTF8, 0, 0x20AC, "E2 82 AC "},
    {"UTF-8 last 16-bit", encUTF8, 0, 0xFFFF, "EF BF BF "},
    {"UTF-16 LE euro", encUTF16, 0, 0x20AC, "AC 20 "},
    {"UTF-16 BE euro", encUTF16, smUTF16BigEndian, 0x20AC, "20 AC "},
    {"UTF-16 LE ASCII", encUTF16, 0, 0x41, "41 00 "},
};

TEST(StreamEncoding, WritesAndReadsEachEncoding)
{
    for (const EncodingCase& c : cEncodingCases) {
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
    CCaptureStream utf8;
    utf8.SetEncoding(encUTF8);
    EXPECT_TRUE(utf8.WriteText("a\xE9"));
    EXPECT_EQ("61 C3 A9 ", Hex(utf8.bytes));

    CCaptureStream narrow;
    EXPECT_TRUE(narrow.WriteText(L"b\x00E9"));
    EXPECT_EQ("62 E9 ", Hex(narrow.bytes));
}

TEST(StreamEncoding, MalformedUTF8ReadsAsReplacement)
{
    CCaptureStream in(smRead);
    in.SetEncoding(encUTF8);
    in.input = "\x80" "\xC3" "A" "\xF0";
    EXPECT_EQ(0xFFFD, in.ReadChar()); // stray continuation byte
    EXPECT_EQ(0xFFFD, in.ReadChar()); // lead byte followed by no continuation
    EXPECT_EQ(0xFFFD, in.ReadChar()); // four-byte lead
    EXPECT_EQ(-1, in.ReadChar());
}

TEST(StreamEncoding, MisuseAsserts)
{
    OrnTest::AssertRecorder rec;
    CCaptureStream narrow;
    EXPECT_FALSE(narrow.WriteUnicodeChar(0x20AC));
    EXPECT_ASSERTED(rec, "IsUnicodeEncoding()");
    EXPECT_EQ("", narrow.bytes);

    CCaptureStream bad;
    bad.SetEncoding(7);
    EXPECT_FALSE(bad.WriteText("x"));
    EXPECT_ASSERTED(rec, "bad encoding");
}

// ---- Line ends and line counting

struct EOLCase {
    const char* name;
    DWord mode;
    Int eolType;
    const char* bytes;
};

TEST(StreamLines, LineFeedBecomesTheEOLType)
{
    const EOLCase cases[] = {
        {"text CRLF", smText, eolCRLF, "a\r\nb"},
        {"text CR", smText, eolCR, "a\rb"},
        {"text LF", smText, eolLF, "a\nb"},
        {"binary ignores type", 0, eolCRLF, "a\nb"},
    };
    for (const EOLCase& c : cases) {
        CCaptureStream out(smWrite | c.mode);
        out.SetEOLType(c.eolType);
        EXPECT_TRUE(out.WriteText("a\nb")) << c.name;
        EXPECT_EQ(c.bytes, out.bytes) << c.name;
    }
}

TEST(StreamLines, UTF16LineEndIsEncoded)
{
    CCaptureStream out(smWrite | smText);
    out.SetEncoding(encUTF16);
    EXPECT_TRUE(out.WriteText("\n"));
    EXPECT_EQ("0D 00 0A 00 ", Hex(out.bytes));
}

TEST(StreamLines, BadEOLTypeAsserts)
{
    OrnTest::AssertRecorder rec;
    CCaptureStream out(smWrite | smText);
    out.SetEOLType(3);
    EXPECT_FALSE(out.WriteText("\n"));
    EXPECT_ASSERTED(rec, "bad EOL type");
}

TEST(StreamLines, CountsLineFeedsOnlyWhenAsked)
{
    CCaptureStream counting(smWrite | smText | smCountLines);
    EXPECT_TRUE(counting.WriteText("one\ntwo\n\n"));
    EXPECT_EQ(3, counting.GetLineCount());
    EXPECT_EQ("one\r\ntwo\r\n\r\n", counting.bytes);

    CCaptureStream plain(smWrite | smText);
    EXPECT_TRUE(plain.WriteText("one\ntwo\n"));
    EXPECT_EQ(0, plain.GetLineCount());
}

TEST(StreamLines, TextModeReadsEveryLineEndAsLineFeed)
{
    CCaptureStream in(smRead | smText | smCountLines);
    in.input = "a\r\nb\rc\nd\r";
    CString line;
    const char* expected[] = {"a", "b", "c", "d"};
    for (const char* want : expected) {
        EXPECT_TRUE(in.ReadLine(line)) << want;
        EXPECT_STREQ(want, line.Chars());
    }
    EXPECT_FALSE(in.ReadLine(line));
    EXPECT_EQ(4, in.GetLineCount());
}

TEST(StreamLines, BinaryModeKeepsCarriageReturns)
{
    CCaptureStream in(smRead);
    in.input = "a\r\nb";
    CString line;
    EXPECT_TRUE(in.ReadLine(line));
    EXPECT_STREQ("a\r", line.Chars());
    EXPECT_TRUE(in.ReadLine(line));
    EXPECT_STREQ("b", line.Chars());
}

// ---- Indentation

TEST(StreamIndent, SpacesOrTabsPerLevelAfterALineFeed)
{
    struct {
        const char* name;
        Int width;
        const char* bytes;
    } const cases[] = {
        {"three spaces", 3, "a\r\n      b"},
        {"tabs", 0, "a\r\n\t\tb"},
        {"negative width is tabs", -1, "a\r\n\t\tb"},
    };
    for (const auto& c : cases) {
        CCaptureStream out(smWrite | smText);
        out.SetIndentLevel(2);
        out.SetIndentWidth(c.width);
        EXPECT_TRUE(out.WriteText("a\nb")) << c.name;
        EXPECT_EQ(c.bytes, out.bytes) << c.name;
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

TEST(StreamIndent, IndentsUnicodeTextInItsEncoding)
{
    CCaptureStream out(smWrite);
    out.SetEncoding(encUTF16);
    out.SetIndentLevel(1);
    EXPECT_TRUE(out.WriteText(L"\nx"));
    EXPECT_EQ("0A 00 09 00 78 00 ", Hex(out.bytes));
}

TEST(StreamIndent, OutdentBelowZeroAsserts)
{
    OrnTest::AssertRecorder rec;
    CCaptureStream out;
    out.Outdent();
    EXPECT_ASSERTED(rec, "mIndentLevel > 0");
    EXPECT_EQ(0, out.GetIndentLevel());
}

// ---- Translator

namespace {

// Upper-cases letters, swallows '#', declines '!'.
class CTestTranslator : public CStream::CCharTranslator {
public:
    bool Translate(Int& ch) override
    {
        if (ch == '!')
            return false;
        if (ch == '#')
            ch = -1;
        else if (ch >= 'a' && ch <= 'z')
            ch -= 'a' - 'A';
        return true;
    }
};

} // namespace

TEST(StreamTranslator, ChangesSwallowsOrDeclines)
{
    CTestTranslator translator;
    CCaptureStream out;
    out.SetTranslator(&translator);
    EXPECT_TRUE(out.WriteText("ab#c"));
    EXPECT_EQ("ABC", out.bytes);
    EXPECT_FALSE(out.WriteText("d!e"));
    EXPECT_EQ("ABCD", out.bytes);
    EXPECT_EQ(Failure, out.GetStatus());
}

TEST(StreamTranslator, SwallowedLineFeedDoesNotIndent)
{
    CTestTranslator translator;
    CCaptureStream out;
    out.SetIndentLevel(1);
    EXPECT_TRUE(out.WriteText("a\n"));
    out.SetTranslator(&translator);
    EXPECT_TRUE(out.WriteText("#"));
    EXPECT_EQ("a\n", out.bytes);
}

// ---- Formatted writes

TEST(StreamFormat, NarrowLimitIs1998Characters)
{
    OrnTest::AssertRecorder rec;
    CCaptureStream out;
    std::string fits(1998, 'x');
    EXPECT_TRUE(out.WriteFormat("%s", fits.c_str()));
    EXPECT_NO_ASSERTS(rec);
    EXPECT_EQ(fits, out.bytes);

    std::string tooLong(1999, 'y');
    EXPECT_FALSE(out.WriteFormat("%s", tooLong.c_str()));
    EXPECT_ASSERTED(rec, "Str::VFormat(buf,format,args) < ((static_cast<Int>(sizeof(buf)/sizeof(buf[0]))) - 1)");
}

TEST(StreamFormat, WideLimitIs1998Characters)
{
    OrnTest::AssertRecorder rec;
    CCaptureStream out;
    std::wstring fits(1998, L'x');
    EXPECT_TRUE(out.WriteFormat(L"%s", fits.c_str()));
    EXPECT_NO_ASSERTS(rec);
    EXPECT_EQ(1998u, out.bytes.size());

    std::wstring tooLong(1999, L'y');
    EXPECT_FALSE(out.WriteFormat(L"%s", tooLong.c_str()));
    EXPECT_ASSERTED(rec, "WStr::VFormat(buf,format,args) < ((static_cast<Int>(sizeof(buf)/sizeof(buf[0]))) - 1)");
}

// ---- Push-back

TEST(StreamPushBack, PushedCharacterIsReadAgain)
{
    CCaptureStream in(smRead);
    in.input = "ab";
    EXPECT_EQ('a', in.ReadChar());
    EXPECT_TRUE(in.UnGetChar('a'));
    EXPECT_EQ('a', in.ReadChar());
    EXPECT_EQ('b', in.ReadChar());
}

TEST(StreamPushBack, MisuseAsserts)
{
    struct {
        const char* name;
        Int encoding;
        Int first;
        Int second;
        const char* assertion;
    } const cases[] = {
        {"second push-back", encSystem, 'a', 'b', "mUnGetChar == -1"},
        {"wide in 8-bit", encSystem, 0x100, -1, "mUnGetChar <= 0xFF"},
        {"beyond 16 bits", encUTF8, 0x10000, -1, "mUnGetChar <= 0xFFFF"},
    };
    for (const auto& c : cases) {
        OrnTest::AssertRecorder rec;
        CCaptureStream in(smRead);
        in.SetEncoding(c.encoding);
        in.input = "z";
        bool first = in.UnGetChar(c.first);
        if (c.second != -1)
            EXPECT_FALSE(in.UnGetChar(c.second)) << c.name;
        else
            EXPECT_FALSE(first) << c.name;
        EXPECT_ASSERTED(rec, c.assertion) << c.name;
        EXPECT_EQ(c.second != -1 ? c.first : 'z', in.ReadChar()) << c.name;
    }
}

TEST(StreamPushBack, UnicodePushBackUpTo16Bits)
{
    OrnTest::AssertRecorder rec;
    CCaptureStream in(smRead);
    in.SetEncoding(encUTF16);
    EXPECT_TRUE(in.UnGetChar(0xFFFF));
    EXPECT_EQ(0xFFFF, in.ReadChar());
    EXPECT_NO_ASSERTS(rec);
}

// ---- Reading to a delimiter

TEST(StreamRead, NulTerminatedStringsRoundTrip)
{
    CMemHandStream s;
    const char* texts[] = {"one", "", "two words"};
    for (const char* t : texts)
        EXPECT_TRUE(s.WriteCStr(t));
    EXPECT_EQ(std::string("one\0\0two words\0", 15), Bytes(s));
    EXPECT_TRUE(s.SetPos(0));
    CString text;
    for (const char* t : texts) {
        EXPECT_TRUE(s.ReadToDelim(text)) << t;
        EXPECT_STREQ(t, text.Chars());
    }
    EXPECT_FALSE(s.ReadToDelim(text));
    EXPECT_TRUE(text.IsEmpty());
}

TEST(StreamRead, MaximumLengthStopsBeforeTheDelimiter)
{
    CMemStream s("abcdef,g", 8);
    CString text;
    EXPECT_TRUE(s.ReadToDelim(text, ',', 4));
    EXPECT_STREQ("abcd", text.Chars());
    EXPECT_TRUE(s.ReadToDelim(text, ','));
    EXPECT_STREQ("ef", text.Chars());
    EXPECT_TRUE(s.ReadToDelim(text, ','));
    EXPECT_STREQ("g", text.Chars());
}

TEST(StreamRead, BadArgumentsAssert)
{
    OrnTest::AssertRecorder rec;
    CMemStream s("abc", 3);
    CString text;
    s.ReadToDelim(text, 0x100);
    EXPECT_ASSERTED(rec, "delim <= 0xFF");
    s.ReadToDelim(text, 0, 0);
    EXPECT_ASSERTED(rec, "maxLen == -1 || maxLen > 0");
}

TEST(StreamRead, ReadAllDecodesUTF8AndTranslatesLineEnds)
{
    const char data[] = "x\r\n\xC3\xA9\r\n";
    CMemStream s(data, sizeof data - 1, smRead | smText);
    s.SetEncoding(encUTF8);
    CString text;
    EXPECT_TRUE(s.ReadAll(text));
    EXPECT_STREQ("x\n\xE9\n", text.Chars());
}

TEST(StreamRead, WideReadToDelim)
{
    const char data[] = "a\x00\xAC\x20\x0A\x00";
    CMemStream s(data, 6);
    s.SetEncoding(encUTF16);
    CWString text;
    EXPECT_TRUE(s.ReadToDelim(text, '\n'));
    EXPECT_EQ(2, text.Length());
    EXPECT_EQ(0x20AC, static_cast<Int>(text[1]));
}

TEST(StreamRead, ShortReadFailsOrThrowsWhenInsisting)
{
    CMemStream s("abc", 3);
    char buf[4];
    EXPECT_FALSE(s.Read(buf, 4));
    EXPECT_EQ(E_UnexpectedEOF, s.GetStatus());

    CMemStream partial("abc", 3);
    Int got = 0;
    EXPECT_TRUE(partial.Read(buf, 4, &got));
    EXPECT_EQ(3, got);

    CMemStream insisting("abc", 3, smRead | smInsistComplete);
    EXPECT_TRUE(insisting.Read(buf, 3));
    try {
        insisting.ReadChar();
        ADD_FAILURE() << "no exception at the end";
    } catch (RStatus status) {
        EXPECT_EQ(E_UnexpectedEOF, status);
    }
}

TEST(StreamRead, Int32IsLittleEndian)
{
    CMemHandStream s;
    EXPECT_TRUE(s.WriteInt32(-2));
    EXPECT_TRUE(s.WriteInt32(0x01020304));
    EXPECT_EQ("FE FF FF FF 04 03 02 01 ", Hex(Bytes(s)));
    EXPECT_TRUE(s.SetPos(0));
    Int a = 0, b = 0;
    EXPECT_TRUE(s.ReadInt32(a) && s.ReadInt32(b));
    EXPECT_EQ(-2, a);
    EXPECT_EQ(0x01020304, b);
}
