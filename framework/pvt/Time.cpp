// Time values: construction from local calendar fields and from the fixed text form, and formatting.
#include "Time.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "Debug.h"
#include "TimePlatform.h"

namespace Orn {

namespace {

// The fixed text form is "mm/dd/yyyy hh:mm:ss".
constexpr Int cTimeTextLength = 19;

// A base-10 number from count characters at pos, read like atoi.
Int ReadField(const char* str, Int pos, Int count)
{
    char field[8] = {0};
    std::memcpy(field, str + pos, static_cast<size_t>(count));
    return static_cast<Int>(std::strtol(field, nullptr, 10));
}

} // namespace

CTime CTime::Now() { return CTime(TimePlatform::Now()); }

CTime CTime::FromFields(Int year, Int month, Int day, Int hour, Int minute, Int second)
{
    // Out-of-range years are reported but still handed to the system, which decides.
    ORN_ASSERT((year >= 1970) && (year <= 2038));
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = -1;
    return CTime(TimePlatform::MakeLocal(fields));
}

CTime CTime::FromText(const char* str)
{
    ORN_ASSERT(str);
    if (!str)
        return CTime();
    Int len = Str::Length(str);
    // Separators are checked only inside the text; a short text gets the one "too short" report.
    if (len > 2)
        ORN_ASSERT(str[2] == '/');
    if (len > 5)
        ORN_ASSERT(str[5] == '/');
    if (len > 10)
        ORN_ASSERT(str[10] == ' ');
    if (len > 13)
        ORN_ASSERT(str[13] == ':');
    if (len > 16)
        ORN_ASSERT(str[16] == ':');
    if (len < cTimeTextLength) {
        ORN_ASSERT_MSG("String too short.");
        return CTime();
    }
    return FromFields(ReadField(str, 6, 4), ReadField(str, 0, 2), ReadField(str, 3, 2), ReadField(str, 11, 2),
                      ReadField(str, 14, 2), ReadField(str, 17, 2));
}

bool CTime::Format(const char* format, CString& text) const
{
    text.Empty();
    ORN_ASSERT(format);
    if (!format || !IsValid())
        return false;
    std::tm fields{};
    if (!TimePlatform::BreakDownLocal(mSeconds, fields))
        return false;
    Int size = Str::Length(format) + 100;
    char* buf = text.Lock(size);
    if (std::strftime(buf, static_cast<size_t>(size), format, &fields) == 0)
        buf[0] = 0;
    return text.Unlock() > 0;
}

} // namespace Orn
