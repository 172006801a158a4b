// What a person reads about a running download (amounts, percent, rate, time left) and when the log hears of it.
#pragma once

#include "Platform.h"
#include "String.h"

// "512 bytes", "1.5 KB", "12.5 MB", "1.2 GB" (units of 1024, tenths cut off).
Orn::CString ByteCountText(Orn::Int64 bytes);

class CDownloadProgress {
public:
    explicit CDownloadProgress(Orn::Int64 total) : mTotal(total) {}

    // Whole percent of the total that done is, 0 to 100.
    Orn::Int Percent(Orn::Int64 done) const;
    // "12.5 MB of 50.0 MB (25 %)".
    Orn::CString AmountText(Orn::Int64 done) const;
    // "2.4 MB/s, about 16 s left" (minutes from a minute on) elapsedMs after the start; before the first byte,
    // "Waiting for the server".
    Orn::CString RateText(Orn::Int64 done, Orn::DWord elapsedMs) const;
    // True once done has reached a step of 10 % beyond the last one reported: the log of a run without windows
    // hears of every step once.
    bool NextLogStep(Orn::Int64 done);

private:
    Orn::Int64 mTotal;
    Orn::Int mLogged = 0;
};
