// The reply dialog of a local script: layout, buttons and keys, the checkbox, single step and script errors.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "E2ESupport.h"

using namespace E2E;

namespace {

const int cMessageId = 1001;
const int cCheckboxId = 1002;
const int cButtonIds[3] = {1003, 1004, 1005};

// One control of a dialog as the user sees it.
struct Control {
    bool visible = false;
    std::string text;
    RECT rect{}; // in the dialog's client coordinates
    bool isDefault = false; // for buttons
    bool checked = false;   // for check boxes
};

HWND FocusedWindow(HWND dlg)
{
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    DWORD thread = ::GetWindowThreadProcessId(dlg, nullptr);
    return ::GetGUIThreadInfo(thread, &info) ? info.hwndFocus : nullptr;
}

Control DialogControl(HWND dlg, int id)
{
    Control c;
    HWND ctl = ::GetDlgItem(dlg, id);
    if (!ctl)
        return c;
    c.visible = ::IsWindowVisible(ctl) != 0;
    c.text = WindowText(ctl);
    ::GetWindowRect(ctl, &c.rect);
    ::MapWindowPoints(HWND_DESKTOP, dlg, reinterpret_cast<POINT*>(&c.rect), 2);
    c.isDefault = (::GetWindowLongA(ctl, GWL_STYLE) & BS_TYPEMASK) == BS_DEFPUSHBUTTON;
    // A hung program fails the test instead of hanging it.
    DWORD_PTR check = 0;
    ::SendMessageTimeoutA(ctl, BM_GETCHECK, 0, 0, SMTO_NORMAL, 5000, &check);
    c.checked = check == BST_CHECKED;
    return c;
}

void PostKey(HWND dlg, int virtualKey)
{
    HWND target = FocusedWindow(dlg);
    if (!target)
        target = dlg;
    ::PostMessageA(target, WM_KEYDOWN, virtualKey, 1);
    ::PostMessageA(target, WM_KEYUP, virtualKey, 0xC0000001);
}

// How a test ends the dialog.
enum class Ending { Button1, Button2, Button3, Enter, Esc, CloseBox };

// The reply dialog as it was on screen.
struct Shot {
    bool seen = false;
    std::string caption;
    RECT window{};
    RECT client{};
    Control message;
    Control checkbox;
    Control buttons[3];
    int focusId = 0;
};

// What a test does besides capturing and ending the dialog.
struct RunOptions {
    Ending ending = Ending::Button1;
    std::function<void(HWND)> act;   // runs on the open dialog before it is ended
    int boxAnswer = IDOK;            // the answer to the program's own message boxes
    std::string extraArgs;
};

// One run of a script file, with what the user saw.
struct ScriptRun {
    RunResult result;
    Shot shot;
    std::vector<std::string> boxes; // texts of the message boxes, in order
    std::string log;
};

int Width(const RECT& rc) { return rc.right - rc.left; }
int Height(const RECT& rc) { return rc.bottom - rc.top; }

bool IsReplyDialog(HWND hwnd) { return ::GetDlgItem(hwnd, cMessageId) != nullptr; }

Shot Capture(HWND dlg)
{
    Shot s;
    s.seen = true;
    s.caption = WindowText(dlg);
    ::GetWindowRect(dlg, &s.window);
    ::GetClientRect(dlg, &s.client);
    s.message = DialogControl(dlg, cMessageId);
    s.checkbox = DialogControl(dlg, cCheckboxId);
    for (int i = 0; i < 3; ++i)
        s.buttons[i] = DialogControl(dlg, cButtonIds[i]);
    HWND focus = FocusedWindow(dlg);
    s.focusId = focus ? ::GetDlgCtrlID(focus) : 0;
    return s;
}

void End(HWND dlg, Ending ending)
{
    switch (ending) {
    case Ending::Button1:
    case Ending::Button2:
    case Ending::Button3:
        Press(dlg, cButtonIds[static_cast<int>(ending) - static_cast<int>(Ending::Button1)]);
        break;
    case Ending::Enter: PostKey(dlg, VK_RETURN); break;
    case Ending::Esc: PostKey(dlg, VK_ESCAPE); break;
    case Ending::CloseBox: ::PostMessageA(dlg, WM_SYSCOMMAND, SC_CLOSE, 0); break;
    }
}

// The value of a variable in the log's "Dumping reply variables" section, or "(unset)".
std::string ReplyVar(const std::string& log, const std::string& name)
{
    size_t begin = log.find("Start: Dumping reply variables {");
    size_t end = log.find("} End: Dumping reply variables", begin);
    if (begin == std::string::npos || end == std::string::npos)
        return "(no dump)";
    const std::string key = "\t" + name + "\t=\t\"";
    size_t at = log.find(key, begin);
    if (at == std::string::npos || at > end)
        return "(unset)";
    at += key.size();
    return log.substr(at, log.find('"', at) - at);
}

int VisibleButtons(const Shot& s)
{
    int n = 0;
    for (const Control& b : s.buttons)
        n += b.visible ? 1 : 0;
    return n;
}

// Runs the script as a local script job. The reply dialog is captured and then ended as the options say.
ScriptRun RunScript(const std::string& script, const RunOptions& options = RunOptions())
{
    DeleteFileIfAny(LogPath());
    ScriptRun run;
    TempFile file("uw_e2e_reply_script.txt", script);
    Watcher watcher = [&](const Window& w) {
        if (IsReplyDialog(w.hwnd)) {
            if (run.shot.seen)
                ADD_FAILURE() << "a second reply dialog: " << w.caption;
            run.shot = Capture(w.hwnd);
            if (options.act)
                options.act(w.hwnd);
            End(w.hwnd, options.ending);
            return Answer::Handled();
        }
        if (w.caption == "UpdateWatch" && !w.text.empty()) {
            run.boxes.push_back(w.text);
            return Answer::Press(options.boxAnswer);
        }
        return Answer::Press(-1);
    };
    run.result = RunUpdateWatch("-s -script " + file.Arg() + options.extraArgs, watcher);
    run.log = ReadFile(LogPath());
    return run;
}

// A dialog command followed by the labels its buttons jump to; each label records itself in $pressed.
std::string WithLabels(const std::string& dialog)
{
    return dialog + "\nset $pressed, \"none\"; goto exit;\n"
                    ":b1 set $pressed, \"b1\"; goto exit;\n"
                    ":b2 set $pressed, \"b2\"; goto exit;\n"
                    ":b3 set $pressed, \"b3\";\n";
}

} // namespace

