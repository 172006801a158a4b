// What the program tells of a running download: byte counts, amounts, rate and time left, and the log's steps.
#include "DownloadProgress.h"

#include <utility>

#include <gtest/gtest.h>

using Orn::Int64;

namespace {

constexpr Int64 MB = 1024 * 1024;

} // namespace

TEST(DownloadProgress, CountsReadAsAPersonWritesThem)
{
    const std::pair<Int64, const char*> rows[] = {
        {1023, "1023 bytes"}, {1024, "1.0 KB"},        {1535, "1.4 KB"},         {MB - 1, "1023.9 KB"},
        {50 * MB, "50.0 MB"}, {2147483647, "1.9 GB"}, {Int64(3) << 40, "3072.0 GB"},
    };
    for (const auto& row : rows)
        EXPECT_STREQ(ByteCountText(row.first), row.second) << row.first;
}

TEST(DownloadProgress, AmountRateAndTimeLeft)
{
    CDownloadProgress progress(10 * MB);
    EXPECT_STREQ(progress.AmountText(0), "0 bytes of 10.0 MB (0 %)");
    EXPECT_STREQ(progress.AmountText(10 * MB - 1), "9.9 MB of 10.0 MB (99 %)");
    const struct {
        Int64 done;
        Orn::DWord ms;
        const char* text;
    } rows[] = {
        {0, 5000, "Waiting for the server"},
        {10 * MB / 4, 1000, "2.5 MB/s, about 3 s left"},
        {10 * MB - 1, 1000, "9.9 MB/s, about 1 s left"},
        {MB, 10000, "102.3 KB/s, about 2 min left"},
        {1, 0, "1000 bytes/s, about 175 min left"},
        {10 * MB, 2000, "5.0 MB/s"},
    };
    for (const auto& row : rows)
        EXPECT_STREQ(progress.RateText(row.done, row.ms), row.text) << row.done << " in " << row.ms << " ms";
}

// One line for each step reached, however many a burst of bytes passes.
TEST(DownloadProgress, TheLogHearsOfEveryTenPercentOnce)
{
    CDownloadProgress progress(1000);
    const struct {
        Int64 done;
        bool logged;
    } steps[] = {{50, false}, {100, true}, {150, false}, {399, true}, {399, false}, {1000, true}, {1000, false}};
    for (const auto& step : steps)
        EXPECT_EQ(progress.NextLogStep(step.done), step.logged) << step.done;
}
