// The reply-script interpreter, driven through a subclass that records dialogs, steps, reports and URLs.
#include "VersionScript.h"

#include <deque>
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
constexpr int cPressClose = -1; // Esc or the close box

class CRecordingInterpreter;

// Keeps the reply dialog's add rules and logs each call. When run it presses the scripted button, then stores
// the checkbox, as the reply dialog does.
class CRecordingDialog final : public IUpdateWatchDialog {
public:
    CRecordingDialog(CRecordingInterpreter& interp, std::string& log) : mInterp(interp), mLog(log) {}
    void SetTexts(const char* title, const char* message) override
    {
        mLog += std::string("texts(") + title + "|" + message + ")";
    }
    void SetWidth(Int width) override { mLog += " width(" + std::to_string(width) + ")"; }
    bool AddCheckbox(const char* text, const char* varName, bool negate, CString& error) override;
    bool AddButton(const char* text, const char* label, bool isDefault, bool isClose, CString& error) override;
    bool Run() override;
    void Release() override
    {
        mLog += " released";
        delete this;
    }

private:
    CRecordingInterpreter& mInterp;
    std::string& mLog;
    std::string mVar;
    bool mNegate = false;
    std::vector<std::string> mLabels;
    int mDefault = -1, mClose = -1;
};

class CRecordingInterpreter : public CVersionScriptInterpreter {
public:
    explicit CRecordingInterpreter(bool singleStep = false) : CVersionScriptInterpreter(singleStep) {}

    // Scripted answers.
    int stepsAllowed = -1; // confirmations answered yes before the first no; -1: always yes
    int press = 0;         // button index, or cPressClose
    bool checked = false;
    bool urlsAllowed = true;
    bool nestedRun = false;

    // What happened.
    std::vector<std::string> steps, reports, checkedURLs, extra;
    std::deque<std::string> dialogs; // one log per dialog
    bool nestedResult = true;

protected:
    IUpdateWatchDialog* NewDialog() override
    {
        dialogs.emplace_back();
        return new CRecordingDialog(*this, dialogs.back());
    }
    bool RunExtraCommand(const char* name) override
    {
        if (!Str::Equal(name, "beep"))
            return false;
        Expect(tokNumber);
        extra.push_back(std::to_string(NumberValue()));
        Expect(tokSemicolon);
        return true;
    }
    bool CheckURL(const char* url) override
    {
        checkedURLs.push_back(url);
        return urlsAllowed;
    }
    const char* const* SettableVariableNames() override { return cSettable; }
    bool ConfirmStep(const char* step) override
    {
        steps.push_back(step);
        if (nestedRun) {
            CVarList other;
            nestedResult = Run("set $x, 1;", &other);
        }
        return stepsAllowed < 0 || int(steps.size()) <= stepsAllowed;
    }
    void ReportError(const char* error) override { reports.push_back(error); }
};

bool CRecordingDialog::AddCheckbox(const char* text, const char* varName, bool negate, CString& error)
{
    if (!mVar.empty()) {
        error = "only one checkbox allowed";
        return false;
    }
    mVar = varName;
    mNegate = negate;
    mLog += std::string(" checkbox(") + text + "," + varName + (negate ? ",neg)" : ")");
    return true;
}

bool CRecordingDialog::AddButton(const char* text, const char* label, bool isDefault, bool isClose, CString& error)
{
    error = mLabels.size() == 3             ? "too many buttons"
            : isDefault && mDefault >= 0 ? "multiple default buttons"
            : isClose && mClose >= 0     ? "multiple close buttons"
                                         : "";
    if (!error.IsEmpty())
        return false;
    if (isDefault)
        mDefault = int(mLabels.size());
    if (isClose)
        mClose = int(mLabels.size());
    mLabels.push_back(label);
    mLog += std::string(" button(") + text + "," + label + (isDefault ? ",def" : "") + (isClose ? ",close)" : ")");
    return true;
}

// Closing means the close button, or slot 0 when there is none.
bool CRecordingDialog::Run()
{
    mLog += " run";
    size_t index = mInterp.press != cPressClose ? mInterp.press : (mClose >= 0 ? mClose : 0);
    mInterp.Jump(index < mLabels.size() ? mLabels[index].c_str() : "");
    if (!mVar.empty())
        mInterp.SetVariable(mVar.c_str(), mInterp.checked != mNegate ? "1" : "0");
    return true;
}

