// The version send (-vsend): what a parameter file puts on the wire, where the reply goes, and how a failed read
// or a file that cannot be opened ends the run.
#include <gtest/gtest.h>

#include "E2ESupport.h"
#include "Status.h"

using namespace E2E;
using OrnTest::HttpAnswer;
using OrnTest::HttpRequest;

namespace {

// Known product parameters only: an unknown name is an assertion, which ends the product.
const char cSmallParams[] = "EqTotal=1\r\nPagesTotal=2\r\n";

class VersionSendE2E : public VersionServerTest {};

} // namespace

TEST_F(VersionSendE2E, ParameterFileBecomesTheQueryAndTheReplyIsWrittenWhole)
{
    // CR LF line ends as a tester's editor writes them; a later line replaces an earlier value in place.
    TempFile params("uw_send_order.txt", "EqTotal=1\r\n"
                                         "=no name\r\n"
                                         "a line without the sign\r\n"
                                         "\r\n"
                                         "PagesTotal=7\r\n"
                                         "EqTotal=2\r\n"
                                         "Notify=a b&c=d\r\n"
                                         "MathZoom=\r\n"
                                         "SunJVMVer=1.8.0_25~x/y\r\n"
                                         "IEVer=11.0");
    TempFile out("uw_send_order.out");
    // A reply without an envelope of every byte but NUL and the line ends: written whole, with CR LF.
    std::string bytes;
    for (int c = 1; c < 256; ++c)
        if (c != '\n' && c != '\r')
            bytes += static_cast<char>(c);
    mServer.Enqueue(HttpAnswer::Page("line one\r\nline two\n" + bytes));

    // -out before -norun: the order in which both options are seen.
    RunResult r = Run("-s -vsend " + params.Arg() + " -out " + out.Arg() + " -norun");
    EXPECT_EQ(r.exitCode, 0u);
    HttpRequest request = OnlyRequest();
    // Method, path and the non-standard box come from the same check as -v's, whose test asserts them.
    EXPECT_EQ(request.query, "EqTotal=2&PagesTotal=7&Notify=a+b%26c%3Dd&MathZoom=&SunJVMVer=1.8.0_25%7Ex%2Fy"
                             "&IEVer=11.0")
        << "only the file's parameters, strictly form-encoded";
    EXPECT_EQ(request.Header("User-Agent"), "VRL Version Checker");
    std::string log = Log();
    EXPECT_TRUE(HasText(log, "Success: Version send\r\n")) << log;
    EXPECT_FALSE(HasText(log, "Dumping variables set by version script")) << "-norun does not run the reply";
    EXPECT_TRUE(ReadFile(out.Path()) == "line one\r\nline two\r\n" + bytes);
}

// -step asks before each command of the reply, as the other jobs do.
TEST_F(VersionSendE2E, WithoutNorunTheReplyRunsAndIsDumpedButNotStored)
{
    TempFile params("uw_send_run.txt", cSmallParams);
    TempFile out("uw_send_run.out");
    mServer.Enqueue(HttpAnswer::Page("[START]set $answer, \"42\";[END]"));

    std::vector<std::string> steps;
    RunResult r = RunUpdateWatch("-s -vsend " + params.Arg() + " -out " + out.Arg() + " -step", [&](const Window& w) {
        if (IsNonStandardBox(w))
            return Answer::Press(IDOK);
        steps.push_back(w.text);
        return Answer::Press(w.caption == "UpdateWatch" ? IDYES : -1);
    });
    EXPECT_EQ(r.exitCode, 0u);
    ASSERT_FALSE(steps.empty());
    EXPECT_EQ(steps[0], "Single step:\nRemaining script:\nset $answer, \"42\";\nDo you want to continue?");
    std::string log = Log();
    EXPECT_TRUE(HasText(log, "Start: Dumping variables set by version script {\r\n")) << log;
    EXPECT_TRUE(HasText(log, "$answer\t=\t\"42\"\r\n")) << log;
    EXPECT_TRUE(HasText(log, "Success: Version send\r\n")) << log;
    EXPECT_EQ(ReadFile(out.Path()), "set $answer, \"42\";");
    EXPECT_FALSE(RegKeyExists(HKEY_CURRENT_USER, ReplyKey)) << "only the version check stores a reply";
}

