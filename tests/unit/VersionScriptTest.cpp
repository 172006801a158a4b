// The reply-script interpreter, driven through a subclass that records dialogs, steps, reports and URLs.
#include "VersionScript.h"

#include <string>
#include <vector>

#include "ShellOpen.h"
#include "TestSupport.h"
#include "VarList.h"

using namespace Orn;

namespace {

std::vector<std::string> cOpenedURLs;
void RecordURL(const char* url) { cOpenedURLs.push_back(url); }

const char* const cSettable[] = {"ShowTips", "LastTip", nullptr};

class CRecordingInterpreter;

// Logs each call. When run it presses the first button, then stores the unticked checkbox, as the reply dialog does.
class CRecordingDialog final : public IUpdateWatchDialog {
public:
    explicit CRecordingDialog(CRecordingInterpreter& interp);
    void SetTexts(const char* title, const char* message) override { Log(" texts(", title, "|", message, ")"); }
    void SetWidth(Int width) override { Log(" width(", std::to_string(width).c_str(), ")"); }
    bool AddCheckbox(const char* text, const char* varName, bool negate, CString& error) override
    {
        if (!mVar.empty()) {
            error = "only one checkbox allowed";
            return false;
        }
        Log(" checkbox(", text, ",", varName, negate ? ",neg)" : ")");
        mNegate = negate;
        mVar = varName;
        return true;
    }
    bool AddButton(const char* text, const char* label, bool isDefault, bool isClose, CString&) override
    {
        Log(" button(", text, ",", label, isDefault ? ",def" : "", isClose ? ",close)" : ")");
        mLabels.push_back(label);
        return true;
    }
    bool Run() override;
    void Release() override;

private:
    template <typename... Parts> void Log(const Parts&... parts);

    CRecordingInterpreter& mInterp;
    std::string mVar;
    bool mNegate = false;
    std::vector<std::string> mLabels;
};

class CRecordingInterpreter : public CVersionScriptInterpreter {
public:
    explicit CRecordingInterpreter(bool singleStep = false) : CVersionScriptInterpreter(singleStep) {}

    bool nestedRun = false; // a run started from within a step

    // What happened.
    std::vector<std::string> steps, reports;
    std::string dialogLog;
    int liveDialogs = 0;
    bool nestedResult = true;

protected:
    IUpdateWatchDialog* NewDialog() override { return new CRecordingDialog(*this); }
    bool CheckURL(const char* url) override { return Str::Find(url, "refused") < 0; }
    const char* const* SettableVariableNames() override { return cSettable; }
    bool ConfirmStep(const char* step) override
    {
        steps.push_back(step);
        CVarList other;
        if (nestedRun)
            nestedResult = Run("set $x, 1;", &other);
        return true;
    }
    void ReportError(const char* error) override { reports.push_back(error); }
};

CRecordingDialog::CRecordingDialog(CRecordingInterpreter& interp) : mInterp(interp) { ++mInterp.liveDialogs; }

template <typename... Parts> void CRecordingDialog::Log(const Parts&... parts) { ((mInterp.dialogLog += parts), ...); }

bool CRecordingDialog::Run()
{
    Log(" run");
    mInterp.Jump(mLabels.empty() ? "" : mLabels[0].c_str());
    if (!mVar.empty())
        mInterp.SetVariable(mVar.c_str(), mNegate ? "1" : "0");
    return true;
}

void CRecordingDialog::Release()
{
    Log(" released");
    --mInterp.liveDialogs;
    delete this;
}

std::string Report(const std::string& message, const std::string& excerpt)
{
    return "Script error: \"" + message + "\".\nCurrent token:\n" + excerpt;
}

class VersionScript : public ::testing::Test {
protected:
    void SetUp() override
    {
        GlobalVars.Clear();
        cOpenedURLs.clear();
        mOldHook = SetShellOpenHook(RecordURL);
    }
    void TearDown() override
    {
        SetShellOpenHook(mOldHook);
        GlobalVars.Clear();
    }
    static std::string Value(const CVarList& list, const char* name)
    {
        CString value;
        return list.GetValue(name, value) ? value.Chars() : "<undefined>";
    }
    static std::string Global(const char* name) { return Value(GlobalVars, name); }

