// The rules that choose a reply for a version request, read from the rules file of a reply folder.
#pragma once

#include <string>
#include <vector>

#include "VarList.h"
#include "Version.h"

class CServerRules {
public:
    // Reads the rules; false with one "NAME:LINE: message" line per problem in `errors`.
    bool Parse(const std::string& fileName, const std::string& text, std::string& errors);
    // The reply file of the first rule whose conditions all hold; the last rule always holds.
    const std::string& Choose(const Orn::CVarList& params) const;
    // Every reply file the rules name, each once, in the order first named.
    std::vector<std::string> ReplyFiles() const;

private:
    enum class EOp { olderThan, newerThan, is, like };
    struct CCondition {
        std::string name;
        EOp op = EOp::is;
        std::string value; // for the version tests, a display form that ParseRuleVersion takes
    };
    struct CRule {
        std::vector<CCondition> conditions; // none for "otherwise"
        std::string reply;
    };

    static bool ParseCondition(std::string text, CCondition& cond, std::string& why);
    static bool Holds(const CCondition& cond, const Orn::CVarList& params);
    bool ParseRule(const std::string& line, CRule& rule, std::string& why) const;

    std::vector<CRule> mRules;
};

// A version as a request carries it: the four dotted numbers the program sends ("3.10.0.0" for 3.1), or the
// display form ("3.1c", "3.0 beta 2"). False for anything else, and for numbers too large to be versions.
bool ParseRequestVersion(const std::string& text, Orn::CVersion& version);
// A version as a rule names it: the display form only.
bool ParseRuleVersion(const std::string& text, Orn::CVersion& version);
// Glob matching, case-sensitive: "*" stands for any run of characters, "?" for one.
bool GlobMatch(const std::string& pattern, const std::string& text);
