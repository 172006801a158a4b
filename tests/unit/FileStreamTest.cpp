// Tests of the file stream: modes, buffered reads mixed with writes, created directories and open failures.
#include <filesystem>
#include <string>

#include "FileStream.h"
#include "StringResStream.h"
#include "TestSupport.h"

using namespace Orn;

TEST(FileStream, CreateReplacesAndAppendAddsAtTheEnd)
{
    OrnTest::CScratchFile file("text.log");
    file.Write("an older log that is much longer\n");
    {
        CFileStream log(file.c_str(), smWrite | smText | fsmCreate);
        ASSERT_TRUE(log.IsOpen()) << log.GetStatus().Name();
        EXPECT_TRUE(log.WriteFormat("one %d\n", 1));
    }
    EXPECT_EQ("one 1\r\n", file.Read());
    CFileStream s(file.c_str(), smWrite | fsmAppend);
    EXPECT_TRUE(s.WriteText("de") && s.Close());
    EXPECT_EQ("one 1\r\nde", file.Read());

    OrnTest::CScratchFile fresh("append-new.txt");
    CFileStream created(fresh.c_str(), smWrite | fsmAppend);
    EXPECT_TRUE(created.IsOpen());
}

TEST(FileStream, ReadsAcrossTheBufferAndWritesWhereItRead)
{
    OrnTest::CScratchFile file("big.bin");
    std::string pattern;
    for (int i = 0; i < 10000; ++i)
        pattern += static_cast<char>('a' + i % 26);
    file.Write(pattern);

    CFileStream s(file.c_str(), smRead | smWrite);
    ASSERT_TRUE(s.IsOpen());
    std::string back;
    for (int i = 0; i < 5000; ++i)
        back += static_cast<char>(s.ReadChar());
    EXPECT_EQ(pattern.substr(0, 5000), back);
    Int64 pos = 0;
    EXPECT_TRUE(s.GetPos(pos));
    EXPECT_EQ(5000, pos);
    EXPECT_TRUE(s.WriteText("XY") && s.SetPos(9998));
    char tail[4] = {0};
    Int got = 0;
    EXPECT_TRUE(s.Read(tail, 4, &got));
    EXPECT_EQ(pattern.substr(9998), std::string(tail, static_cast<size_t>(got)));
    EXPECT_TRUE(s.Close());
    EXPECT_EQ(pattern.replace(5000, 2, "XY"), file.Read());
}

TEST(FileStream, CreatesMissingDirectories)
{
    std::string dir = OrnTest::TempPath("dirs");
    std::string path = dir + "/a/b/file.dmp";
    {
        CFileStream full;
        ASSERT_EQ(Ok, full.Open(path.c_str(), smWrite | fsmCreate | fsmCreateFullPath));
        EXPECT_TRUE(full.WriteText("x"));
        EXPECT_EQ(E_AlreadyOpen, full.Open(path.c_str(), smRead));
    }
    EXPECT_EQ(std::filesystem::file_size(path), 1u);
    std::filesystem::remove_all(dir);
}

TEST(FileStream, OpenFailures)
{
    OrnTest::AssertRecorder rec;
    std::string missing = OrnTest::TempPath("nodir/missing.txt");
    CFileStream s(missing.c_str(), smWrite | smText | fsmCreate);
    EXPECT_EQ(E_NotFound, s.GetStatus());
    EXPECT_FALSE(s.WriteFormat("%s\n", "lost")) << "a log that could not be opened refuses quietly";
    EXPECT_EQ(E_NotOpen, s.GetStatus());
    EXPECT_EQ(E_NotFound, s.Open(missing.c_str(), smRead));
    EXPECT_NO_ASSERTS(rec);

    std::string temp = OrnTest::TempPath("x");
    std::string dir = temp.substr(0, temp.find_last_of("/\\"));
    EXPECT_TRUE(s.Open(dir.c_str(), smWrite | fsmCreate).Failed()) << dir;
    EXPECT_EQ(E_BadArgument, s.Open(missing.c_str(), smRead | smCanWrite));
    EXPECT_ASSERTED(rec, "(mode & smDerivedModeBits) == 0");
}

TEST(StringResStream, MissingResourceIsNotFound)
{
    CStringResStream s;
    EXPECT_EQ(E_NotFound, s.Open(0x7F00));
    EXPECT_FALSE(s.IsOpen());
}