TEST(ReplyDialogE2E, ButtonRowsAreEqualCentredAndKeepTheirOrder)
{
    struct Row {
        const char* name;
        const char* buttons;
        int defaultIndex;
    };
    const Row rows[] = {
        {"short texts, default second", "button, \"A\", b1, button, def, \"B\", b2, button, \"C\", b3", 1},
        {"long texts, no default: the first",
         "button, \"Go\", b1, button, \"Download the new version now\", b2, button, close, \"Remind me later\", b3", 0},
    };
    int previousWidth = 0;
    for (const Row& row : rows) {
        ScriptRun run = RunScript(WithLabels("dialog \"Update\", \"A new version is ready.\", " +
                                             std::string(row.buttons) + ";"));
        const Shot& s = run.shot;
        ASSERT_TRUE(s.seen) << row.name;
        EXPECT_EQ(VisibleButtons(s), 3) << row.name;
        const RECT& first = s.buttons[0].rect;
        EXPECT_LE(std::abs(first.left - (s.client.right - s.buttons[2].rect.right)), 1) << row.name << ": not centred";
        for (int i = 1; i < 3; ++i) {
            EXPECT_EQ(Width(s.buttons[i].rect), Width(first)) << row.name << ": button " << i;
            EXPECT_EQ(s.buttons[i].rect.top, first.top) << row.name << ": button " << i;
            EXPECT_EQ(s.buttons[i].rect.left - s.buttons[i - 1].rect.right,
                      s.buttons[1].rect.left - s.buttons[0].rect.right)
                << row.name << ": gap before button " << i;
        }
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(s.buttons[i].isDefault, i == row.defaultIndex) << row.name << ": button " << i;
        EXPECT_EQ(s.focusId, cButtonIds[row.defaultIndex]) << row.name;
        EXPECT_EQ(s.window.left, (::GetSystemMetrics(SM_CXSCREEN) - Width(s.window)) / 2) << row.name << ": centred";
        EXPECT_EQ(s.window.top, (::GetSystemMetrics(SM_CYSCREEN) - Height(s.window)) / 2) << row.name << ": centred";
        EXPECT_GT(Width(first), previousWidth) << row.name << ": the widest text widens every button";
        previousWidth = Width(first);
    }
}

