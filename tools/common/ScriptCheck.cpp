// The script check: the real tokenizer reads the script, the real interpreter runs each command once by
// itself, and what the commands that ran cleanly name is looked up across the whole script.
#include "ScriptCheck.h"

#include <algorithm>
#include <set>

#include "ToolInterpreter.h"

using namespace Orn;

namespace {

struct CToken {
    Int type = tokEndOfScript;
    std::string text;
    std::size_t offset = 0;
};

// One command as the dispatcher meets it: its text runs from `begin` (just after the semicolon before it, so
// the labels in front of it are included) to `end` (just after its own semicolon); `first` and `last` are
// its first token (after the labels) and its semicolon's (or the script's last).
struct CCommand {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t first = 0;
    std::size_t last = 0;
};

// What a dialog that ran asks of the rest of the script.
struct CDialogNote {
    std::size_t offset = 0;
    std::vector<CToken> labels;
    std::string checkboxVar;
};

// Reads the whole script with the interpreter's own tokenizer, from inside the first single-step question.
class CTokenReader final : public CToolInterpreter {
public:
    CTokenReader() : CToolInterpreter(true) {}
    std::vector<CToken> tokens;

protected:
    bool ConfirmStep(const char*) override
    {
        while (NextToken() != tokEndOfScript)
            tokens.push_back({TokenType(), TokenText().Chars(), TokenOffset()});
        return true;
    }
};

// Runs one command's text by itself, so that checking a script takes time in proportion to its length: a
// jump then finds no label, which the check leaves to its look at the whole script. The second single-step
// question stops the run, in case a jump lands on a label in front of the command.
class CCommandRun final : public CToolInterpreter {
public:
    // `base`: where the command's text begins in the whole script; `command`: where its name is.
    CCommandRun(std::size_t base, std::size_t command, std::vector<CDialogNote>& notes)
        : CToolInterpreter(true), mBase(base), mCommand(command), mNotes(notes)
    {
    }

    std::size_t Base() const { return mBase; }

protected:
    bool ConfirmStep(const char*) override { return mSteps++ == 0; }

    void ShowDialog(CToolDialog& dlg) override
    {
        CDialogNote note;
        note.offset = mCommand;
        for (Int i = 0; i < dlg.ButtonCount(); ++i)
            note.labels.push_back({tokLabel, dlg.ButtonLabel(i), mBase + dlg.LabelOffset(i)});
        if (dlg.HasCheckbox())
            note.checkboxVar = dlg.CheckboxVar();
        mNotes.push_back(note);
    }

private:
    std::size_t mBase;
    std::size_t mCommand;
    std::vector<CDialogNote>& mNotes;
    int mSteps = 0;
};

std::vector<CCommand> SplitCommands(const std::vector<CToken>& tokens, std::size_t scriptEnd)
{
    std::vector<CCommand> commands;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < tokens.size();) {
        CCommand cmd;
        cmd.begin = begin;
        cmd.first = i;
        while (cmd.first < tokens.size() && tokens[cmd.first].type == tokLabel)
            ++cmd.first;
        if (cmd.first == tokens.size())
            break;
        cmd.last = cmd.first;
        while (cmd.last + 1 < tokens.size() && tokens[cmd.last].type != tokSemicolon)
            ++cmd.last;
        bool ended = tokens[cmd.last].type == tokSemicolon;
        cmd.end = begin = ended ? tokens[cmd.last].offset + 1 : scriptEnd;
        commands.push_back(cmd);
        i = cmd.last + 1;
    }
    return commands;
}

bool IsJumpError(const std::string& message) { return message.rfind("can't find label (", 0) == 0; }

// What the checker learns from the script as a whole.
class CScriptCheck {
public:
    explicit CScriptCheck(const std::string& script) : mScript(script) {}
    std::vector<CScriptFinding> Run();

private:
    bool ReadTokens();
    void DefineIdentifiers();
    void RunCommand(const CCommand& cmd);
    void NoteCommand(const CCommand& cmd);
    void CheckJump(const CToken& label, bool fromButton);
    void WarnAboutJumps();
    void WarnAboutVariables();
    void Add(std::size_t offset, bool warning, const std::string& message)
    {
        mFindings.push_back({offset, warning, message});
    }

    const std::string& mScript;
    std::vector<CToken> mTokens;
    std::vector<CScriptFinding> mFindings;
    std::set<std::string> mLabels;
    std::set<std::string> mSetVars;
    std::vector<CToken> mJumps;   // labels of goto and if
    std::vector<CToken> mIfReads; // "$" variables that if reads
    std::vector<CDialogNote> mDialogs;
};

// A tokenizer error ends what can be known about the rest of the script.
bool CScriptCheck::ReadTokens()
{
    CTokenReader reader;
    reader.RunScript(mScript);
    mTokens = std::move(reader.tokens);
    for (const CToken& t : mTokens) {
        if (t.type == tokLabel)
            mLabels.insert(t.text);
    }
    if (reader.HasError())
        Add(reader.Error().offset, false, reader.Error().message);
    return !reader.HasError();
}

