// Progress texts of a download, in whole numbers only (the program carries no floating-point formatter).
#include "DownloadProgress.h"

#include <cstdint>

using namespace Orn;

CString ByteCountText(Int64 bytes)
{
    static const char* const units[] = {"KB", "MB", "GB"};
    CString text;
    if (bytes < 1024) {
        text.Format("%d bytes", static_cast<Int>(bytes));
        return text;
    }
    Int unit = 0;
    Int64 scale = 1024;
    while (unit < 2 && bytes >= scale * 1024) {
        scale *= 1024;
        ++unit;
    }
    // Counted in gigabytes at most, any count below a petabyte has its tenths fit 32 bits.
    auto tenths = static_cast<Int>(bytes * 10 / scale);
    text.Format("%d.%d %s", tenths / 10, tenths % 10, units[unit]);
    return text;
}

Int CDownloadProgress::Percent(Int64 done) const
{
    if (mTotal <= 0 || done >= mTotal)
        return 100;
    return done <= 0 ? 0 : static_cast<Int>(done * 100 / mTotal);
}

CString CDownloadProgress::AmountText(Int64 done) const
{
    CString text = ByteCountText(done);
    text.Append(" of ");
    text.Append(ByteCountText(mTotal));
    CString percent;
    percent.Format(" (%d %%)", Percent(done));
    text.Append(percent);
    return text;
}

CString CDownloadProgress::RateText(Int64 done, DWord elapsedMs) const
{
    if (done <= 0)
        return "Waiting for the server";
    Int64 ms = elapsedMs > 0 ? elapsedMs : 1;
    CString text = ByteCountText(done * 1000 / ms);
    text.Append("/s");
    if (done >= mTotal)
        return text;
    // Rounded up, so that the last second does not read "0 s left"; unsigned, as the products near 2^63.
    auto perSecond = static_cast<std::uint64_t>(done) * 1000;
    auto secondsLeft = static_cast<Int64>((static_cast<std::uint64_t>(mTotal - done) * ms + perSecond - 1) / perSecond);
    CString left;
    if (secondsLeft < 60)
        left.Format(", about %d s left", static_cast<Int>(secondsLeft));
    else
        left.Format(", about %lld min left", static_cast<long long>((secondsLeft + 59) / 60));
    text.Append(left);
    return text;
}

bool CDownloadProgress::NextLogStep(Int64 done)
{
    Int step = Percent(done) / 10 * 10;
    if (step <= mLogged)
        return false;
    mLogged = step;
    return true;
}