// Against a short message with a checkbox: without the checkbox, with a wrapped message, with the width option
// and with buttons wider than the template. The texts take global variables.
TEST(ReplyDialogE2E, LayoutFollowsTheMessageTheCheckboxAndTheWidth)
{
    const std::string buttons = ", button, \"OK\", b1;";
    const std::string shortText = "dialog \"T\", \"Short.\"";
    const std::string longText = "dialog \"T\", \"This message is long enough to need several lines in the "
                                 "dialog, \" \"so the dialog has to grow downward to show all of it.\"";
    const std::string checkbox = ", checkbox, \"Remind me\", $remind";
    const std::string longButtons = ", button, \"Download the new version now\", b1, button, \"Remind me much later\", "
                                    "b2, button, \"Never ask about this again\", b3;";
    Shot withBox = RunScript(WithLabels(shortText + checkbox + buttons)).shot;
    Shot withoutBox = RunScript(WithLabels(shortText + buttons)).shot;
    Shot wrapped = RunScript(WithLabels(longText + checkbox + buttons)).shot;
    // The checkbox is as wide as its text: the same text as withBox's after substitution.
    Shot wide = RunScript(WithLabels("set $who, \"me\";\ndialog \"Hi <$who>\", \"Hello <$who>\", width, 300, "
                                     "checkbox, \"Remind <$who>\", $t, button, \"Go <$who>\", b1;"))
                    .shot;
    Shot crowded = RunScript(WithLabels(shortText + longButtons)).shot;
    Shot crowdedNarrow = RunScript(WithLabels(shortText + ", width, 1" + longButtons)).shot;
    Shot crowdedWide = RunScript(WithLabels(shortText + ", width, 400" + longButtons)).shot;
    ASSERT_TRUE(withBox.seen && withoutBox.seen && wrapped.seen && wide.seen && crowded.seen && crowdedNarrow.seen &&
                crowdedWide.seen);

    EXPECT_TRUE(withBox.checkbox.visible);
    EXPECT_FALSE(withoutBox.checkbox.visible);
    int rise = withBox.buttons[0].rect.top - withBox.checkbox.rect.top;
    EXPECT_GT(rise, 0);
    EXPECT_EQ(withoutBox.buttons[0].rect.top, withBox.checkbox.rect.top) << "the buttons take the checkbox's place";
    EXPECT_EQ(Height(withoutBox.window), Height(withBox.window) - rise);

    int growth = Height(wrapped.message.rect) - Height(withBox.message.rect);
    EXPECT_GT(growth, 0) << "the long message wraps";
    EXPECT_EQ(wrapped.message.text, "This message is long enough to need several lines in the dialog, so the "
                                    "dialog has to grow downward to show all of it.");
    EXPECT_EQ(wrapped.checkbox.rect.top, withBox.checkbox.rect.top + growth);
    EXPECT_EQ(wrapped.buttons[0].rect.top, withBox.buttons[0].rect.top + growth);
    EXPECT_EQ(Height(wrapped.window), Height(withBox.window) + growth);
    EXPECT_EQ(Width(wrapped.window), Width(withBox.window)) << "wrapping never widens";

    EXPECT_EQ(wide.caption, "Hi me");
    EXPECT_EQ(wide.message.text, "Hello me");
    EXPECT_EQ(wide.checkbox.text, "Remind me");
    EXPECT_EQ(wide.buttons[0].text, "Go me");
    int unitX = LOWORD(::GetDialogBaseUnits());
    int extra300 = ::MulDiv(300, unitX, 4);
    EXPECT_EQ(Width(wide.window), Width(withBox.window) + extra300);
    EXPECT_EQ(Width(wide.message.rect), Width(withBox.message.rect) + extra300);
    EXPECT_EQ(Width(wide.checkbox.rect), Width(withBox.checkbox.rect) + extra300);
    EXPECT_LE(std::abs(wide.buttons[0].rect.left - (wide.client.right - wide.buttons[0].rect.right)), 1);

    EXPECT_GT(Width(crowded.window), Width(withBox.window)) << "the buttons need more than the template";
    EXPECT_EQ(Width(crowdedNarrow.window), Width(crowded.window)) << "the excess beats a smaller width";
    EXPECT_EQ(Width(crowdedWide.window), Width(withBox.window) + ::MulDiv(400, unitX, 4));
    EXPECT_EQ(crowded.buttons[0].rect.left, crowded.client.right - crowded.buttons[2].rect.right);
}