// `if` may compare any variable; each is given a value so that the rest of the command is read.
void CScriptCheck::DefineIdentifiers()
{
    for (const CToken& t : mTokens) {
        if (t.type == tokIdentifier && !GlobalVars.Find(t.text.c_str()))
            GlobalVars.Set(t.text.c_str(), "");
    }
}

void CScriptCheck::RunCommand(const CCommand& cmd)
{
    CCommandRun run(cmd.begin, mTokens[cmd.first].offset, mDialogs);
    run.RunScript(mScript.substr(cmd.begin, cmd.end - cmd.begin));
    for (const CToolInterpreter::CEvent& a : run.Assertions())
        Add(run.Base() + a.offset, false, "assertion \"" + a.message + "\": the program ends here");
    if (run.HasError() && !IsJumpError(run.Error().message))
        Add(run.Base() + run.Error().offset, false, run.Error().message);
    else if (run.Assertions().empty())
        NoteCommand(cmd);
}

// The command ran cleanly, so its tokens have the shape the interpreter read.
void CScriptCheck::NoteCommand(const CCommand& cmd)
{
    const std::vector<CToken>& t = mTokens;
    const std::string& name = t[cmd.first].text;
    if (name == "set") {
        mSetVars.insert(t[cmd.first + 1].text);
    } else if (name == "goto") {
        mJumps.push_back(t[cmd.first + 1]);
    } else if (name == "if") {
        for (std::size_t operand : {cmd.first + 1, cmd.first + 3}) {
            if (t[operand].type == tokIdentifier && t[operand].text[0] == '$')
                mIfReads.push_back(t[operand]);
        }
        for (std::size_t label : {cmd.first + 5, cmd.first + 7, cmd.first + 9})
            mJumps.push_back(t[label]);
    }
}

void CScriptCheck::CheckJump(const CToken& label, bool fromButton)
{
    if (label.text == "next" && fromButton)
        Add(label.offset, true, "a button must not jump to 'next': pressing it ends the program");
    else if (label.text != "exit" && label.text != "next" && !mLabels.count(label.text))
        Add(label.offset, true, "can't find label (" + label.text + ") for jump");
}

void CScriptCheck::WarnAboutJumps()
{
    for (const CToken& label : mJumps)
        CheckJump(label, false);
    for (const CDialogNote& dlg : mDialogs) {
        for (const CToken& label : dlg.labels)
            CheckJump(label, true);
        if (dlg.labels.empty() && !mLabels.count(""))
            Add(dlg.offset, true, "can't find label () for jump (closing a dialog without buttons jumps there)");
    }
}

void CScriptCheck::WarnAboutVariables()
{
    std::set<std::string> written = mSetVars;
    for (const CDialogNote& dlg : mDialogs)
        written.insert(dlg.checkboxVar);
    for (const CToken& var : mIfReads) {
        if (!written.count(var.text))
            Add(var.offset, true, "undefined variable (" + var.text + ") for 'if' command");
    }
}

std::vector<CScriptFinding> CScriptCheck::Run()
{
    CGlobalVarsSnapshot globals;
    std::size_t nul = mScript.find('\0');
    if (nul != std::string::npos)
        Add(nul, false, "NUL character: the program takes a page that holds one for no text at all");
    bool tokensRead = ReadTokens();
    DefineIdentifiers();
    for (const CCommand& cmd : SplitCommands(mTokens, mScript.size()))
        RunCommand(cmd);
    if (tokensRead)
        WarnAboutJumps();
    WarnAboutVariables();
    std::stable_sort(mFindings.begin(), mFindings.end(),
                     [](const CScriptFinding& a, const CScriptFinding& b) { return a.offset < b.offset; });
    auto same = [](const CScriptFinding& a, const CScriptFinding& b) {
        return a.offset == b.offset && a.warning == b.warning && a.message == b.message;
    };
    mFindings.erase(std::unique(mFindings.begin(), mFindings.end(), same), mFindings.end());
    return mFindings;
}

} // namespace

std::vector<CScriptFinding> CheckScript(const std::string& script) { return CScriptCheck(script).Run(); }

bool HasErrors(const std::vector<CScriptFinding>& findings)
{
    return std::any_of(findings.begin(), findings.end(), [](const CScriptFinding& f) { return !f.warning; });
}

std::string FormatFindings(const CScriptText& text, const std::vector<CScriptFinding>& findings)
{
    std::string out;
    for (const CScriptFinding& f : findings) {
        out += text.Where(f.offset) + (f.warning ? ": warning: " : ": ") + f.message + "\n";
        out += text.Excerpt(f.offset);
    }
    return out;
}
