// Tests of the stream base's checksums, hex dump and 6-bit encoding.
#include <string>

#include "CaptureStream.h"
#include "MemStream.h"
#include "Stream.h"
#include "TestSupport.h"

using namespace Orn;
using OrnTest::CCaptureStream;
using OrnTest::Hex;

// ---- Checksums

TEST(StreamChecksum, SumAndCRCOfKnownData)
{
    struct {
        const char* name;
        DWord mode;
        DWord checksum;
    } const cases[] = {
        {"byte sum", smChecksum, 0x1DD},
        {"CRC-32", smChecksum | smCRC, 0xCBF43926},
    };
    for (const auto& c : cases) {
        CMemHandStream out(smRead | smWrite | c.mode);
        EXPECT_TRUE(out.WriteText("1234") && out.WriteText("56789")) << c.name;
        EXPECT_EQ(c.checksum, out.GetChecksum()) << c.name;

        CMemStream in("123456789", 9, smRead | c.mode);
        CString all;
        EXPECT_TRUE(in.ReadAll(all));
        EXPECT_EQ(c.checksum, in.GetChecksum()) << c.name;
    }
}

TEST(StreamChecksum, CountsPushedBackBytesOnce)
{
    CMemStream in("\xFF\xFF", 2, smRead | smChecksum);
    EXPECT_EQ(0xFF, in.ReadChar());
    EXPECT_TRUE(in.UnGetChar(0xFF));
    EXPECT_EQ(0xFF, in.ReadChar());
    EXPECT_EQ(0xFF, in.ReadChar());
    EXPECT_EQ(0x1FEu, in.GetChecksum());
}

TEST(StreamChecksum, StartAndReadAreGuarded)
{
    OrnTest::AssertRecorder rec;
    CMemHandStream s;
    s.GetChecksum();
    EXPECT_ASSERTED(rec, "IsChecksumming()");
    s.StartChecksum();
    EXPECT_TRUE(s.WriteText("ab"));
    s.StartChecksum();
    EXPECT_ASSERTED(rec, "! IsChecksumming()");
    EXPECT_EQ(0xC3u, s.GetChecksum()); // the second start changed nothing
}

// ---- Hex dump

TEST(StreamHexDump, ExactLayout)
{
    const char data[] = "0123456789ABCDEF\x00\x01\xFF~";
    CCaptureStream out;
    EXPECT_TRUE(out.HexDump(data, data + 20, "> "));
    std::string expected = "> 0x0000: 30 31 32 33  34 35 36 37  38 39 41 42  43 44 45 46  |0123 4567 89AB CDEF|\n"
                           "> 0x0010: 00 01 ff 7e" +
                           std::string(41, ' ') + "|...~" + std::string(15, ' ') + "|\n";
    EXPECT_EQ(expected, out.bytes);
}

TEST(StreamHexDump, EmptyRangeAndBadRanges)
{
    OrnTest::AssertRecorder rec;
    const char data[] = "x";
    CCaptureStream out;
    EXPECT_TRUE(out.HexDump(data, data));
    EXPECT_EQ("", out.bytes);
    EXPECT_NO_ASSERTS(rec);
    EXPECT_FALSE(out.HexDump(data + 1, data));
    EXPECT_ASSERTED(rec, "start <= end");
    EXPECT_FALSE(out.HexDump(nullptr, data));
    EXPECT_ASSERTED(rec, "start");
}

// ---- 6-bit encoding

TEST(Stream6Bit, GroupsAndPartialGroups)
{
    struct {
        const char* name;
        std::string bytes;
        const char* text;
    } const cases[] = {
        {"zeros", std::string(3, '\0'), "aaaa"},
        {"one byte FF", "\xFF", "#d"},
        {"two bytes FF FF", "\xFF\xFF", "##p"},
        {"01 02 03", "\x01\x02\x03", "biWa"},
        {"empty", "", ""},
    };
    for (const auto& c : cases) {
        CMemStream source(c.bytes.data(), static_cast<Int>(c.bytes.size()));
        CCaptureStream out;
        EXPECT_TRUE(out.Encode6Bit(source, 0, nullptr, nullptr, "-#")) << c.name;
        EXPECT_EQ(c.text, out.bytes) << c.name;
    }
}

TEST(Stream6Bit, BreaksLinesOnlyWithBothTexts)
{
    std::string zeros(6, '\0');
    CMemStream source(zeros.data(), 6);
    CCaptureStream out;
    EXPECT_TRUE(out.Encode6Bit(source, 3, "\n", "> ", "-#"));
    EXPECT_EQ("aaa\n> aaa\n> aa", out.bytes);

    CMemStream again(zeros.data(), 6);
    CCaptureStream noPrefix;
    EXPECT_TRUE(noPrefix.Encode6Bit(again, 3, "\n", nullptr, "-#"));
    EXPECT_EQ("aaaaaaaa", noPrefix.bytes);
}

TEST(Stream6Bit, MisuseAsserts)
{
    struct {
        const char* name;
        Int encoding;
        const char* a63_64;
        const char* assertion;
    } const cases[] = {
        {"missing characters", encSystem, nullptr, "a63_64"},
        {"one character", encSystem, "-", "Str::Length(a63_64) >= 2"},
        {"Unicode output", encUTF8, "-#", "! IsUnicodeEncoding()"},
    };
    for (const auto& c : cases) {
        OrnTest::AssertRecorder rec;
        CMemStream source("x", 1);
        CCaptureStream out;
        out.SetEncoding(c.encoding);
        EXPECT_FALSE(out.Encode6Bit(source, 0, nullptr, nullptr, c.a63_64)) << c.name;
        EXPECT_ASSERTED(rec, c.assertion) << c.name;
        EXPECT_EQ("", out.bytes) << c.name;
    }
}
