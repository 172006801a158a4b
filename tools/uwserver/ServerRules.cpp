// Rules: parsing the rules file, reading versions safely, and matching requests.
#include "ServerRules.h"

#include <algorithm>
#include <regex>

using namespace Orn;

namespace {

const char cOtherwise[] = "otherwise";

// Numbers stay well inside 32 bits, so no version field can overflow when it is read or compared.
const std::regex cDottedForm("[0-9]{1,9}\\.[0-9]{1,9}\\.([0-9]{1,3})\\.[0-9]{1,9}");
const std::regex cDisplayForm("[0-9]{1,6}\\.[0-9]{1,6}[a-z]?( (alpha|beta) [0-9]{1,6})?");

std::string Trim(const std::string& text)
{
    const char* blanks = " \t\r\n";
    std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return "";
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// Takes the first blank-separated word off the text.
std::string TakeWord(std::string& text)
{
    text = Trim(text);
    std::size_t end = text.find_first_of(" \t");
    std::string word = text.substr(0, end);
    text = end == std::string::npos ? "" : Trim(text.substr(end));
    return word;
}

// Splits at each blank-separated "and".
std::vector<std::string> SplitAtAnd(const std::string& text)
{
    std::vector<std::string> parts(1);
    std::string rest = text;
    while (!rest.empty()) {
        std::string word = TakeWord(rest);
        if (word == "and")
            parts.emplace_back();
        else
            parts.back() += (parts.back().empty() ? "" : " ") + word;
    }
    return parts;
}

bool IsPlainFileName(const std::string& name)
{
    return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\") == std::string::npos;
}

} // namespace

bool ParseRequestVersion(const std::string& text, CVersion& version)
{
    std::smatch parts;
    // The third number lives in a byte.
    if (std::regex_match(text, parts, cDottedForm) && std::stoi(parts[1].str()) <= 255)
        return version.Parse(text.c_str(), vsDotted);
    return ParseRuleVersion(text, version);
}

bool ParseRuleVersion(const std::string& text, CVersion& version)
{
    return std::regex_match(text, cDisplayForm) && version.Parse(text.c_str(), vsDisplay);
}

// Walks both texts once; on a mismatch it backtracks to just after the last "*".
bool GlobMatch(const std::string& pattern, const std::string& text)
{
    std::size_t p = 0, t = 0, star = std::string::npos, resume = 0;
    while (t < text.size()) {
        if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == text[t])) {
            ++p, ++t;
        } else if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            resume = t;
        } else if (star != std::string::npos) {
            p = star + 1;
            t = ++resume;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

bool CServerRules::ParseCondition(std::string text, CCondition& cond, std::string& why)
{
    cond.name = TakeWord(text);
    std::string op = TakeWord(text);
    if ((op == "older" || op == "newer") && TakeWord(text) == "than")
        cond.op = op == "older" ? EOp::olderThan : EOp::newerThan;
    else if (op == "is" || op == "like")
        cond.op = op == "is" ? EOp::is : EOp::like;
    else
        text.clear();
    cond.value = text;
    if (cond.name.empty() || cond.value.empty()) {
        why = "expected NAME older than VERSION, NAME newer than VERSION, NAME is TEXT or NAME like PATTERN";
        return false;
    }
    CVersion version;
    bool versionOp = cond.op == EOp::olderThan || cond.op == EOp::newerThan;
    if (versionOp && !ParseRuleVersion(cond.value, version)) {
        why = "not a version: '" + cond.value + "' (write it as the program shows it: 3.2, 3.1c, 3.0 beta 2)";
        return false;
    }
    return true;
}

bool CServerRules::ParseRule(const std::string& line, CRule& rule, std::string& why) const
{
    std::size_t arrow = line.find("->");
    if (arrow == std::string::npos) {
        why = "expected CONDITIONS -> FILE or otherwise -> FILE";
        return false;
    }
    rule.reply = Trim(line.substr(arrow + 2));
    if (!IsPlainFileName(rule.reply)) {
        why = "the reply must be a file name in the folder: '" + rule.reply + "'";
        return false;
    }
    if (!mRules.empty() && mRules.back().conditions.empty()) {
        why = "no request reaches a rule after 'otherwise'";
        return false;
    }
    std::string conditions = Trim(line.substr(0, arrow));
    if (conditions == cOtherwise)
        return true;
    for (const std::string& part : SplitAtAnd(conditions)) {
        rule.conditions.emplace_back();
        if (!ParseCondition(part, rule.conditions.back(), why))
            return false;
    }
    return true;
}

bool CServerRules::Parse(const std::string& fileName, const std::string& text, std::string& errors)
{
    mRules.clear();
    errors.clear();
    std::size_t start = 0;
    for (int lineNo = 1; start < text.size(); ++lineNo) {
        std::size_t end = text.find('\n', start);
        std::string line = Trim(text.substr(start, end == std::string::npos ? end : end - start));
        start = end == std::string::npos ? text.size() : end + 1;
        if (line.empty() || line[0] == '#')
            continue;
        CRule rule;
        std::string why;
        if (ParseRule(line, rule, why))
            mRules.push_back(rule);
        else
            errors += fileName + ":" + std::to_string(lineNo) + ": " + why + "\n";
    }
    if (errors.empty() && (mRules.empty() || !mRules.back().conditions.empty()))
        errors = fileName + ": the last rule must be 'otherwise -> FILE'\n";
    return errors.empty();
}

bool CServerRules::Holds(const CCondition& cond, const CVarList& params)
{
    const char* value = params.Find(cond.name.c_str());
    if (!value)
        return false;
    if (cond.op == EOp::is)
        return cond.value == value;
    if (cond.op == EOp::like)
        return GlobMatch(cond.value, value);
    // Versions are read where they are compared: CVersion objects are not for keeping invalid ones around.
    CVersion ruleVersion, requestVersion;
    if (!ParseRuleVersion(cond.value, ruleVersion) || !ParseRequestVersion(value, requestVersion))
        return false;
    return cond.op == EOp::olderThan ? ruleVersion.IsNewer(requestVersion) : requestVersion.IsNewer(ruleVersion);
}

const std::string& CServerRules::Choose(const CVarList& params) const
{
    for (const CRule& rule : mRules) {
        bool holds = true;
        for (const CCondition& cond : rule.conditions)
            holds = holds && Holds(cond, params);
        if (holds)
            return rule.reply;
    }
    return mRules.back().reply;
}

std::vector<std::string> CServerRules::ReplyFiles() const
{
    std::vector<std::string> files;
    for (const CRule& rule : mRules) {
        if (std::find(files.begin(), files.end(), rule.reply) == files.end())
            files.push_back(rule.reply);
    }
    return files;
}