bool EndsWith(const std::string& s, const std::string& tail)
{
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
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
        const char* excerpt;
    };
    const Row rows[] = {
        {"set $a, 1; !x", "unexpected character", " !x"},
        {"_a;", "unexpected character", "_a;"},
        {"set $a, 1;\n\xE9;", "unexpected character", "\n\xE9;"},
        {"\vset $a, 1;", "unexpected character", "\vset $a, 1;"},
        {"set $a, -x;", "expected digit", " -x;"},
        {"set $a, \"ab\\", "bad string", " \"ab\\"},
        {"set $a, \"ab", "unclosed string", " \"ab"},
        {"set $a, \"ab\\\";", "unclosed string", " \"ab\\\";"},
        {"set $a 1;", "looking for comma, but got number", " 1;"},
        {"set $a, 1 goto x;", "looking for semicolon, but got identifier", " goto x;"},
        {"set $a, 1", "looking for semicolon, but got end-of-script", ""},
        {"set $a, 012;", "looking for semicolon, but got number", "12;"},
        {"set $a, 0X1F;", "looking for semicolon, but got identifier", "X1F;"},
        {"goto :a;", "looking for identifier, but got label", " :a;"},
        {"open_new 5;", "looking for string, but got number", " 5;"},
        {"dialog \"T\" \"m\";", "looking for comma, but got string", " \"m\";"},
        {"set $a, 1;, goto x;", "expected command name (missing semicolon?)", ", goto x;"},
        {"set $a, 1; / x", "expected command name (missing semicolon?)", " / x"},
        {"5;", "expected command name (missing semicolon?)", "5;"},
        {"  frob;", "unknown command", "  frob;"},
        {"Set $a, 1;", "unknown command", "Set $a, 1;"},
        {"set x, 1;", "illegal variable (x) for 'set' command", ";"},
        {"set $a, $b;", "bad token type for value in 'set' command", " $b;"},
        {"if $u, 1, a, b, c;", "undefined variable ($u) for 'if' command", " $u, 1, a, b, c;"},
        {"if , 1, a, b, c;", "expected number or variable name", " , 1, a, b, c;"},
        {"goto nowhere;\n", "can't find label (nowhere) for jump", "\n"},
        {"goto A;\n:a", "can't find label (A) for jump", ""},
        {"dialog \"T\", \"m\", 5;", "expected option keyword", " 5;"},
        {"dialog \"T\", \"m\", size, 5;", "unknown dialog option (size)", " size, 5;"},
        {"dialog \"T\", \"m\", button, foo, \"x\", l;", "expected button text, def, or close", " foo, \"x\", l;"},
        {"dialog \"T\", \"m\", button, 5, l;", "expected button text", " 5, l;"},
        {"dialog \"T\", \"m\" x;", "expected semicolon", " x;"},
        {"dialog \"T\", \"m\", checkbox, \"a\", $a, checkbox, \"b\", $b;", "only one checkbox allowed", " $b;"},
        {"dialog \"T\", \"m\", button, \"1\", a, button, \"2\", b, button, \"3\", c, button, \"4\", d;",
         "too many buttons", " d;"},
        {"dialog \"T\", \"m\", button, def, \"1\", a, button, def, \"2\", b;", "multiple default buttons", " b;"},
        {"dialog \"T\", \"m\", button, close, \"1\", a, button, close, \"2\", b;", "multiple close buttons", " b;"},
        {"set $a, 1 abcdefghijklmnopqrstuvwxyz;", "looking for semicolon, but got identifier", " abcdefghijklmnopqrs"},
        {"set $a, 1 // why\n  goto x;", "looking for semicolon, but got identifier", "\n  goto x;"},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        GlobalVars.Clear();
        CRecordingInterpreter interp;
        EXPECT_FALSE(interp.Run(row.script, &mReply)) << row.script;
        ASSERT_EQ(interp.reports.size(), 1u) << row.script;
        EXPECT_EQ(interp.reports[0], Report(row.message, row.excerpt)) << row.script;
        EXPECT_STREQ(interp.ErrorText(), row.message) << row.script;
        for (const std::string& log : interp.dialogs)
            EXPECT_TRUE(EndsWith(log, ") released")) << row.script << ": " << log;
        EXPECT_TRUE(cOpenedURLs.empty()) << row.script;
        EXPECT_NO_ASSERTS(rec) << row.script;
    }
}

