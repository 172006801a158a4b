// The rules that choose a reply for a version request, read from the rules file of a reply folder. Every word
// of the file must be understood, and a condition may only test a parameter the program sends or the file
// declares.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "RuleWords.h"
#include "VarList.h"
#include "Version.h"

class CServerRules {
public:
    enum class EOp { olderThan, newerThan, is, like, rollout };
    struct CCondition {
        std::string name;
        EOp op = EOp::is;
        std::string value;  // for the version tests, a display form that ParseRuleVersion takes
        unsigned share = 0; // for rollout, in hundredths of a percent
    };
    struct CRule {
        int line = 0;
        std::string text;                   // the line as written
        std::vector<CCondition> conditions; // none for "otherwise"
        std::string reply;
        int replyColumn = 0;
    };

    // Reads the rules; false with one "NAME:LINE:COLUMN: message" line per problem in `errors`, in file order.
    bool Parse(const std::string& fileName, const std::string& text, std::string& errors);
    // The first rule whose conditions all hold; the last rule always holds.
    const CRule& ChooseRule(const Orn::CVarList& params) const;
    const std::string& Choose(const Orn::CVarList& params) const { return ChooseRule(params).reply; }
    // Every reply file the rules name, each once, in the order first named.
    std::vector<std::string> ReplyFiles() const;
    // "NAME:LINE:COLUMN" of the first mention of a reply file, "NAME:LINE" of a rule.
    std::string WhereNamed(const std::string& reply) const;
    std::string WhereIs(const CRule& rule) const;
    bool HasRollout() const { return mHasRollout; }

private:
    class CLineParser;
    void ParseRuleLine(CRuleLine& line, int& otherwiseLine);

    std::string mFileName;
    std::vector<CRule> mRules;
    std::set<std::string> mDeclared;
    bool mHasRollout = false;
};

// A version as a request carries it: the four dotted numbers the program sends ("3.10.0.0" for 3.1), or the
// display form ("3.1c", "3.0 beta 2"). False for anything else, and for numbers too large to be versions.
bool ParseRequestVersion(const std::string& text, Orn::CVersion& version);
// A version as a rule names it: the display form only.
bool ParseRuleVersion(const std::string& text, Orn::CVersion& version);
// Glob matching, case-sensitive: "*" stands for any run of characters, "?" for one.
bool GlobMatch(const std::string& pattern, const std::string& text);
