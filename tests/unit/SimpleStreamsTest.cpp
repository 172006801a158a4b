// Tests of capabilities, failures and the simple streams: memory, string and dual.
#include <string>
#include <vector>

#include "CaptureStream.h"
#include "DualStream.h"
#include "MemStream.h"
#include "StringStream.h"
#include "TestSupport.h"

using namespace Orn;
using OrnTest::CCaptureStream;
using OrnTest::Bytes;

// ---- Capabilities and failures

// The memory streams open with no encryption, no smNoRead and no big-endian UTF-16.
TEST(StreamCapability, RefusedModesAssert)
{
    OrnTest::AssertRecorder rec;
    CMemStream view;
    EXPECT_FALSE(view.Open("a", 1, smRead | smUTF16BigEndian));
    CMemHandStream owned(smWrite | smEncryption);
    EXPECT_FALSE(view.IsOpen() || owned.IsOpen());
    const std::string refused = "(mode & (smEncryption | smNoRead | smUTF16BigEndian)) == 0";
    EXPECT_EQ(rec.Asserts(), std::vector<std::string>(2, refused));
}

// A text longer than the output buffer: the flush in the middle fails, and so does the write.
TEST(StreamFailure, FailedFlushOfAFullBufferFailsTheWrite)
{
    CCaptureStream out;
    out.failAfter = 300;
    EXPECT_FALSE(out.WriteText(std::string(600, 'q').c_str()));
    EXPECT_EQ(E_DiskFull, out.GetStatus());
    EXPECT_LE(out.bytes.size(), 300u);
}

TEST(StreamFailure, MemoryStreamPositions)
{
    CMemHandStream s;
    Int64 pos = 0;
    EXPECT_TRUE(s.WriteText("hello") && s.SetPos(1) && s.WriteText("EL") && s.GetPos(pos));
    EXPECT_EQ(3, pos);
    EXPECT_EQ("hELlo", Bytes(s));
    EXPECT_FALSE(s.SetPos(6));
    EXPECT_EQ(E_BadArgument, s.GetStatus());
    EXPECT_TRUE(s.SetLength(2));
    EXPECT_EQ("hE", Bytes(s));
}

// ---- The simple subclasses

TEST(StringStream, AppendsExactBytesReadsOnAndHoldsNoNul)
{
    CString text("ab");
    CStringStream s(text);
    const char raw[2] = {'c', 'd'}; // no terminator
    EXPECT_TRUE(s.WriteFormat("%d\n", 12) && s.Write(raw, 2));
    EXPECT_STREQ("ab12\ncd", text.Chars());
    CString line;
    EXPECT_TRUE(s.ReadLine(line));
    EXPECT_STREQ("ab12", line.Chars());
    text = "";
    EXPECT_EQ(-1, s.ReadChar()) << "nothing is left once the string is cut below the position";
    text = "abcdefg";
    EXPECT_EQ('f', s.ReadChar()) << "the position did not move back";
    EXPECT_FALSE(s.IsBinaryAllowed());
    EXPECT_FALSE(s.Write("\0", 1));
    EXPECT_EQ(E_Write, s.GetStatus());
}

TEST(DualStream, BothTargetsGetTheBytesEvenWhenOneFails)
{
    CCaptureStream first, second;
    CDualStream dual(first, second, smWrite | smText);
    dual.SetIndentLevel(1);
    EXPECT_TRUE(dual.WriteText("a\nb"));
    EXPECT_EQ("a\r\n\tb", first.bytes);
    EXPECT_EQ(first.bytes, second.bytes);

    first.failAfter = 0;
    EXPECT_FALSE(dual.WriteText("c"));
    EXPECT_EQ(E_DiskFull, dual.GetStatus());
    EXPECT_EQ("a\r\n\tbc", second.bytes);
}