    CVarList mReply;
    ShellOpenHook mOldHook = nullptr;
};

} // namespace

TEST_F(VersionScript, ErrorReports)
{
    struct Row {
        const char* script;
        const char* message;
        const char* excerpt; // from the token start, white space included
    };
    const Row rows[] = {
        {"set $a, 1;\n\xE9;", "unexpected character", "\n\xE9;"},
        {"set $a, -x;", "expected digit", " -x;"},
        {"set $a, \"ab\\", "bad string", " \"ab\\"},
        {"set $a, \"ab\\\";", "unclosed string", " \"ab\\\";"},
        {"set $a, 1", "looking for semicolon, but got end-of-script", ""},
        {"set $a, 012;", "looking for semicolon, but got number", "12;"},
        {"set $a, 0X1F;", "looking for semicolon, but got identifier", "X1F;"},
        {"goto :a;", "looking for identifier, but got label", " :a;"},
        {"set $a, 1;, goto x;", "expected command name (missing semicolon?)", ", goto x;"},
        {"Set $a, 1;", "unknown command", "Set $a, 1;"},
        {"set $a, $b;", "bad token type for value in 'set' command", " $b;"},
        {"if $u, 1, a, b, c;", "undefined variable ($u) for 'if' command", " $u, 1, a, b, c;"},
        {"if , 1, a, b, c;", "expected number or variable name", " , 1, a, b, c;"},
        {"dialog \"T\", \"m\", 5;", "expected option keyword", " 5;"},
        {"dialog \"T\", \"m\", size, 5;", "unknown dialog option (size)", " size, 5;"},
        {"dialog \"T\", \"m\", button, foo, \"x\", l;", "expected button text, def, or close", " foo, \"x\", l;"},
        {"dialog \"T\", \"m\", button, 5, l;", "expected button text", " 5, l;"},
        {"dialog \"T\", \"m\" x;", "expected semicolon", " x;"},
        {"dialog \"T\", \"m\", checkbox, \"a\", $a, checkbox, \"b\", $b;", "only one checkbox allowed", " $b;"},
        {"set $a, 1 abcdefghijklmnopqrstuvwxyz;", "looking for semicolon, but got identifier", " abcdefghijklmnopqrs"},
        {"open_new \"http://refused/\"; set $a, 1;", "illegal URL (http://refused/) for 'open_new' command",
         "; set $a, 1;"},
        {"set $a, \"($b)\"; set $b, \"($a)\"; open_new \"($a)\";", "illegal URL (($a)) for 'open_new' command", ";"},
        // The dialog's callbacks fail after it has run: an illegal checkbox variable, a missing button label
        // (after which the checkbox $z is not stored either).
        {"dialog \"T\", \"m\", checkbox, \"c\", ShowTipz, button, \"OK\", go; :go set $z, 1;",
         "illegal variable (ShowTipz) for 'set' command", " :go set $z, 1;"},
        {"dialog \"T\", \"m\", checkbox, \"c\", $z, button, \"OK\", gone; set $z, 1;",
         "can't find label (gone) for jump", ""},
        // A comment moves the token start past itself.
        {"set $a, 1 // why\n  goto x;", "looking for semicolon, but got identifier", "\n  goto x;"},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        GlobalVars.Clear();
        CRecordingInterpreter interp;
        EXPECT_FALSE(interp.Run(row.script, &mReply)) << row.script;
        ASSERT_EQ(interp.reports.size(), 1u) << row.script;
        EXPECT_EQ(interp.reports[0], Report(row.message, row.excerpt)) << row.script;
        EXPECT_EQ(interp.liveDialogs, 0) << row.script;
        EXPECT_EQ(Global("$z"), "<undefined>") << row.script;
        EXPECT_TRUE(cOpenedURLs.empty()) << row.script;
        EXPECT_NO_ASSERTS(rec) << row.script;
    }
}

