// The version resource reader against the resource linked into this test program (VersionWinTest.rc).
#include <windows.h>

#include <gtest/gtest.h>

#include "Version.h"

using Orn::CString;
using Orn::CVersion;

namespace {

CString OwnPath()
{
    char path[MAX_PATH] = {0};
    ::GetModuleFileNameA(nullptr, path, MAX_PATH);
    return CString(path);
}

TEST(VersionWinTest, VersionInfoOfOwnProgram)
{
    CString text;
    ASSERT_TRUE(CVersion::ReadFileVersionText(OwnPath(), true, text));
    EXPECT_STREQ("3.1c beta 2", text.Chars()) << "leading white space skipped";
    ASSERT_TRUE(CVersion::ReadFileVersionText(OwnPath(), false, text));
    EXPECT_STREQ("3.1c (20110512)", text.Chars());
    Orn::CFileVersionInfo info;
    ASSERT_TRUE(CVersion::GetVersionInfo(OwnPath(), info));
    ASSERT_TRUE(info.mFileVersion.IsValid());
    EXPECT_TRUE(info.mFileVersion.IsNewerBuildOfSame(CVersion(3, 10, 'c', 101)));
    EXPECT_STREQ("3.1c ", info.mProductVersionStr.Chars());
    ASSERT_TRUE(info.mProductVersion.IsValid());
    EXPECT_EQ(0, info.mProductVersion.Stage());
    EXPECT_EQ('c', info.mProductVersion.Letter());
}

} // namespace