// How the options, the parameters and the server's answer decide a send's end; OUT in the options stands for the
// output path. How each answer reads is the page reader's own table; here how the program reports a failed read.
TEST_F(VersionSendE2E, OptionsParametersAndAnswerDecideTheEnd)
{
    struct Row {
        const char* name;
        const char* params;
        const char* options;
        const char* out;
        int httpStatus;
        unsigned exitCode;
        std::size_t requests;
        std::string logged;
        const char* absent;
    };
    const Row rows[] = {
        {"-out after -norun is never read", cSmallParams, " -norun -out OUT", "uw_send.out", 200, 0, 1,
         "Success: Version send\r\n", "Dumping variables set by version script"},
        {"an output file that cannot be made is not reported", cSmallParams, " -out OUT -norun",
         "uw_no_such_dir\\reply.txt", 200, 0, 1, "Exit code = 'exitOk' (0).\r\n", "Failure: Version send"},
        {"an unknown name is an assertion, which ends the program on the spot", "Bogus=1\r\n", " -norun",
         "uw_send.out", 200, 1, 0, "Nimbra log started (", "Nimbra log ends"},
        {"a failed read writes no reply", cSmallParams, " -out OUT -norun", "uw_send.out", 500, 3, 1,
         StatusFailureLine("E_InternetBadHTTPStatus", Orn::E_InternetBadHTTPStatus.Word(), "Do version check"),
         "Success: Version send"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        TempFile params("uw_send_params.txt", row.params);
        TempFile out(row.out);
        std::string options = row.options;
        std::size_t at = options.find("OUT");
        if (at != std::string::npos)
            options.replace(at, 3, out.Arg());
        std::size_t before = mServer.Requests().size();
        DeleteFileIfAny(LogPath());
        mServer.SetDefault(HttpAnswer::Page("[START]set $x, \"1\";[END]", row.httpStatus));
        RunResult r = Run("-s -vsend " + params.Arg() + options);
        EXPECT_EQ(r.exitCode, row.exitCode);
        EXPECT_EQ(mServer.Requests().size(), before + row.requests) << "nothing is fetched twice";
        EXPECT_FALSE(FileExists(out.Path()));
        std::string log = Log();
        EXPECT_TRUE(HasText(log, row.logged)) << log;
        EXPECT_FALSE(HasText(log, row.absent)) << log;
    }
}

TEST_F(VersionSendE2E, UnopenableParameterFileFailsWithoutARequest)
{
    struct Row {
        const char* options;
        const char* logged;
        std::size_t boxes;
        std::size_t longer; // a path longer than one formatted log line may be
    };
    const Row rows[] = {{"", "MessageDialog: displayed\r\n", 1, 0},
                        {"-s ", "MessageDialog (suppressed due to -s option):\r\n", 0, 2500}};
    TempFile missing("uw_send_missing_params.txt");
    for (const Row& row : rows) {
        const std::string path = missing.Path() + std::string(row.longer, 'x');
        const std::string message = "Can't open version params file (" + path + ").";
        DeleteFileIfAny(LogPath());
        std::vector<std::string> boxTexts;
        RunResult r = RunUpdateWatch(row.options + std::string("-vsend \"") + path + "\" -norun",
                                     [&boxTexts](const Window& w) {
                                         boxTexts.push_back(w.text);
                                         return Answer::Press(w.caption == "UpdateWatch" ? IDOK : -1);
                                     });
        EXPECT_EQ(r.exitCode, 3u) << row.options;
        ASSERT_EQ(boxTexts.size(), row.boxes) << row.options;
        if (row.boxes) {
            EXPECT_EQ(boxTexts[0].rfind(message, 0), 0u) << boxTexts[0];
        }
        std::string log = Log();
        EXPECT_TRUE(HasText(log, row.logged + message + "\r\n")) << log;
        EXPECT_TRUE(HasText(log, "Failure: Version send\r\n")) << log;
        EXPECT_TRUE(HasText(log, "Exit code = 'exitBadUpdateWatch' (3).\r\n")) << log;
    }
    EXPECT_TRUE(mServer.Requests().empty());
}
