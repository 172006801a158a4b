// Running a reply script from the command line: the global variables it starts from and the answers to its
// dialogs are given; what a user would see and what the script set is written out.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "ScriptText.h"

struct CRunOptions {
    // --press TEXT (a button's text or label) or --cancel (Esc or the close box).
    struct CAnswer {
        bool cancel = false;
        std::string press;
    };

    std::vector<std::pair<std::string, std::string>> globals;
    std::vector<CAnswer> answers; // one per dialog, in order
    std::vector<bool> checkboxes; // one per dialog with a checkbox, in order: ticked or not when it closes
    std::vector<std::string> installs; // --install RESULT: one per install command, in order; "started" after
    bool json = false;
};

// Exit status: 0 the script ran to its end, 1 it stopped on a script error or an assertion, 2 the answers do
// not fit its dialogs.
int RunScriptWithAnswers(const CScriptText& text, const CRunOptions& options, std::string& out);