TEST_F(VersionScript, UnnamedTokenKindAsserts)
{
    OrnTest::AssertRecorder rec;
    CRecordingInterpreter interp;
    EXPECT_FALSE(interp.Run("goto /;", &mReply));
    ASSERT_EQ(interp.reports.size(), 1u);
    EXPECT_EQ(interp.reports[0], Report("looking for identifier, but got (unknown)", " /;"));
    EXPECT_ASSERTED(rec, "unknown tokenType");
    rec.Clear();
    EXPECT_STREQ(CVersionScriptInterpreter::TokenTypeName(tokSlash), "(unknown)");
    EXPECT_ASSERTED(rec, "unknown tokenType");
}

TEST_F(VersionScript, ScriptsWithoutCommandsSucceed)
{
    for (const char* script : {"", " \t\r\n", "// only a comment", ":a :b\n// c\n:", "//", ":"}) {
        CRecordingInterpreter interp;
        EXPECT_TRUE(interp.Run(script, &mReply)) << script;
        EXPECT_TRUE(interp.reports.empty()) << script;
        EXPECT_EQ(mReply.Count(), 0) << script;
    }
}

TEST_F(VersionScript, SetValues)
{
    struct Row {
        const char* script;
        const char* name;
        const char* expected;
    };
    const Row rows[] = {
        {"set $a, \"text\";", "$a", "text"},
        {"set ShowTips, 0x1A;", "ShowTips", "26"},
        {"set $a, -5;", "$a", "-5"},
        {"set $a, 0x;", "$a", "0"},
        {"set $a, 0xffffffff;", "$a", "-1"},
        {"set $a, 4294967297;", "$a", "1"},
        {"set $a, 2147483648;", "$a", "-2147483648"},
        {"set $a, \"a\\tb\\\"c\";", "$a", "a\tb\"c"},
        {"set $a, \"// not a comment\";", "$a", "// not a comment"},
        {"set\t$x_1\r\n,\n\"v\"\n;", "$x_1", "v"},
        {"set $, 1;", "$", "1"},
    };
    for (const Row& row : rows) {
        GlobalVars.Clear();
        mReply.Clear();
        CRecordingInterpreter interp;
        EXPECT_TRUE(interp.Run(row.script, &mReply)) << row.script;
        EXPECT_EQ(Global(row.name), row.expected) << row.script;
        EXPECT_EQ(Value(mReply, row.name), row.expected) << row.script;
    }
}

