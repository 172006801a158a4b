// The Windows error mapping against the real last-error state.
#include <windows.h>

#include "Status.h"
#include "TestSupport.h"

using namespace Orn;

TEST(ErrorWin, LastErrorOfAFailedCall)
{
    ::SetLastError(0);
    EXPECT_EQ(::GetFileAttributesA("C:\\no\\such\\dir\\file.txt"), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(LastOSErrorStatus(), E_NotFound);
    ::SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(LastOSErrorStatus(), E_NoAccess);
    ::SetLastError(0);
    EXPECT_EQ(LastOSErrorStatus(), Ok);
}

TEST(ErrorWin, UnknownErrorTraceCarriesTheSystemText)
{
    OrnTest::AssertRecorder rec;
    EXPECT_EQ(StatusFromOSError(ERROR_NOT_ENOUGH_MEMORY), Failure);
    ASSERT_EQ(rec.Output().size(), 1u);
    const std::string& line = rec.Output()[0];
    EXPECT_EQ(line.rfind("pvt/Error_Win(68): unknown Windows error: '", 0), 0u) << line;
    EXPECT_NE(line.find("' (0x00000008)\n"), std::string::npos) << line;
    EXPECT_GT(line.size(), std::string("pvt/Error_Win(68): unknown Windows error: '' (0x00000008)\n").size())
        << "the system's message text is included: " << line;
}
