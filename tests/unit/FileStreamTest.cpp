// Tests of the file stream: modes, round trips, buffered reads mixed with writes, and open failures.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "FileStream.h"
#include "StringResStream.h"
#include "TestSupport.h"

using namespace Orn;

namespace {

std::string FileBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

void PutFile(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

// Removes a scratch file when the test ends.
struct CScratch {
    std::string path;
    explicit CScratch(const char* name) : path(OrnTest::TempPath(name)) {}
    ~CScratch() { std::remove(path.c_str()); }
    const char* c_str() const { return path.c_str(); }
};

} // namespace

TEST(FileStream, TextCreateOrReplace)
{
    CScratch file("text.log");
    PutFile(file.path, "an older log that is much longer\n");
    {
        CFileStream log(file.c_str(), smWrite | smText | fsmCreate);
        ASSERT_TRUE(log.IsOpen()) << log.GetStatus().Name();
        log.WriteFormat("one %d\n", 1);
        log.Indent();
        log.WriteText("two\n\n");
    }
    EXPECT_EQ("one 1\r\n\ttwo\r\n\t\r\n", FileBytes(file.path));
}

TEST(FileStream, AppendWritesAtTheEnd)
{
    CScratch file("append.txt");
    PutFile(file.path, "abc");
    CFileStream s(file.c_str(), smWrite | fsmAppend);
    ASSERT_TRUE(s.IsOpen());
    EXPECT_TRUE(s.WriteText("de"));
    EXPECT_TRUE(s.Close());
    EXPECT_EQ("abcde", FileBytes(file.path));

    CScratch fresh("append-new.txt");
    CFileStream created(fresh.c_str(), smWrite | fsmAppend);
    EXPECT_TRUE(created.IsOpen());
}

TEST(FileStream, BinaryRoundTripWithChecksum)
{
    CScratch file("config.bin");
    const char* texts[] = {"Header 1.0", "name", "value", ""};
    DWord written = 0;
    {
        CFileStream out;
        ASSERT_EQ(Ok, out.Open(file.c_str(), smRead | smWrite | fsmCreate | smChecksum));
        for (const char* t : texts)
            EXPECT_TRUE(out.WriteCStr(t));
        written = out.GetChecksum();
    }
    CFileStream in;
    ASSERT_EQ(Ok, in.Open(file.c_str(), smRead | smChecksum));
    CString text;
    for (const char* t : texts) {
        EXPECT_TRUE(in.ReadToDelim(text)) << t;
        EXPECT_STREQ(t, text.Chars());
    }
    EXPECT_EQ(written, in.GetChecksum());
    DWord sum = 0;
    for (unsigned char b : FileBytes(file.path))
        sum += b;
    EXPECT_EQ(sum, written);
    EXPECT_FALSE(in.ReadToDelim(text));
}

TEST(FileStream, ReadsAcrossTheBufferAndWritesWhereItRead)
{
    CScratch file("big.bin");
    std::string pattern;
    for (int i = 0; i < 10000; ++i)
        pattern += static_cast<char>('a' + i % 26);
    PutFile(file.path, pattern);

    CFileStream s(file.c_str(), smRead | smWrite);
    ASSERT_TRUE(s.IsOpen());
    std::string back;
    for (int i = 0; i < 5000; ++i)
        back += static_cast<char>(s.ReadChar());
    EXPECT_EQ(pattern.substr(0, 5000), back);
    Int64 pos = 0;
    EXPECT_TRUE(s.GetPos(pos));
    EXPECT_EQ(5000, pos);
    EXPECT_TRUE(s.WriteText("XY"));
    EXPECT_TRUE(s.SetPos(9998));
    char tail[4] = {0};
    Int got = 0;
    EXPECT_TRUE(s.Read(tail, 4, &got));
    EXPECT_EQ(2, got);
    EXPECT_TRUE(s.Close());

    std::string expected = pattern;
    expected.replace(5000, 2, "XY");
    EXPECT_EQ(expected, FileBytes(file.path));
    EXPECT_EQ(pattern.substr(9998), std::string(tail, 2));
}

TEST(FileStream, LengthAndTruncation)
{
    CScratch file("length.bin");
    CFileStream s(file.c_str(), smRead | smWrite | fsmCreate);
    EXPECT_TRUE(s.WriteText("0123456789"));
    Int64 length = 0;
    EXPECT_TRUE(s.GetLength(length));
    EXPECT_EQ(10, length);
    EXPECT_TRUE(s.SetLength(4));
    EXPECT_TRUE(s.GetLength(length));
    EXPECT_EQ(4, length);
    EXPECT_TRUE(s.SetPos(0));
    CString all;
    EXPECT_TRUE(s.ReadAll(all));
    EXPECT_STREQ("0123", all.Chars());
}

TEST(FileStream, ReadsWholeTextFileWithLineEndsTranslated)
{
    CScratch file("lines.txt");
    PutFile(file.path, "first\r\nsecond\r\n\r\nlast");
    CFileStream s(file.c_str(), smRead | smText);
    CString all;
    EXPECT_TRUE(s.ReadAll(all));
    EXPECT_STREQ("first\nsecond\n\nlast", all.Chars());

    CFileStream lines(file.c_str(), smRead | smText);
    CString line;
    std::string joined;
    while (lines.ReadLine(line))
        joined += std::string(line.Chars()) + "|";
    EXPECT_EQ("first|second||last|", joined);
}

TEST(FileStream, CreatesMissingDirectories)
{
    std::string dir = OrnTest::TempPath("dirs");
    std::string path = dir + "/a/b/file.dmp";
    {
        CFileStream plain;
        EXPECT_EQ(E_NotFound, plain.Open(path.c_str(), smWrite | fsmCreate));
        CFileStream full;
        ASSERT_EQ(Ok, full.Open(path.c_str(), smWrite | fsmCreate | fsmCreateFullPath));
        EXPECT_TRUE(full.WriteText("x"));
    }
    EXPECT_EQ("x", FileBytes(path));
    std::filesystem::remove_all(dir);
}

TEST(FileStream, OpenFailures)
{
    OrnTest::AssertRecorder rec;
    std::string missing = OrnTest::TempPath("missing.txt");
    CFileStream s;
    EXPECT_EQ(E_NotFound, s.Open(missing.c_str(), smRead));
    EXPECT_EQ(E_NotFound, s.GetStatus());
    EXPECT_FALSE(s.IsOpen());
    EXPECT_NO_ASSERTS(rec);

    std::string temp = OrnTest::TempPath("x");
    std::string dir = temp.substr(0, temp.find_last_of("/\\"));
    EXPECT_TRUE(s.Open(dir.c_str(), smWrite | fsmCreate).Failed()) << dir;

    EXPECT_EQ(E_BadArgument, s.Open(missing.c_str(), smRead | smCanWrite));
    EXPECT_ASSERTED(rec, "(mode & smDerivedModeBits) == 0");
}

TEST(FileStream, UnopenedStreamRefusesWritesQuietly)
{
    OrnTest::AssertRecorder rec;
    CFileStream s(OrnTest::TempPath("nodir/never/x.log").c_str(), smWrite | smText | fsmCreate);
    EXPECT_FALSE(s.IsOpen());
    EXPECT_FALSE(s.WriteFormat("%s\n", "lost"));
    EXPECT_EQ(E_NotOpen, s.GetStatus());
    EXPECT_NO_ASSERTS(rec);
}

TEST(FileStream, SecondOpenIsRefused)
{
    CScratch file("twice.txt");
    CFileStream s(file.c_str(), smWrite | fsmCreate);
    ASSERT_TRUE(s.IsOpen());
    EXPECT_EQ(E_AlreadyOpen, s.Open(file.c_str(), smRead));
}

TEST(StringResStream, MissingResourceIsNotFound)
{
    CStringResStream s;
    EXPECT_EQ(E_NotFound, s.Open(0x7F00));
    EXPECT_FALSE(s.IsOpen());
}
