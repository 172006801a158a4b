// uwserver report: record lines read or refused with the reason, and the counts of a known record, merged
// from two servers' files, as text and as a page that holds nothing active.
#include "RecordReport.h"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "RecordReader.h"
#include "TestSupport.h"

namespace {

const std::string cTime = R"({"time":"2024-05-01T00:00:00Z","status":200)";

// A served request of a machine: its identity values, version, system, language and reply.
std::string Line(const std::string& time, const std::string& identity, const std::string& version,
                 const std::string& system, const std::string& language, const std::string& reply, int status = 200)
{
    return R"({"time":"2024-05-0)" + time + R"(Z","method":"GET","path":"/updatewatch/updatewatch.aspx","params":{)" +
           identity + R"(,"VR_OS":"WIN","VR_OSVer":")" + system + R"(","VR_OSLang":")" + language +
           R"(","VR_ProdVer":")" + version + R"("},"status":)" + std::to_string(status) + R"(,"reply":)" + reply +
           "}\n";
}

const std::string cM1 = R"("VR_Random":"11","VR_MachTime":"100","VR_UserTime":"7","VR_MACAddr":"none")";
const std::string cM2 = R"("VR_Random":"1","VR_MachTime":"1","VR_UserTime":"1","VR_MACAddr":"00AA")";
const std::string cU = R"("VR_Random":"1","VR_MachTime":"1","VR_UserTime":"500","VR_MACAddr":"none")";
const std::string cNobody = R"("VR_Random":"1","VR_MachTime":"1","VR_UserTime":"1","VR_MACAddr":"none")";

} // namespace

TEST(RecordReport, LinesAreReadOrRefusedWithTheReason)
{
    const struct {
        std::string line;
        const char* why;
    } refused[] = {
        {"", "expected '{'"},
        {R"({"time":"2024-05-01T00:00:00Z"})", "no status"},
        {R"({"time":"2024-05-01 00:00:00","status":200})", "no time"},
        {cTime + "} x", "text after the record"},
        {cTime + R"(,"time":"2024-05-01T00:00:00Z" "x":1})", "expected ',' or '}'"},
        {R"({"time":"2024-05-01T00:00:00Z","status":200.5})",
         "the status is not a whole number of at most four digits"},
        {cTime + R"(,"params":{"a":1}})", "expected a text"},
        {cTime + R"(,"params":["a"]})", "expected the parameters as an object"},
        {cTime + R"(,"x":"\q"})", "bad escape in a text"},
        {cTime + R"(,"x":"\u00G0"})", "bad escape in a text"},
        {cTime + ",\"x\":\"a\tb\"}", "control character in a text"},
        {cTime + R"(,"x":})", "expected a value"},
        {cTime + R"(,"x":"abc)", "unfinished text"},
        {cTime + ",\"x\":" + std::string(17, '[') + std::string(17, ']') + "}", "nested too deeply"},
    };
    CRecordParser parser;
    CRecordLine line;
    for (const auto& row : refused) {
        std::string why;
        EXPECT_FALSE(parser.Parse(row.line, line, why)) << row.line;
        EXPECT_EQ(why, row.why) << row.line;
    }
    std::string why;
    const std::string text = cTime + R"(,"x":[1,-2.5e3,{"y":[null,true,false]}],"reply":"a\"b\\c\u00e9\u20ac",)"
                                     R"("params":{"B":"2","A":"\/"} ,"path":"/p"})";
    ASSERT_TRUE(parser.Parse(text, line, why)) << why;
    EXPECT_EQ(line.reply, "a\"b\\c\xE9\xE2\x82\xAC");
    EXPECT_EQ(line.path, "/p");
    ASSERT_EQ(line.params.size(), 2u);
    EXPECT_EQ(line.params[0].first, "B");
    EXPECT_EQ(line.Param("A"), "/");
    const std::string nullReply = cTime + R"(,"reply":null})";
    ASSERT_TRUE(parser.Parse(nullReply, line, why));
    EXPECT_EQ(line.reply, "");
    EXPECT_TRUE(line.params.empty());
}

