// Time values: local calendar fields, the fixed text form and strftime formatting, in a fixed time zone.
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TestSupport.h"
#include "Time.h"

using Orn::CString;
using Orn::CTime;

namespace {

// Local-time results depend on the zone; each test names the one it expects and the old one comes back.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone) : mHadOld(std::getenv("TZ") != nullptr)
    {
        mOld = mHadOld ? std::getenv("TZ") : "";
        Set(zone);
    }
    ~ScopedTimeZone() { Set(mHadOld ? mOld.c_str() : nullptr); }

private:
    static void Set(const char* zone)
    {
#if defined(_WIN32)
        _putenv_s("TZ", zone ? zone : "");
        _tzset();
#else
        zone ? setenv("TZ", zone, 1) : unsetenv("TZ");
        tzset();
#endif
    }

    bool mHadOld;
    std::string mOld;
};

constexpr Orn::Int64 c20110512_134500 = 1305207900;

TEST(TimeTest, FromTextTable)
{
    struct Row { const char* name; const char* text; Orn::Int64 seconds; std::vector<std::string> asserts; };
    const Row rows[] = {
        {"well formed", "05/12/2011 13:45:00", c20110512_134500, {}},
        {"trailing text ignored", "05/12/2011 13:45:00 UTC", c20110512_134500, {}},
        {"epoch", "01/01/1970 00:00:00", 0, {}},
        {"beyond 32 bits", "12/31/2038 23:59:59", 2177452799LL, {}},
        {"wrong separators still parse", "05-12-2011T13.45.00", c20110512_134500,
         {"str[2] == '/'", "str[5] == '/'", "str[10] == ' '", "str[13] == ':'", "str[16] == ':'"}},
        {"date only", "05/12/2011", CTime::cInvalid, {"String too short."}},
        {"one short", "05/12/2011 13:45:0", CTime::cInvalid, {"String too short."}},
        {"year out of range", "01/01/2039 00:00:00", 2177452800LL, {"(year >= 1970) && (year <= 2038)"}},
    };
    ScopedTimeZone utc("UTC0");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        OrnTest::AssertRecorder rec;
        EXPECT_EQ(row.seconds, CTime::FromText(row.text).Seconds());
        EXPECT_EQ(row.asserts, rec.Asserts());
    }
}

TEST(TimeTest, FieldsRoundTripInSummerAndWinter)
{
    // A fixed daylight-saving choice would shift one of the two by an hour.
    ScopedTimeZone eastern("EST5EDT");
    const char* texts[] = {"07/01/2011 12:00:00", "01/15/2011 12:00:00"};
    for (const char* text : texts) {
        SCOPED_TRACE(text);
        CString back;
        ASSERT_TRUE(CTime::FromText(text).Format(back));
        EXPECT_STREQ(text, back.Chars());
    }
}

TEST(TimeTest, FormatPatternsFailuresAndBuffer)
{
    ScopedTimeZone utc("UTC0");
    CString text("old");
    ASSERT_TRUE(CTime(c20110512_134500).Format("%y%m%d", text));
    EXPECT_STREQ("110512", text.Chars());
    EXPECT_FALSE(CTime().Format("%Y", text));
    EXPECT_STREQ("", text.Chars());
    EXPECT_FALSE(CTime(0).Format("", text));
    EXPECT_GT(CTime::Now().Seconds(), 1577836800); // 2020-01-01

    // Each "%Y" (2 characters) writes 4: 49 of them need 197 of 198 characters, 50 need 201 of 200.
    std::string fits;
    for (int i = 0; i < 49; ++i)
        fits += "%Y";
    EXPECT_TRUE(CTime(c20110512_134500).Format(fits.c_str(), text));
    EXPECT_EQ(196, text.Length());
    EXPECT_FALSE(CTime(c20110512_134500).Format((fits + "%Y").c_str(), text));
}

} // namespace
