// Tests of the stream base's checksums, hex dump and 6-bit encoding.
#include <string>

#include "CaptureStream.h"
#include "MemStream.h"
#include "Stream.h"
#include "TestSupport.h"

using namespace Orn;
using OrnTest::CCaptureStream;

// ---- Checksums

TEST(StreamChecksum, SumAndCRCOfKnownData)
{
    struct { const char* name; DWord mode; DWord checksum; } const cases[] = {
        {"byte sum", smChecksum, 0x1DD},
        {"CRC-32", smChecksum | smCRC, 0xCBF43926},
    };
    for (const auto& c : cases) {
        CMemHandStream out(smRead | smWrite | c.mode);
        EXPECT_TRUE(out.WriteText("1234") && out.WriteText("56789")) << c.name;
        EXPECT_EQ(c.checksum, out.GetChecksum()) << c.name;

        CMemStream in("123456789", 9, smRead | c.mode);
        CString all;
        EXPECT_TRUE(in.UnGetChar(in.ReadChar()) && in.ReadAll(all)); // a pushed-back byte counts once
        EXPECT_STREQ("123456789", all.Chars());
        EXPECT_EQ(c.checksum, in.GetChecksum()) << c.name;
    }
}

// A second start is a mistake, but the running sum goes on.
TEST(StreamChecksum, ASecondStartKeepsTheRunningSum)
{
    OrnTest::AssertRecorder rec;
    CMemHandStream s;
    s.StartChecksum();
    EXPECT_TRUE(s.WriteText("ab"));
    s.StartChecksum();
    EXPECT_ASSERTED(rec, "! IsChecksumming()");
    EXPECT_EQ(0xC3u, s.GetChecksum());
}

// ---- Hex dump

TEST(StreamHexDump, ExactLayoutAndRanges)
{
    OrnTest::AssertRecorder rec;
    const char data[] = "0123456789ABCDEF\x00\x01\xFF~";
    CCaptureStream out;
    EXPECT_TRUE(out.HexDump(data, data));
    EXPECT_EQ("", out.bytes);
    EXPECT_TRUE(out.HexDump(data, data + 20, "> "));
    std::string expected = "> 0x0000: 30 31 32 33  34 35 36 37  38 39 41 42  43 44 45 46  |0123 4567 89AB CDEF|\n"
                           "> 0x0010: 00 01 ff 7e" +
                           std::string(41, ' ') + "|...~" + std::string(15, ' ') + "|\n";
    EXPECT_EQ(expected, out.bytes);
    EXPECT_NO_ASSERTS(rec);
    EXPECT_FALSE(out.HexDump(data + 1, data));
    EXPECT_ASSERTED(rec, "start <= end");
    EXPECT_FALSE(out.HexDump(nullptr, data));
    EXPECT_ASSERTED(rec, "start");
}

// ---- 6-bit encoding

TEST(Stream6Bit, GroupsPartialGroupsAndLineBreaks)
{
    struct Case { const char* name; std::string bytes; Int lineLen; const char* prefix; const char* text; };
    const std::string zeros(6, '\0');
    const Case cases[] = {
        {"zeros", zeros.substr(3), 0, nullptr, "aaaa"},
        {"one byte FF", "\xFF", 0, nullptr, "#d"},
        {"two bytes FF FF", "\xFF\xFF", 0, nullptr, "##p"},
        {"bit order", "\x01\x02\x03", 0, nullptr, "biWa"},
        {"empty", "", 0, nullptr, ""},
        {"line breaks", zeros, 3, "> ", "aaa\n> aaa\n> aa"},
        {"no breaks without a prefix", zeros, 3, nullptr, "aaaaaaaa"},
    };
    for (const Case& c : cases) {
        CMemStream source(c.bytes.data(), static_cast<Int>(c.bytes.size()));
        CCaptureStream out;
        EXPECT_TRUE(out.Encode6Bit(source, c.lineLen, "\n", c.prefix, "-#")) << c.name;
        EXPECT_EQ(c.text, out.bytes) << c.name;
    }
}
