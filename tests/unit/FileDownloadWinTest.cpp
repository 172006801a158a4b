// The file download where its file cannot be made: it fails at once and starts no worker.
#include "FileDownload_Win.h"

#include "TestSupport.h"

using namespace Orn;

TEST(FileDownloadWin, AFolderThatCannotTakeTheFileFailsAtOnce)
{
    const Byte digest[DownloadDigestBytes] = {};
    CFileDownload download("VRL Version Checker");
    EXPECT_FALSE(download.Start("https://localhost:1/x.exe", 10, digest, COpenURLPolicy(nullptr),
                                "C:\\no such folder\\", "Test-"));
    EXPECT_EQ(download.Poll(), deCreateFile);
    EXPECT_TRUE(download.WaitForEnd(0));
    EXPECT_NE(download.Facts().status, Ok);
    EXPECT_FALSE(download.KeepFile(true));
}
