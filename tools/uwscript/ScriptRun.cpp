// A reply script run with answers from the command line, written as text or JSON.
#include "ScriptRun.h"

#include <algorithm>
#include <cctype>

#include "InstallReport.h"
#include "JsonWriter.h"
#include "ReplyEncoding.h"
#include "ToolInterpreter.h"
#include "VarPairs.h"

using namespace Orn;

namespace {

struct CShownButton {
    std::string text;
    std::string label;
    bool isDefault = false;
    bool isClose = false;
};

// A dialog as it opened and how it was answered, its texts in UTF-8.
struct CShownDialog {
    std::string title;
    std::string message;
    Int width = 0;
    bool hasCheckbox = false;
    std::string checkboxText;
    std::string checkboxVar;
    bool negated = false;
    bool initiallyChecked = false;
    std::vector<CShownButton> buttons;
    bool answered = false;
    bool cancelled = false;
    std::string pressedText; // empty for the empty slot that closing a dialog without buttons selects
    std::string pressedLabel;
    bool checked = false;
    std::vector<std::string> unresolved; // "<NAME>" references left in its texts
};

struct CRunEvent {
    bool isDialog = false;
    CShownDialog dialog;
    std::string url;                     // in UTF-8
    std::vector<std::string> unresolved; // "(NAME)" references left in the URL
    bool isInstall = false;
    CShownInstall install{};
};

// Ends a run when the answers do not fit the dialogs.
struct CAnswerMismatch {
    std::string message;
};
// Ends a run where the program would have ended on an assertion.
struct CAssertionStop {};
// Ends a run that goes round a loop: without a dialog in it, nothing can ever end one.
struct CLoopStop {
    std::size_t offset;
};
constexpr int cMaxSteps = 100000;

enum class EEnd { ok, error, assertion, loop, answers };

// Texts go out as the UTF-8 the author wrote.
std::string Quoted(const std::string& text) { return JsonQuoted(text, EJsonText::utf8); }

// The references a text still holds after substitution, names that no global variable had.
void AddUnresolved(const std::string& text, char open, char close, std::vector<std::string>& names)
{
    for (std::size_t at = text.find(open); at != std::string::npos; at = text.find(open, at + 1)) {
        std::size_t end = at + 1;
        while (end < text.size() && (std::isalnum(static_cast<unsigned char>(text[end])) || text[end] == '_' ||
                                     (end == at + 1 && text[end] == '$')))
            ++end;
        std::string name = text.substr(at + 1, end - at - 1);
        if (end > at + 1 && end < text.size() && text[end] == close &&
            std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
}

CShownDialog Describe(const CToolDialog& dlg)
{
    CShownDialog shown;
    shown.title = Utf8FromProgramText(dlg.Title());
    shown.message = Utf8FromProgramText(dlg.Message());
    shown.width = dlg.Width();
    shown.hasCheckbox = dlg.HasCheckbox();
    if (shown.hasCheckbox) {
        shown.checkboxText = Utf8FromProgramText(dlg.CheckboxText());
        shown.checkboxVar = dlg.CheckboxVar();
        shown.negated = dlg.Negated();
        shown.initiallyChecked = dlg.InitiallyChecked();
    }
    for (Int i = 0; i < dlg.ButtonCount(); ++i) {
        shown.buttons.push_back({Utf8FromProgramText(dlg.ButtonText(i)), dlg.ButtonLabel(i), i == dlg.DefaultButton(),
                                 i == dlg.CloseButton()});
    }
    for (const std::string* text : {&shown.title, &shown.message, &shown.checkboxText})
        AddUnresolved(*text, '<', '>', shown.unresolved);
    for (const CShownButton& b : shown.buttons)
        AddUnresolved(b.text, '<', '>', shown.unresolved);
    return shown;
}

// A button by its text as shown, else by its label; -1 when none has it.
Int FindButton(const CShownDialog& shown, const std::string& press)
{
    for (const bool byText : {true, false}) {
        for (std::size_t i = 0; i < shown.buttons.size(); ++i) {
            if ((byText ? shown.buttons[i].text : shown.buttons[i].label) == press)
                return static_cast<Int>(i);
        }
    }
    return -1;
}

class CAnsweringInterpreter final : public CToolInterpreter {
public:
    // Single steps count the commands, so that a loop is noticed.
    explicit CAnsweringInterpreter(const CRunOptions& options) : CToolInterpreter(true), mOptions(options) {}

    std::vector<CRunEvent> events;
    std::size_t answersUsed = 0;
    std::size_t checkboxesUsed = 0;

protected:
    bool ConfirmStep(const char*) override
    {
        if (++mSteps > cMaxSteps)
            throw CLoopStop{TokenOffset()};
        return true;
    }
    void ShowDialog(CToolDialog& dlg) override;
    void OpenURL(const std::string& url) override
    {
        events.push_back({false, {}, Utf8FromProgramText(url), {}});
        AddUnresolved(url, '(', ')', events.back().unresolved);
    }
    EInstallResult Install(const CInstallRequest& request) override
    {
        EInstallResult result = irStarted;
        if (mInstalls < mOptions.installs.size())
            InstallResultFromName(mOptions.installs[mInstalls++].c_str(), result);
        events.push_back({false, {}, "", {}, true, DescribeInstall(request, result)});
        return result;
    }

private:
    const CRunOptions& mOptions;
    int mDialogs = 0;
    int mSteps = 0;
    std::size_t mInstalls = 0;
};

void CAnsweringInterpreter::ShowDialog(CToolDialog& dlg)
{
    events.push_back({true, Describe(dlg), "", {}});
    CShownDialog& shown = events.back().dialog;
    std::string name = "dialog " + std::to_string(++mDialogs) + " " + Quoted(shown.title);
    if (answersUsed == mOptions.answers.size())
        throw CAnswerMismatch{name + " has no answer: give --press TEXT or --cancel"};
    const CRunOptions::CAnswer& answer = mOptions.answers[answersUsed++];
    Int slot = answer.cancel ? dlg.CloseButton() : FindButton(shown, answer.press);
    if (slot < 0)
        throw CAnswerMismatch{name + " has no button " + Quoted(answer.press)};
    shown.answered = true;
    shown.cancelled = answer.cancel;
    if (slot < dlg.ButtonCount())
        shown.pressedText = shown.buttons[static_cast<std::size_t>(slot)].text;
    shown.pressedLabel = dlg.ButtonLabel(slot);
    shown.checked = shown.initiallyChecked;
    if (shown.hasCheckbox && checkboxesUsed < mOptions.checkboxes.size())
        shown.checked = mOptions.checkboxes[checkboxesUsed++];
    dlg.Press(slot, shown.checked);
    if (!Assertions().empty())
        throw CAssertionStop{};
}

// Everything a run produced, and how it ended.
struct CRunReport {
    std::vector<CRunEvent> events;
    std::vector<std::pair<std::string, std::string>> variables;
    EEnd end = EEnd::ok;
    std::vector<CScriptFinding> findings; // the error or assertion that ended it
    std::string mismatch;
};

std::string LeftOver(const CRunOptions& options, const CAnsweringInterpreter& interp)
{
    std::size_t answers = options.answers.size() - interp.answersUsed;
    std::size_t boxes = options.checkboxes.size() - interp.checkboxesUsed;
    if (answers > 0)
        return std::to_string(answers) + " answer(s) left over: the script showed fewer dialogs";
    if (boxes > 0)
        return std::to_string(boxes) + " --checkbox value(s) left over: the script showed fewer checkboxes";
    return "";
}

// Runs the script; how it ended, with the finding or the mismatch that ended it in the report.
EEnd RunToTheEnd(CAnsweringInterpreter& interp, const std::string& script, const CRunOptions& options,
                 CRunReport& report)
{
    try {
        interp.RunScript(script);
    } catch (const CAnswerMismatch& m) {
        report.mismatch = m.message;
        return EEnd::answers;
    } catch (const CAssertionStop&) {
        return EEnd::assertion;
    } catch (const CLoopStop& loop) {
        report.findings.push_back(
            {loop.offset, false,
             "the script ran " + std::to_string(cMaxSteps) + " commands without ending: the program would not end it"});
        return EEnd::loop;
    }
    if (!interp.Assertions().empty())
        return EEnd::assertion;
    if (interp.HasError()) {
        report.findings.push_back({interp.Error().offset, false, interp.Error().message});
        return EEnd::error;
    }
    report.mismatch = LeftOver(options, interp);
    return report.mismatch.empty() ? EEnd::ok : EEnd::answers;
}

CRunReport RunWithAnswers(const std::string& script, const CRunOptions& options)
{
    CGlobalVarsSnapshot globals;
    for (const auto& g : options.globals)
        GlobalVars.Set(g.first.c_str(), g.second.c_str());
    CAnsweringInterpreter interp(options);
    interp.SetReplyTrustFromGlobals();
    CRunReport report;
    report.end = RunToTheEnd(interp, script, options, report);
    // The program ends on the first assertion: what the interpreter did after it is not shown.
    if (report.end == EEnd::assertion) {
        const CToolInterpreter::CEvent& a = interp.Assertions().front();
        report.findings = {{a.offset, false, "assertion \"" + a.message + "\": the program ends here"}};
    }
    report.events = std::move(interp.events);
    for (const auto& v : VarPairs(interp.ReplyVars()))
        report.variables.emplace_back(v.first, Utf8FromProgramText(v.second));
    return report;
}

const char* EndName(EEnd end)
{
    switch (end) {
    case EEnd::ok: return "ok";
    case EEnd::error: return "error";
    case EEnd::assertion: return "assertion";
    case EEnd::loop: return "loop";
    case EEnd::answers: return "answers";
    }
    return "";
}

std::string Box(bool checked) { return checked ? "[x]" : "[ ]"; }

// A remark on each reference left unresolved, written with its delimiters.
void WriteNotes(const std::vector<std::string>& names, const char* delims, std::string& out)
{
    for (const std::string& name : names) {
        out += "  note: " + (delims[0] + name + delims[1]) + " is left as written: no global variable " + name +
               " (give --set " + name + "=VALUE as the program's configuration or registry would)\n";
    }
}

void WriteDialogText(const CShownDialog& d, int number, std::string& out)
{
    out += "dialog " + std::to_string(number) + " " + Quoted(d.title) + "\n";
    out += "  message " + Quoted(d.message) + "\n";
    if (d.width != 0)
        out += "  width " + std::to_string(d.width) + "\n";
    if (d.hasCheckbox) {
        out += "  checkbox " + Box(d.initiallyChecked) + " " + Quoted(d.checkboxText) + " -> " + d.checkboxVar +
               (d.negated ? " neg\n" : "\n");
    }
    for (const CShownButton& b : d.buttons) {
        out += "  button " + Quoted(b.text) + " -> " + b.label + (b.isDefault ? " default" : "") +
               (b.isClose ? " close" : "") + "\n";
    }
    WriteNotes(d.unresolved, "<>", out);
    if (!d.answered) {
        out += "  answer none\n";
        return;
    }
    out += d.cancelled ? "  answer cancel " : "  answer press ";
    out += Quoted(d.pressedText) + " -> " + d.pressedLabel;
    out += (d.hasCheckbox ? ", checkbox " + Box(d.checked) : "") + "\n";
}

std::string ReportText(const CScriptText& text, const CRunReport& report)
{
    std::string out;
    int dialogs = 0;
    for (const CRunEvent& e : report.events) {
        if (e.isDialog)
            WriteDialogText(e.dialog, ++dialogs, out);
        else if (e.isInstall)
            WriteInstallText(e.install, out);
        else
            out += "open_new " + Quoted(e.url) + "\n";
        WriteNotes(e.unresolved, "()", out);
    }
    for (const auto& v : report.variables)
        out += "set " + v.first + " " + Quoted(v.second) + "\n";
    out += text.Format(report.findings);
    if (!report.mismatch.empty())
        out += "error: " + report.mismatch + "\n";
    return out + "end " + EndName(report.end) + "\n";
}

void WriteUnresolved(const std::vector<std::string>& names, CJsonWriter& json)
{
    if (names.empty())
        return;
    json.Key("unresolved").BeginArray();
    for (const std::string& name : names)
        json.String(name);
    json.EndArray();
}

void WriteDialogJson(const CShownDialog& d, CJsonWriter& json)
{
    json.BeginObject().Key("title").String(d.title).Key("message").String(d.message).Key("width").Number(d.width);
    json.Key("checkbox");
    if (d.hasCheckbox) {
        json.BeginObject().Key("text").String(d.checkboxText).Key("variable").String(d.checkboxVar);
        json.Key("neg").Bool(d.negated).Key("checked").Bool(d.initiallyChecked).EndObject();
    } else {
        json.Null();
    }
    WriteUnresolved(d.unresolved, json);
    json.Key("buttons").BeginArray();
    for (const CShownButton& b : d.buttons) {
        json.BeginObject().Key("text").String(b.text).Key("label").String(b.label);
        json.Key("default").Bool(b.isDefault).Key("close").Bool(b.isClose).EndObject();
    }
    json.EndArray().Key("answer");
    if (d.answered) {
        json.BeginObject().Key("cancel").Bool(d.cancelled).Key("button").String(d.pressedText);
        json.Key("label").String(d.pressedLabel);
        if (d.hasCheckbox)
            json.Key("checked").Bool(d.checked);
        json.EndObject();
    } else {
        json.Null();
    }
    json.EndObject();
}

std::string ReportJson(const CScriptText& text, const CRunReport& report)
{
    CJsonWriter json(true, EJsonText::utf8);
    json.BeginObject().Key("file").String(text.Name()).Key("events").BeginArray();
    for (const CRunEvent& e : report.events) {
        json.BeginObject().Key(e.isDialog ? "dialog" : e.isInstall ? "install" : "open_new");
        if (e.isDialog)
            WriteDialogJson(e.dialog, json);
        else if (e.isInstall)
            WriteInstallJson(e.install, json);
        else
            json.String(e.url);
        WriteUnresolved(e.unresolved, json);
        json.EndObject();
    }
    json.EndArray().Key("variables").BeginObject();
    for (const auto& v : report.variables)
        json.Key(v.first).String(v.second);
    json.EndObject().Key("end").String(EndName(report.end)).Key("errors").BeginArray();
    for (const CScriptFinding& f : report.findings) {
        CScriptText::CPosition pos = text.PositionOf(f.offset);
        json.BeginObject().Key("line").Number(pos.line).Key("column").Number(pos.column);
        json.Key("message").String(f.message).EndObject();
    }
    if (!report.mismatch.empty())
        json.BeginObject().Key("message").String(report.mismatch).EndObject();
    return json.EndArray().EndObject().Text() + "\n";
}

} // namespace

int RunScriptWithAnswers(const CScriptText& text, const CRunOptions& options, std::string& out)
{
    // The program gets the script in its code page; what it says is shown at the file's own places, in UTF-8.
    CProgramText program = ToProgramText(text.Text());
    CRunReport report;
    if (program.findings.empty()) {
        report = RunWithAnswers(program.text, options);
        for (CScriptFinding& f : report.findings) {
            f.offset = program.FileOffset(f.offset);
            f.message = Utf8FromProgramText(f.message);
        }
    } else {
        report.end = EEnd::error;
        report.findings = program.findings;
    }
    out += options.json ? ReportJson(text, report) : ReportText(text, report);
    switch (report.end) {
    case EEnd::ok: return 0;
    case EEnd::answers: return 2;
    default: return 1;
    }
}