TEST_F(VersionScript, BaseClassBehaviour)
{
    struct Row {
        const char* script;
        bool result;
        const char* error;
    };
    const Row rows[] = {
        {"dialog \"T\", \"m\", junk;", false, "subclass must override to implement dialogs"},
        {"set ShowTips, 1;", false, "illegal variable (ShowTips) for 'set' command"},
        {"open_new \"http://x/\"; set $a, 1;", true, ""},
    };
    for (const Row& row : rows) {
        CVersionScriptInterpreter interp;
        EXPECT_EQ(interp.Run(row.script, &mReply), row.result) << row.script;
        EXPECT_STREQ(interp.ErrorText(), row.error) << row.script;
    }
    EXPECT_EQ(cOpenedURLs, std::vector<std::string>{"http://x/"});
}

TEST_F(VersionScript, ScriptsThatEndWell)
{
    struct Row {
        const char* name;
        const char* script;
        const char* a; // the value of $a afterwards
    };
    const Row rows[] = {
        {"hex", "set $a, 0x1A;", "26"},
        {"negative", "set $a, -5;", "-5"},
        {"0x alone", "set $a, 0x;", "0"},
        {"hex wraps", "set $a, 0xffffffff;", "-1"},
        {"decimal wraps", "set $a, 4294967297;", "1"},
        {"escapes", "set $a, \"a\\tb\\\"c\";", "a\tb\"c"},
        {"no comment in a string", "set $a, \"// not a comment\";", "// not a comment"},
        {"white space between tokens", "set\t$a\r\n,\n\"v\"\n;", "v"},
        {"empty", "", "<undefined>"},
        {"labels and comments only", ":a :b\n// c\n:", "<undefined>"},
        {"goto next goes on", "goto next; set $a, 1;", "1"},
        {"goto exit ends", "goto exit; set $a, 1;", "<undefined>"},
        {"exit needs no label", "goto exit; :exit set $a, 1;", "<undefined>"},
        {"first label wins", "goto x; :x set $a, 1; goto exit; :x set $a, 2;", "1"},
        {"label text in a string", "goto x; set $s, \" :x set $a, 1; \"; :x set $a, 2;", "2"},
        {"labels are case-sensitive", "goto x; :X set $a, 1; goto exit; :x set $a, 2;", "2"},
        {"if with next goes on", "if 1, 2, next, b, b; set $a, 1; goto exit; :b set $a, 2;", "1"},
        {"backward search from the start",
         "set $a, 1; :top if $a, 1, next, again, next; goto exit; :again set $a, 2; goto top;", "2"},
    };
    for (const Row& row : rows) {
        GlobalVars.Clear();
        mReply.Clear();
        CRecordingInterpreter interp;
        EXPECT_TRUE(interp.Run(row.script, &mReply)) << row.name;
        EXPECT_TRUE(interp.reports.empty()) << row.name;
        EXPECT_EQ(Global("$a"), row.a) << row.name;
        EXPECT_EQ(Value(mReply, "$a"), row.a) << row.name;
    }
}

