// The script check: the real tokenizer reads the script, the real interpreter runs each command once by
// itself, and what the commands that ran cleanly name is looked up across the whole script.
#include "ScriptCheck.h"

#include <set>

#include "ScriptHints.h"
#include "ScriptTokens.h"
#include "ToolInterpreter.h"

using namespace Orn;

namespace {

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
    std::vector<CScriptToken> labels;
    std::string checkboxVar;
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
            note.labels.push_back({tokLabel, dlg.ButtonLabel(i), mBase + dlg.LabelOffset(i), 0});
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

std::vector<CCommand> SplitCommands(const std::vector<CScriptToken>& tokens, std::size_t scriptEnd)
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

// Names the script defines, for a "did you mean" when one is missing.
std::vector<std::string> Names(const std::set<std::string>& names) { return {names.begin(), names.end()}; }

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
    void CheckJump(const CScriptToken& label, bool fromButton);
    void CheckJumps();
    void CheckVariables();
    void Add(std::size_t offset, const std::string& message) { mFindings.push_back({offset, false, message}); }
    std::string Explained(const std::string& message, std::size_t offset, const std::string& command) const
    {
        return ExplainError(message, CErrorPlace{mScript, mTokens, offset, command});
    }

    const std::string& mScript;
    std::vector<CScriptToken> mTokens;
    std::vector<CScriptFinding> mFindings;
    std::set<std::string> mLabels;
    std::set<std::string> mSetVars;
    std::vector<CScriptToken> mJumps;   // labels of goto and if
    std::vector<CScriptToken> mIfReads; // "$" variables that if reads
    std::vector<CDialogNote> mDialogs;
};

// A tokenizer error ends what can be known about the rest of the script.
bool CScriptCheck::ReadTokens()
{
    CScriptTokens tokens = ReadScriptTokens(mScript);
    mTokens = std::move(tokens.list);
    for (const CScriptToken& t : mTokens) {
        if (t.type == tokLabel)
            mLabels.insert(t.text);
    }
    if (!tokens.complete)
        Add(tokens.error.offset, Explained(tokens.error.message, tokens.error.offset, ""));
    return tokens.complete;
}

// `if` may compare any variable; each is given a value so that the rest of the command is read.
void CScriptCheck::DefineIdentifiers()
{
    for (const CScriptToken& t : mTokens) {
        if (t.type == tokIdentifier && !GlobalVars.Find(t.text.c_str()))
            GlobalVars.Set(t.text.c_str(), "");
    }
}

void CScriptCheck::RunCommand(const CCommand& cmd)
{
    CCommandRun run(cmd.begin, mTokens[cmd.first].offset, mDialogs);
    run.RunScript(mScript.substr(cmd.begin, cmd.end - cmd.begin));
    for (const CToolInterpreter::CEvent& a : run.Assertions())
        Add(run.Base() + a.offset, "assertion \"" + a.message + "\": the program ends here");
    std::size_t at = run.Base() + run.Error().offset;
    if (run.HasError() && !IsJumpError(run.Error().message))
        Add(at, Explained(run.Error().message, at, mTokens[cmd.first].text));
    else if (run.Assertions().empty())
        NoteCommand(cmd);
}

// The command ran cleanly, so its tokens have the shape the interpreter read.
void CScriptCheck::NoteCommand(const CCommand& cmd)
{
    const std::vector<CScriptToken>& t = mTokens;
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

void CScriptCheck::CheckJump(const CScriptToken& label, bool fromButton)
{
    if (label.text == "next" && fromButton)
        Add(label.offset, "a button must not jump to 'next': pressing it ends the program");
    else if (label.text != "exit" && label.text != "next" && !mLabels.count(label.text))
        Add(label.offset, "can't find label (" + label.text + ") for jump" + DidYouMean(label.text, Names(mLabels)));
}

void CScriptCheck::CheckJumps()
{
    for (const CScriptToken& label : mJumps)
        CheckJump(label, false);
    for (const CDialogNote& dlg : mDialogs) {
        for (const CScriptToken& label : dlg.labels)
            CheckJump(label, true);
        if (dlg.labels.empty() && !mLabels.count(""))
            Add(dlg.offset, "can't find label () for jump (closing a dialog without buttons jumps there)");
    }
}

void CScriptCheck::CheckVariables()
{
    std::set<std::string> written = mSetVars;
    for (const CDialogNote& dlg : mDialogs)
        written.insert(dlg.checkboxVar);
    for (const CScriptToken& var : mIfReads) {
        if (!written.count(var.text))
            Add(var.offset,
                "undefined variable (" + var.text + ") for 'if' command" + DidYouMean(var.text, Names(written)));
    }
}

std::vector<CScriptFinding> CScriptCheck::Run()
{
    CGlobalVarsSnapshot globals;
    // The shipped configuration's open_new policy: a URL it refuses fails on every user's machine.
    if (!GlobalVars.Find("OpenURLPolicy"))
        GlobalVars.Set("OpenURLPolicy", "web");
    std::size_t nul = mScript.find('\0');
    if (nul != std::string::npos)
        Add(nul, "NUL character: the program takes a page that holds one for no text at all");
    bool tokensRead = ReadTokens();
    DefineIdentifiers();
    for (const CCommand& cmd : SplitCommands(mTokens, mScript.size()))
        RunCommand(cmd);
    if (tokensRead)
        CheckJumps();
    CheckVariables();
    SortFindings(mFindings);
    return mFindings;
}

} // namespace

std::vector<CScriptFinding> CheckScript(const std::string& script) { return CScriptCheck(script).Run(); }
