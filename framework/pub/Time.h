// Time values: seconds since 1970-01-01 UTC, built from local calendar fields or text, formatted strftime-style.
#pragma once

#include "Platform.h"
#include "String.h"

namespace Orn {

// A point in time in whole seconds since 1970-01-01 00:00:00 UTC; -1 is "no time".
class CTime {
public:
    static constexpr Int64 cInvalid = -1;
    // The text form that FromText reads and Format(text) writes.
    static constexpr const char* cDefaultFormat = "%m/%d/%Y %H:%M:%S";

    // The invalid time.
    CTime() = default;
    explicit CTime(Int64 seconds) : mSeconds(seconds) {}

    // The current time.
    static CTime Now();
    // Local calendar fields (month 1..12); the system decides daylight saving time.
    static CTime FromFields(Int year, Int month, Int day, Int hour, Int minute, Int second);
    // Local time from "mm/dd/yyyy hh:mm:ss"; the invalid time when the text is too short.
    static CTime FromText(const char* str);

    bool IsValid() const { return mSeconds != cInvalid; }
    Int64 Seconds() const { return mSeconds; }

    // The local time formatted with strftime; false for the invalid time or an empty result.
    bool Format(const char* format, CString& text) const;
    // The local time in the default text form.
    bool Format(CString& text) const { return Format(cDefaultFormat, text); }

    bool operator==(const CTime& other) const { return mSeconds == other.mSeconds; }
    bool operator!=(const CTime& other) const { return mSeconds != other.mSeconds; }

private:
    Int64 mSeconds = cInvalid;
};

} // namespace Orn