// References without end stop at a bound: the dialog shows its texts as far as they got, and the log says so.
TEST(ReplyDialogE2E, TextsThatReferToThemselvesStopAtTheirBound)
{
    struct Row { const char* name; const char* unnamedValue; std::string script; std::string caption, message; };
    const Row rows[] = {
        {"title and message refer to themselves", nullptr,
         "set $a, \"<$a>\";\ndialog \"T<$a>\", \"x<$a>\", button, \"OK\", exit;", "T<$a>", "x<$a>"},
        {"the unnamed setting holds its own reference", "<>", "dialog \"T\", \"a<>b\", button, \"OK\", exit;", "T",
         "a<>b"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.unnamedValue) {
            ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "", row.unnamedValue));
        }
        ScriptRun run = RunScript(row.script);
        CleanVantrelKeys();
        ASSERT_TRUE(run.shot.seen);
        EXPECT_EQ(run.shot.caption, row.caption);
        EXPECT_EQ(run.shot.message.text, row.message);
        EXPECT_EQ(run.result.exitCode, 0u);
        const std::string cut = "Text cut short at a substitution bound: reply dialog ";
        EXPECT_TRUE(run.log.find(cut + (row.unnamedValue ? "text" : "title") + ".\r\n") != std::string::npos) << run.log;
    }
}

// The log says which button ended the dialog, and whether it was pressed or the dialog closed.
TEST(ReplyDialogE2E, EachWayOfClosingRunsItsLabel)
{
    struct Row {
        const char* name;
        const char* dialog;
        Ending ending;
        const char* label;
        const char* logged;
    };
    const char* const withClose = "dialog \"T\", \"M\", button, \"One\", b1, button, close, \"Two\", b2, button, "
                                  "def, \"Three\", b3;";
    const char* const plain = "dialog \"T\", \"M\", button, \"One\", b1, button, \"Two\", b2, button, \"Three\", b3;";
    const Row rows[] = {
        {"second button", withClose, Ending::Button2, "b2", "pressed \"Two\" (jump to b2)"},
        {"third button", withClose, Ending::Button3, "b3", "pressed \"Three\" (jump to b3)"},
        {"Enter: the default button", withClose, Ending::Enter, "b3", "pressed \"Three\" (jump to b3)"},
        {"Esc: the close button", withClose, Ending::Esc, "b2", "closed, meaning \"Two\" (jump to b2)"},
        {"close box: the close button", withClose, Ending::CloseBox, "b2", "closed, meaning \"Two\" (jump to b2)"},
        {"Esc without a close button: the first", plain, Ending::Esc, "b1", "closed, meaning \"One\" (jump to b1)"},
        {"Enter without a default button: the first", plain, Ending::Enter, "b1", "pressed \"One\" (jump to b1)"},
    };
    for (const Row& row : rows) {
        RunOptions options;
        options.ending = row.ending;
        ScriptRun run = RunScript(WithLabels(row.dialog), options);
        EXPECT_TRUE(run.shot.seen) << row.name;
        EXPECT_TRUE(run.boxes.empty()) << row.name << ": " << (run.boxes.empty() ? "" : run.boxes[0]);
        EXPECT_EQ(ReplyVar(run.log, "$pressed"), row.label) << row.name;
        EXPECT_TRUE(HasText(run.log, "Reply dialog: " + std::string(row.logged) + ".\r\nSuccess: run script"))
            << row.name << "\n" << run.log;
    }
}

TEST(ReplyDialogE2E, DialogWithoutButtonsEndsOnlyWithAnEmptyJump)
{
    RunOptions options;
    options.ending = Ending::Esc;
    ScriptRun run = RunScript("dialog \"T\", \"Nothing to press.\";\nset $after, \"1\";", options);
    ASSERT_TRUE(run.shot.seen);
    EXPECT_EQ(VisibleButtons(run.shot), 0);
    ASSERT_EQ(run.boxes.size(), 1u);
    EXPECT_EQ(run.boxes[0].rfind("Script error: \"can't find label () for jump\".\nCurrent token:\n", 0), 0u)
        << run.boxes[0];
    EXPECT_EQ(ReplyVar(run.log, "$after"), "(no dump)") << "a failed script dumps nothing";
}