// Two servers' records: file a holds the machine U on both days and b holds it on the first too, so only
// reading both in time order counts U once that day. M1 updates during the first day.
TEST(RecordReport, CountsAKnownRecordPerDayAndInTotal)
{
    OrnTest::CScratchDir dir("records");
    std::string a = dir.Write(
        "a", Line("1T10:00:00", cM1, "3.10.0.0", "10.0", "en-US", "\"update.txt\"") +
                 Line("1T11:00:00", cM1, "3.20.0.0", "10.0", "en-US", "\"uptodate.txt\"") +
                 Line("1T12:00:00", cU, "3.10.0.0", "6.1", "d\\u00e9", "\"update.txt\"") +
                 "{\"time\":\"2024-05-01T12:30:00Z\"\n" +
                 Line("1T13:00:00", cM1, "3.20.0.0", "10.0", "en-US", "null", 400) +
                 Line("2T08:00:00", cU, "3.10.0.0", "6.1", "d\\u00e9", "\"update.txt\"") + "garbage\n" +
                 Line("2T09:00:00", cM1, "3.20.0.0", "10.0", "en-US", "\"uptodate.txt\"") +
                 Line("2T10:00:00", cNobody, "3.20.0.0", "10.0", "en-US", "\"uptodate.txt\""));
    std::string bLines = Line("1T11:30:00", cM2, "3.10.0.0", "10.0", "en-US", "\"update.txt\"") +
                         Line("1T13:30:00", cU, "3.10.0.0", "6.1", "d\\u00e9", "\"update.txt\"") +
                         std::string(CRecordReader::cMaxLine + 1, 'x') + "\n" +
                         Line("2T09:30:00", cM2, "3.10.0.0", "10.0", "en-US", "\"update.txt\"");
    bLines.pop_back(); // the last line of a file that a server was writing when it stopped
    std::string b = dir.Write("b", bLines);
    std::string out, err;
    EXPECT_EQ(RunReport({a, b}, out, err), 0);
    EXPECT_EQ(err, a + ":4: damaged record line skipped: expected ',' or '}'\n" + b +
                       ":3: damaged record line skipped: longer than 65536 bytes\n" + a +
                       ":7: damaged record line skipped: expected '{'\n");
    const char* const blocks[] = {
        "== total, 2024-05-01 to 2024-05-02\n"
        "requests 10, served 9, refused 1; machines 3; served without a machine identity 1\n",
        "== 2024-05-01\nrequests 6, served 5, refused 1; machines 3; served without a machine identity 0\n"
        "machines by version\n"
        "  3.2 (3.20.0.0)                                    1   33.3%\n"
        "  3.1 (3.10.0.0)                                    3  100.0%\n"
        "machines by system\n"
        "  WIN 10.0                                          2   66.7%\n"
        "  WIN 6.1                                           1   33.3%\n"
        "machines by language\n"
        "  en-US                                             2   66.7%\n"
        "  d\\xE9                                             1   33.3%\n"
        "replies served\n"
        "  update.txt                                        4   80.0%\n"
        "  uptodate.txt                                      1   20.0%\n",
        "== 2024-05-02\nrequests 4, served 4, refused 0; machines 3; served without a machine identity 1\n"
        "machines by version\n"
        "  3.2 (3.20.0.0)                                    1   33.3%\n"
        "  3.1 (3.10.0.0)                                    2   66.7%\n",
        "replies served\n"
        "  update.txt                                        2   50.0%\n"
        "  uptodate.txt                                      2   50.0%\n",
    };
    EXPECT_EQ(out.substr(0, out.find('\n') + 1), "records: 2 file(s), 13 lines, 3 damaged lines skipped\n");
    for (const char* block : blocks)
        EXPECT_NE(out.find(block), std::string::npos) << block << "\nin:\n" << out;
}

TEST(RecordReport, HtmlPageHoldsTheChartsAndNothingActive)
{
    OrnTest::CScratchDir dir("records");
    std::string record =
        dir.Write("r", Line("1T10:00:00", cM1, "3.10.0.0", "10.0", "<script>alert(1)</script>", "\"a.txt\""));
    std::string page = dir.Path() + "/page.html", out, err;
    ASSERT_EQ(RunReport({record, "--html", page}, out, err), 0) << err;
    std::stringstream html;
    html << std::ifstream(page).rdbuf();
    EXPECT_EQ(html.str().find("<script"), std::string::npos);
    EXPECT_NE(html.str().find("&#60;script&#62;alert(1)&#60;/script&#62;"), std::string::npos);
    EXPECT_NE(html.str().find("Content-Security-Policy"), std::string::npos);
    EXPECT_EQ(RunReport({record, "--html", dir.Path() + "/no/such/dir.html"}, out, err), 1);
    EXPECT_EQ(RunReport({dir.Path() + "/none"}, out, err), 1);
    EXPECT_EQ(RunReport({"--html", page}, out, err), 2);
}

// However many labels and days a record holds, the counts stay bounded: labels beyond the limit count
// together, and a day beyond the limit is refused.
TEST(RecordReport, HostileRecordsStayBounded)
{
    CRecordTally tally;
    CRecordLine line;
    line.status = 200;
    line.time = "2024-05-01T00:00:00Z";
    std::vector<std::string> languages;
    for (std::size_t i = 0; i <= CRecordTally::cMaxLabels; ++i)
        languages.push_back("lang-" + std::to_string(i));
    for (std::size_t i = 0; i <= CRecordTally::cMaxLabels; ++i) {
        line.params = {{"VR_UserTime", languages[i]}, {"VR_OSLang", languages[i]}};
        ASSERT_TRUE(tally.Add(line));
    }
    ASSERT_EQ(tally.Labels(CRecordTally::kLanguage).size(), CRecordTally::cMaxLabels + 1);
    EXPECT_EQ(tally.Labels(CRecordTally::kLanguage).back(), "(other)");
    EXPECT_EQ(tally.Total().Count(CRecordTally::kLanguage, CRecordTally::cMaxLabels), 1u);
    // One day is counted already; the days up to the limit are taken, the one after is not.
    char time[32];
    for (int d = 0; d < int(CRecordTally::cMaxDays); ++d) {
        std::snprintf(time, sizeof time, "%04d-%02d-%02dT00:00:00Z", 3000 + d / 360, d % 360 / 30 + 1, d % 30 + 1);
        line.time = time;
        ASSERT_EQ(tally.Add(line), d + 1 < int(CRecordTally::cMaxDays)) << time;
    }
    EXPECT_EQ(tally.Days().size(), CRecordTally::cMaxDays);
}