TEST_F(VersionScript, ReplyListHoldsWhatTheScriptSet)
{
    GlobalVars.Set("Other", "kept");
    GlobalVars.Set("ShowTips", "old");
    CRecordingInterpreter interp;
    EXPECT_TRUE(interp.Run("set $b, 1; set ShowTips, 2; set $b, 3;", &mReply));
    EXPECT_EQ(mReply.Count(), 2);
    EXPECT_EQ(Value(mReply, "$b"), "3");
    EXPECT_EQ(Global("ShowTips"), "2");
    EXPECT_EQ(Global("Other"), "kept");
    EXPECT_EQ(Value(mReply, "Other"), "<undefined>");
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
        {"frob;", false, "unknown command"},
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

TEST_F(VersionScript, ExtraCommandsReadTheirOwnTokens)
{
    CRecordingInterpreter interp;
    EXPECT_TRUE(interp.Run("beep 3; set $a, 1; beep -0x2;", &mReply));
    EXPECT_EQ(interp.extra, (std::vector<std::string>{"3", "-2"}));
    EXPECT_EQ(Global("$a"), "1");
}

TEST_F(VersionScript, Jumps)
{
    struct Row {
        const char* name;
        const char* script;
        const char* a; // the value of $a afterwards
    };
    const Row rows[] = {
        {"goto next goes on", "goto next; set $a, 1;", "1"},
        {"goto exit ends", "goto exit; set $a, 1;", "<undefined>"},
        {"exit needs no label", "goto exit; :exit set $a, 1;", "<undefined>"},
        {"forward", "goto b; set $a, 1; :b set $a, 2;", "2"},
        {"first label wins", "goto x; :x set $a, 1; goto exit; :x set $a, 2;", "1"},
        {"label text in a string", "goto x; set $s, \" :x set $a, 1; \"; :x set $a, 2;", "2"},
        {"label text in a comment", "goto x; // :x\n set $a, 1; :x set $a, 2;", "2"},
        {"labels are case-sensitive", "goto x; :X set $a, 1; goto exit; :x set $a, 2;", "2"},
        {"adjacent labels", "goto b; ::b set $a, 1;", "1"},
        {"if with next goes on", "if 1, 2, next, b, b; set $a, 1; goto exit; :b set $a, 2;", "1"},
        {"backward search from the start",
         "set $a, 1; :top if $a, 1, next, again, next; goto exit; :again set $a, 2; goto top;", "2"},
    };
    for (const Row& row : rows) {
        GlobalVars.Clear();
        CRecordingInterpreter interp;
        EXPECT_TRUE(interp.Run(row.script, &mReply)) << row.name;
        EXPECT_EQ(Global("$a"), row.a) << row.name;
        EXPECT_EQ(Global("$s"), "<undefined>") << row.name;
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
        {"-1, 0", nullptr, "lt"},
        {"0xFFFFFFFF, 0", nullptr, "lt"},
        {"\"abc\", \"abd\"", nullptr, "lt"},
        {"\"b\", \"a\"", nullptr, "gt"},
        {"\"a\", \"a\"", nullptr, "eq"},
        {"\"a\", \"A\"", nullptr, "gt"},
        {"\"\\xE9\", \"z\"", nullptr, "gt"},
        {"\"abc\", 5", nullptr, "gt"},
        {"5, \"abc\"", nullptr, "lt"},
        {"\"\", 5", nullptr, "eq"},
        {"$n, 5", "", "lt"},
        {"$n, 7", "7", "eq"},
        {"$n, 1", "1-2", "eq"},
        {"$n, -4", "-3", "gt"},
        {"$n, 0", "--5", "eq"},
        {"$n, \"9\"", "12", "lt"},
        {"$n, \"abc\"", "abc", "eq"},
        {"$n, 5", "5x", "gt"},
        {"$n, 2147483647", "99999999999", "eq"},
        {"$n, -2147483648", "-99999999999", "eq"},
        {"$n, $n", "x", "eq"},
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

TEST_F(VersionScript, OpenNewSubstitutesAndChecks)
{
    GlobalVars.Set("Host", "example.com");
    GlobalVars.Set("Path", "(Dir)/x");
    GlobalVars.Set("Dir", "d");
    CRecordingInterpreter interp;
    EXPECT_TRUE(interp.Run("open_new \"http://(Host)/(Path)?q=<Host>&(Nope)\";", &mReply));
    const std::string expected = "http://example.com/d/x?q=<Host>&(Nope)";
    EXPECT_EQ(interp.checkedURLs, std::vector<std::string>{expected});
    EXPECT_EQ(cOpenedURLs, std::vector<std::string>{expected});

    interp.urlsAllowed = false;
    EXPECT_FALSE(interp.Run("open_new \"http://(Host)/\"; set $a, 1;", &mReply));
    ASSERT_EQ(interp.reports.size(), 1u);
    EXPECT_EQ(interp.reports[0], Report("illegal URL (http://example.com/) for 'open_new' command", "; set $a, 1;"));
    EXPECT_EQ(cOpenedURLs.size(), 1u);
}

TEST_F(VersionScript, OpenNewSubstitutionMatchesTheVariableList)
{
    GlobalVars.Set("A", "1");
    GlobalVars.Set("B", "2");
    GlobalVars.Set("C", "(A)(B)");
    GlobalVars.Set("D", "");
    for (const char* text : {"(A)", "((A))", "(B)(A)", "A)", "(A", "x(C)y", "(D)(D)", "(C", "(A)(", "()"}) {
        CString expected(text);
        GlobalVars.Substitute(expected, "()");
        CRecordingInterpreter interp;
        std::string script = std::string("open_new \"") + text + "\";";
        EXPECT_TRUE(interp.Run(script.c_str(), &mReply)) << text;
        ASSERT_EQ(interp.checkedURLs.size(), 1u) << text;
        EXPECT_EQ(interp.checkedURLs[0], expected.Chars()) << text;
    }
}

TEST_F(VersionScript, OpenNewRunawaySubstitutionIsRefused)
{
    struct Row {
        const char* script;
        const char* url;
    };
    const Row rows[] = {
        {"set $a, \"x($a)\"; open_new \"(($a))\";", "(($a))"},
        {"set $a, \"($a)\"; open_new \"($a)\";", "($a)"},
        {"set $a, \"($b)\"; set $b, \"($a)\"; open_new \"($a)\";", "($a)"},
    };
    for (const Row& row : rows) {
        GlobalVars.Clear();
        CRecordingInterpreter interp;
        EXPECT_FALSE(interp.Run(row.script, &mReply)) << row.script;
        EXPECT_EQ(interp.ErrorText(), "illegal URL (" + std::string(row.url) + ") for 'open_new' command");
        EXPECT_TRUE(interp.checkedURLs.empty()) << row.script;
    }
    EXPECT_TRUE(cOpenedURLs.empty());
}

TEST_F(VersionScript, DialogCalls)
{
    struct Row {
        const char* script;
        const char* log;
    };
    const Row rows[] = {
        {"dialog \"Title\", \"Line one \" \"and \\\"two\\\"\", width, 300, checkbox, \"Remind me\", neg, ShowTips,"
         " button, def, \"Yes\", yes, button, close, \"No\", no, button, \"Later\", later; :yes",
         "texts(Title|Line one and \"two\") width(300) checkbox(Remind me,ShowTips,neg) button(Yes,yes,def)"
         " button(No,no,close) button(Later,later) run released"},
        {"dialog \"T\", \"a\" \"b\", button, def, close, \"OK\", done; :done",
         "texts(T|ab) button(OK,done,def,close) run released"},
        {"dialog \"T\", \"m\", button, close, def, def, \"\", a, checkbox, \"c\", neg, $c; :a",
         "texts(T|m) button(,a,def,close) checkbox(c,$c,neg) run released"},
        {"dialog \"\", \"\", button, \"b\", two; :two dialog \"2\", \"x\", button, \"c\", exit;",
         "texts(|) button(b,two) run released|texts(2|x) button(c,exit) run released"},
    };
    for (const Row& row : rows) {
        CRecordingInterpreter interp;
        EXPECT_TRUE(interp.Run(row.script, &mReply)) << row.script << ": " << interp.ErrorText();
        std::string logs;
        for (const std::string& log : interp.dialogs)
            logs += (logs.empty() ? "" : "|") + log;
        EXPECT_EQ(logs, row.log) << row.script;
    }
}

TEST_F(VersionScript, DialogButtonsJump)
{
    const char* script = "dialog \"T\", \"m\", button, \"A\", a, button, close, \"B\", b, button, \"C\", c;"
                         " set $r, \"none\"; goto exit;"
                         " :a set $r, \"a\"; goto exit; :b set $r, \"b\"; goto exit; :c set $r, \"c\";";
    const std::pair<int, const char*> rows[] = {{0, "a"}, {1, "b"}, {2, "c"}, {cPressClose, "b"}};
    for (const auto& [press, taken] : rows) {
        CRecordingInterpreter interp;
        interp.press = press;
        EXPECT_TRUE(interp.Run(script, &mReply)) << press;
        EXPECT_EQ(Global("$r"), taken) << press;
    }
}

TEST_F(VersionScript, DialogWithoutButtonsClosesToTheEmptyLabel)
{
    CRecordingInterpreter interp;
    interp.press = cPressClose;
    EXPECT_TRUE(interp.Run("dialog \"T\", \"m\"; goto exit; : set $a, 1;", &mReply));
    EXPECT_EQ(Global("$a"), "1");
}

TEST_F(VersionScript, DialogCheckboxIsStoredAfterTheJump)
{
    struct Row {
        bool checked, negate;
        const char* stored;
    };
    const Row rows[] = {{true, false, "1"}, {false, false, "0"}, {true, true, "0"}, {false, true, "1"}};
    for (const Row& row : rows) {
        GlobalVars.Clear();
        mReply.Clear();
        CRecordingInterpreter interp;
        interp.checked = row.checked;
        std::string script = std::string("dialog \"T\", \"m\", checkbox, \"c\", ") + (row.negate ? "neg, " : "") +
                             "$c, button, \"OK\", go; :go if $c, 1, lt, eq, eq; :lt set $r, \"lt\"; goto exit;"
                             " :eq set $r, \"eq\";";
        EXPECT_TRUE(interp.Run(script.c_str(), &mReply)) << interp.ErrorText();
        EXPECT_EQ(Global("$c"), row.stored) << row.checked << row.negate;
        EXPECT_EQ(Value(mReply, "$c"), row.stored) << row.checked << row.negate;
        EXPECT_EQ(Global("$r"), Str::Equal(row.stored, "1") ? "eq" : "lt") << "the script reads the new value";
    }
}

TEST_F(VersionScript, DialogCallbackErrorsEndTheRunAfterTheDialog)
{
    struct Row {
        const char* script;
        const char* report;
    };
    const Row rows[] = {
        {"dialog \"T\", \"m\", checkbox, \"c\", ShowTipz, button, \"OK\", go; :go set $after, 1;",
         "illegal variable (ShowTipz) for 'set' command\".\nCurrent token:\n :go set $after, 1;"},
        {"dialog \"T\", \"m\", checkbox, \"c\", $c, button, \"OK\", gone; set $after, 1;",
         "can't find label (gone) for jump\".\nCurrent token:\n"},
    };
    for (const Row& row : rows) {
        GlobalVars.Clear();
        CRecordingInterpreter interp;
        interp.checked = true;
        EXPECT_FALSE(interp.Run(row.script, &mReply)) << row.script;
        ASSERT_EQ(interp.reports.size(), 1u) << row.script;
        EXPECT_EQ(interp.reports[0], std::string("Script error: \"") + row.report) << row.script;
        EXPECT_EQ(Global("$after"), "<undefined>") << row.script;
        EXPECT_EQ(Global("$c"), "<undefined>") << "no checkbox store after a failed jump";
        ASSERT_EQ(interp.dialogs.size(), 1u);
        EXPECT_TRUE(EndsWith(interp.dialogs[0], " run released")) << interp.dialogs[0];
    }
}

TEST_F(VersionScript, ButtonLabelledNextAsserts)
{
    OrnTest::AssertRecorder rec;
    CRecordingInterpreter interp;
    EXPECT_FALSE(interp.Run("dialog \"T\", \"m\", button, \"OK\", next;", &mReply));
    EXPECT_ASSERTED(rec, "! Str::Equal(label,\"next\")");
    EXPECT_STREQ(interp.ErrorText(), "can't find label (next) for jump");
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

TEST_F(VersionScript, SingleStepRefused)
{
    const char* script = "set $a, 1; set $b, 2;";
    for (int allowed : {0, 1}) {
        GlobalVars.Clear();
        CRecordingInterpreter interp(true);
        interp.stepsAllowed = allowed;
        EXPECT_TRUE(interp.Run(script, &mReply)) << allowed;
        EXPECT_EQ(int(interp.steps.size()), allowed + 1);
        EXPECT_EQ(Global("$a"), allowed >= 1 ? "1" : "<undefined>") << allowed;
        EXPECT_EQ(Global("$b"), "<undefined>") << allowed;
        EXPECT_TRUE(interp.reports.empty());
    }
    CRecordingInterpreter quiet;
    EXPECT_TRUE(quiet.Run(script, &mReply));
    EXPECT_TRUE(quiet.steps.empty());
}

TEST_F(VersionScript, VariablesStaySetAfterAnError)
{
    CRecordingInterpreter interp;
    EXPECT_FALSE(interp.Run("set $a, 1; set ShowTips, 2; bogus; set $b, 3;", &mReply));
    EXPECT_EQ(Global("$a"), "1");
    EXPECT_EQ(Value(mReply, "ShowTips"), "2");
    EXPECT_EQ(Global("$b"), "<undefined>");
    EXPECT_TRUE(interp.Run("set $b, 3;", &mReply)) << "the interpreter runs again after an error";
    EXPECT_STREQ(interp.ErrorText(), "");
}

TEST_F(VersionScript, RunPreconditions)
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
        {"[START][END]", "", true},
        {"a[START]b", "b", false},
        {"a[END]b", "a", false},
        {"no markers", "no markers", false},
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