TEST_F(VersionScript, IfBranches)
{
    struct Row {
        const char* operands;
        const char* n; // value of the global $n, or null
        const char* taken;
    };
    const Row rows[] = {
        {"1, 2", nullptr, "lt"},
        {"2, 2", nullptr, "eq"},
        {"3, 2", nullptr, "gt"},
        {"0xFFFFFFFF, 0", nullptr, "lt"},
        {"\"a\", \"A\"", nullptr, "gt"},
        {"\"\\xE9\", \"z\"", nullptr, "gt"},
        // A numeric operand compares as the empty text against a string.
        {"\"abc\", 5", nullptr, "gt"},
        {"$n, 5", "", "lt"},
        {"$n, 1", "1-2", "eq"},
        {"$n, 0", "--5", "eq"},
        {"$n, \"9\"", "12", "lt"},
        {"$n, 5", "5x", "gt"},
        {"$n, 2147483647", "99999999999", "eq"},
    };
    for (const Row& row : rows) {
        GlobalVars.Clear();
        if (row.n)
            GlobalVars.Set("$n", row.n);
        std::string script = std::string("if ") + row.operands + ", lt, eq, gt; goto exit;"
                             " :lt set $r, \"lt\"; goto exit; :eq set $r, \"eq\"; goto exit; :gt set $r, \"gt\";";
        CRecordingInterpreter interp;
        EXPECT_TRUE(interp.Run(script.c_str(), &mReply)) << row.operands << " / " << interp.ErrorText();
        EXPECT_EQ(Global("$r"), row.taken) << row.operands << " with $n = " << (row.n ? row.n : "(none)");
    }
}

// Width, checkbox and def are uwscript's run test, def with close on one button the reply dialog's end-to-end
// test; here two dialogs in a row, each released before the next.
TEST_F(VersionScript, DialogCalls)
{
    CRecordingInterpreter interp;
    EXPECT_TRUE(interp.Run("dialog \"\", \"\", button, \"b\", two; :two dialog \"2\", \"x\", button, \"c\", exit;",
                           &mReply));
    EXPECT_EQ(interp.dialogLog, " texts(|) button(b,two) run released texts(2|x) button(c,exit) run released");
}

TEST_F(VersionScript, SingleStepConfirmsEachCommand)
{
    CRecordingInterpreter interp(true);
    EXPECT_TRUE(interp.Run("set $a, 1;\n goto b; :b set $c, 2;", &mReply));
    const std::vector<std::string> expected = {
        "Remaining script:\nset $a, 1;\n goto b; ",
        "Remaining script:\n;\n goto b; :b set $c",
        "Remaining script:\n :b set $c, 2;",
        "Remaining script:\n;",
    };
    EXPECT_EQ(interp.steps, expected);
}

// Programming errors: each is an assertion, and the run goes on or fails sensibly after it. A token without a
// name and a button that jumps to "next" are uwscript's check and run tests.
TEST_F(VersionScript, Assertions)
{
    OrnTest::AssertRecorder rec;
    CRecordingInterpreter interp(true);
    EXPECT_FALSE(interp.Run(nullptr, &mReply));
    EXPECT_ASSERTED(rec, "script");

    interp.nestedRun = true;
    EXPECT_TRUE(interp.Run("set $a, 1;", &mReply));
    EXPECT_FALSE(interp.nestedResult);
    EXPECT_ASSERTED(rec, "! mScript");
    EXPECT_EQ(Global("$x"), "<undefined>");
    EXPECT_EQ(Global("$a"), "1");

    CRecordingInterpreter noReply;
    EXPECT_TRUE(noReply.Run("set $d, 1;", nullptr));
    EXPECT_EQ(Global("$d"), "1");
}

TEST(VersionScriptEnvelope, Cut)
{
    struct Row {
        const char* page;
        const char* script;
        bool found;
    };
    const Row rows[] = {
        {"<html>[START]set $a, 1;[END]</html>", "set $a, 1;", true},
        {"a[START]b", "b", false},
        {"a[END]b", "a", false},
        {"[END]x[START]y[END]z", "y", true},
        {"[START]a[START]b[END]c[END]", "a[START]b", true},
        {"[start]a[end]", "[start]a[end]", false},
    };
    for (const Row& row : rows) {
        CString page(row.page);
        EXPECT_EQ(CutReplyEnvelope(page), row.found) << row.page;
        EXPECT_STREQ(page, row.script) << row.page;
    }
}