TEST(ReplyDialogE2E, CheckboxShowsAndStoresItsVariable)
{
    struct Row {
        const char* name;
        const char* setup;
        const char* checkbox;
        const char* variable;
        bool click;
        bool shownChecked;
        const char* stored;
    };
    const Row rows[] = {
        {"set to 0, user checks it", "set ShowTips, 0;", "ShowTips", "ShowTips", true, false, "1"},
        {"set to 1, user clears it", "set ShowTips, 1;", "ShowTips", "ShowTips", true, true, "0"},
        {"undefined with neg", "", "neg, $tipsUndefined", "$tipsUndefined", false, true, "0"},
        {"neg, user checks it", "set ShowTips, 1;", "neg, ShowTips", "ShowTips", true, false, "0"},
    };
    for (const Row& row : rows) {
        // After the dialog the script reads the stored value back through `if`.
        std::string script = std::string(row.setup) + "\ndialog \"T\", \"M\", checkbox, \"Tips\", " + row.checkbox +
                             ", button, \"OK\", done;\ngoto exit;\n:done if " + row.variable +
                             ", 1, lt, eq, gt;\n:lt set $after, \"0\"; goto exit;\n:eq set $after, \"1\"; goto exit;\n"
                             ":gt set $after, \"gt\";";
        RunOptions options;
        if (row.click)
            options.act = [](HWND dlg) { ::PostMessageA(::GetDlgItem(dlg, cCheckboxId), BM_CLICK, 0, 0); };
        ScriptRun run = RunScript(script, options);
        ASSERT_TRUE(run.shot.seen) << row.name;
        EXPECT_TRUE(run.shot.checkbox.visible) << row.name;
        EXPECT_EQ(run.shot.checkbox.checked, row.shownChecked) << row.name;
        EXPECT_EQ(ReplyVar(run.log, row.variable), row.stored) << row.name;
        EXPECT_EQ(ReplyVar(run.log, "$after"), row.stored) << row.name << ": the script sees the stored value";
        std::string box = row.shownChecked != row.click ? "ticked (" : "not ticked (";
        EXPECT_TRUE(HasText(run.log, "(jump to done), checkbox " + box + row.variable + " = " + row.stored + ").\r\n"))
            << row.name << "\n" << run.log;
    }
}

// The box shows the error; the log keeps its text on one line, line ends and tabs written as \n and \t.
TEST(ReplyDialogE2E, RefusedDialogOptionsAreScriptErrors)
{
    struct Row {
        const char* name;
        const char* options;
        const char* message;
        const char* excerpt;
        const char* loggedExcerpt;
    };
    const Row rows[] = {
        {"second checkbox", "checkbox, \"a\", $a, checkbox, \"b\", $b;", "only one checkbox allowed", " $b;", " $b;"},
        {"fourth button", "button, \"1\", a, button, \"2\", b, button, \"3\", c, button, \"4\",\t\nd;",
         "too many buttons", "\t\nd;", "\\t\\nd;"},
        {"second default", "button, def, \"1\", a, button, def, \"2\", b;", "multiple default buttons", " b;", " b;"},
        {"second close", "button, close, \"1\", a, button, def, close, \"2\", b;", "multiple close buttons", " b;",
         " b;"},
    };
    for (const Row& row : rows) {
        ScriptRun run = RunScript("dialog \"T\", \"M\", " + std::string(row.options));
        EXPECT_FALSE(run.shot.seen) << row.name << ": no dialog after an error";
        ASSERT_EQ(run.boxes.size(), 1u) << row.name;
        EXPECT_EQ(run.boxes[0], "Script error: \"" + std::string(row.message) + "\".\nCurrent token:\n" + row.excerpt)
            << row.name;
        EXPECT_TRUE(HasText(run.log, "Script error: \"" + std::string(row.message) + "\".\\nCurrent token:\\n" +
                                         row.loggedExcerpt + "\r\nFailure: run script\r\n"))
            << row.name << "\n" << run.log;
    }
}

// -step with Yes to every step is the version check's and the version send's test; here No at the first.
TEST(ReplyDialogE2E, SingleStepNoEndsTheScript)
{
    RunOptions options;
    options.boxAnswer = IDNO;
    options.extraArgs = " -step";
    ScriptRun run = RunScript("set $a, \"1\"; set $b, \"2\";", options);
    ASSERT_EQ(run.boxes.size(), 1u);
    EXPECT_EQ(run.boxes[0], "Single step:\nRemaining script:\nset $a, \"1\"; set $b,\nDo you want to continue?");
    EXPECT_EQ(ReplyVar(run.log, "$a"), "(unset)");
    EXPECT_EQ(ReplyVar(run.log, "$b"), "(unset)");
}
