// Error reports written to a stream as data and read back, and what a reader does with anything else.
#include "ErrorHandler.h"

#include <climits>
#include <string>
#include <utility>
#include <vector>

#include "MemStream.h"
#include "TestSupport.h"

using namespace Orn;

namespace {

CErrorData Sample()
{
    CErrorData data;
    data.message = "Can't open <File>.";
    data.options = 0x0000F00F;
    data.helpId = 42;
    data.banner = "Nimbra";
    return data;
}

std::string Written(const CErrorData& data)
{
    CMemHandStream stream;
    EXPECT_TRUE(WriteErrorData(stream, data));
    return std::string(reinterpret_cast<const char*>(stream.Data()), static_cast<size_t>(stream.Size()));
}

bool ReadBack(const std::string& bytes, CErrorData& data)
{
    CMemStream stream(bytes.data(), static_cast<Int>(bytes.size()));
    return ReadErrorData(stream, data);
}

} // namespace

TEST(ErrorData, RoundTrip)
{
    CErrorData empty;
    for (const CErrorData& data : {Sample(), empty}) {
        CErrorData back;
        back.message = "stale";
        ASSERT_TRUE(ReadBack(Written(data), back));
        EXPECT_STREQ(back.message, data.message);
        EXPECT_EQ(back.options, data.options);
        EXPECT_EQ(back.helpId, data.helpId);
        EXPECT_STREQ(back.banner, data.banner);
    }
}

TEST(ErrorData, WriterRefusesWhatCannotBeStored)
{
    struct Row { const char* name; DWord options; Int64 helpId; const char* assertion; };
    const Row rows[] = {
        {"message type", errWARNING, 1, "(options & errTYPE_MASK) == errOK"},
        {"negative help id", errOK, -1, "helpId>=0"},
        {"help id too big", errOK, Int64(INT_MAX) + 1, "helpId<=INT_MAX"},
    };
    for (const Row& row : rows) {
        CErrorData data = Sample();
        data.options = row.options;
        data.helpId = row.helpId;
        CMemHandStream stream;
        OrnTest::AssertRecorder rec;
        EXPECT_FALSE(WriteErrorData(stream, data)) << row.name;
        EXPECT_EQ(stream.Size(), 0) << row.name;
        EXPECT_EQ(rec.Asserts(), std::vector<std::string>{row.assertion}) << row.name;
    }
}

TEST(ErrorData, ReaderReportsAnythingElse)
{
    const std::string good = Written(Sample());
    // Options at 4 (message type in byte 6), help id at 8, message length at 12, message at 16.
    auto patched = [&good](size_t at, const std::string& b) { return std::string(good).replace(at, b.size(), b); };
    std::vector<std::pair<std::string, std::string>> rows = {
        {"empty", ""},
        {"other signature", patched(0, "ERRX")},
        {"message type in the options", patched(6, "\x01")},
        {"negative length", patched(12, "\xFF\xFF\xFF\xFF")},
        {"NUL in the message", patched(16, std::string(1, '\0'))},
    };
    for (size_t cut = 1; cut < good.size(); ++cut)
        rows.push_back({"cut at " + std::to_string(cut), good.substr(0, cut)});
    for (const auto& row : rows) {
        OrnTest::CCaptureHandler handler;
        CErrorData back;
        EXPECT_FALSE(ReadBack(row.second, back)) << row.first;
        EXPECT_EQ(handler.mReports, std::vector<std::string>{"Error: Unexpected error data."}) << row.first;
    }
}
