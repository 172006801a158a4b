// Rules: parsing the rules file word by word, reading versions safely, and matching requests.
#include "ServerRules.h"

#include <algorithm>
#include <regex>

#include "MachineIdentity.h"

using namespace Orn;

namespace {

// What the program sends: the core parameters, the test ones, the signed reply's nonce and the delay page's.
const char* const cProgramParams[] = {
    "VR_Product",  "VR_ProdLang", "VR_ProdVer",  "VR_Vendor",  "VR_OS",      "VR_OSVer",    "VR_OSLang",
    "VR_OSBits",   "VR_MachTime", "VR_UserTime", "VR_Random",  "VR_MACAddr", "VR_ShowTips", "VR_LastUW",
    "VR_LastTip",  "VR_AutoUW",   "VR_TestVer",  "VR_TestScript", "VR_Nonce", "VR_TIMEDELAY",
};
const char* const cRuleWords[] = {"and", "or", "otherwise", "declare", "rollout"};

// Numbers stay well inside 32 bits, so no version field can overflow when it is read or compared.
const std::regex cDottedForm("[0-9]{1,9}\\.[0-9]{1,9}\\.([0-9]{1,3})\\.[0-9]{1,9}");
const std::regex cDisplayForm("[0-9]{1,6}\\.[0-9]{1,6}[a-z]?( (alpha|beta) [0-9]{1,6})?");
const std::regex cShareForm("([0-9]{1,3})(\\.([0-9]{1,2}))?%");
const std::regex cNameForm("[A-Za-z0-9_]+");

bool IsProgramParam(const std::string& name)
{
    return std::find(std::begin(cProgramParams), std::end(cProgramParams), name) != std::end(cProgramParams);
}

bool IsRuleWord(const std::string& word)
{
    return std::find(std::begin(cRuleWords), std::end(cRuleWords), word) != std::end(cRuleWords);
}

bool IsPlainFileName(const std::string& name)
{
    return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\") == std::string::npos;
}

// Edits that turn one name into the other, up to a limit (anything above it counts as limit + 1).
std::size_t EditDistance(const std::string& a, const std::string& b, std::size_t limit)
{
    if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) > limit)
        return limit + 1;
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            std::size_t next = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = row[j];
            row[j] = next;
        }
    }
    return row[b.size()];
}

// " (did you mean 'VR_ProdVer'?)" for a name one or two edits away from a known one.
std::string NearName(const std::string& name, const std::set<std::string>& declared)
{
    std::vector<std::string> known(std::begin(cProgramParams), std::end(cProgramParams));
    known.insert(known.end(), declared.begin(), declared.end());
    for (const std::string& candidate : known) {
        if (EditDistance(name, candidate, 2) <= 2)
            return " (did you mean '" + candidate + "'?)";
    }
    return "";
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

namespace {

// A rollout holds for the machines whose place (-1: none) lies inside its share; the full share holds for all,
// those without an identity too.
bool Holds(const CServerRules::CCondition& cond, const CVarList& params, long point)
{
    using EOp = CServerRules::EOp;
    if (cond.op == EOp::rollout)
        return cond.share >= cRolloutPoints || (point >= 0 && point < static_cast<long>(cond.share));
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

} // namespace

// One line of the rules file after its words are split: a rule or a declaration. The first problem ends it.
class CServerRules::CLineParser {
public:
    CLineParser(CRuleLine& line, const std::set<std::string>& declared) : mLine(line), mDeclared(declared) {}

    bool ParseRule(CRule& rule);
    bool ParseDeclaration(std::vector<std::string>& names);

private:
    bool ParseCondition(CCondition& cond);
    bool ParseName(std::string& name);
    bool ParseOperator(const std::string& name, CCondition& cond);
    bool ParseVersion(const char* after, std::string& version);
    bool ParseText(const char* what, const char* after, std::string& text);
    bool ParseShare(unsigned& share);
    bool ParseReply(CRule& rule);
    bool AtValueEnd() const { return mLine.AtEnd() || mLine.AtWord("->"); }

    CRuleLine& mLine;
    const std::set<std::string>& mDeclared;
};

bool CServerRules::CLineParser::ParseRule(CRule& rule)
{
    if (mLine.AtWord("otherwise")) {
        mLine.Take();
        return mLine.AtWord("->") ? ParseReply(rule) : mLine.Fail(mLine.Peek(), "expected '-> FILE' after 'otherwise'");
    }
    for (;;) {
        rule.conditions.emplace_back();
        if (!ParseCondition(rule.conditions.back()))
            return false;
        if (mLine.AtWord("->"))
            return ParseReply(rule);
        if (mLine.AtWord("or"))
            return mLine.Fail(mLine.Peek(), "'or' is not understood: write one rule for each alternative, each "
                                            "with its own '-> FILE'");
        if (!mLine.AtWord("and"))
            return mLine.Fail(mLine.Peek(), "expected 'and' or '-> FILE' after the condition");
        mLine.Take();
    }
}

bool CServerRules::CLineParser::ParseCondition(CCondition& cond)
{
    if (AtValueEnd())
        return mLine.Fail(mLine.Peek(), "expected a condition");
    if (mLine.AtWord("rollout")) {
        mLine.Take();
        cond.op = EOp::rollout;
        return ParseShare(cond.share);
    }
    return ParseName(cond.name) && ParseOperator(cond.name, cond);
}

bool CServerRules::CLineParser::ParseName(std::string& name)
{
    const CRuleWord& word = mLine.Take();
    name = word.text;
    if (word.quoted || IsRuleWord(name))
        return mLine.Fail(&word, "expected a condition, found '" + name + "'");
    if (IsProgramParam(name) || mDeclared.count(name))
        return true;
    return mLine.Fail(&word, "unknown parameter '" + name + "': the program never sends it" +
                                 NearName(name, mDeclared) + "; a parameter of the product's own needs 'declare " +
                                 name + "'");
}

bool CServerRules::CLineParser::ParseOperator(const std::string& name, CCondition& cond)
{
    const CRuleWord* word = mLine.Peek();
    std::string op = word && !word->quoted ? word->text : "";
    if (op == "older" || op == "newer") {
        mLine.Take();
        if (!mLine.AtWord("than"))
            return mLine.Fail(mLine.Peek(), "expected 'than' after '" + op + "'");
        mLine.Take();
        cond.op = op == "older" ? EOp::olderThan : EOp::newerThan;
        return ParseVersion(op == "older" ? "older than" : "newer than", cond.value);
    }
    if (op == "is" || op == "like") {
        mLine.Take();
        cond.op = op == "is" ? EOp::is : EOp::like;
        return ParseText(op == "is" ? "a text" : "a pattern", op.c_str(), cond.value);
    }
    return mLine.Fail(word, "expected 'older than', 'newer than', 'is' or 'like' after '" + name + "'");
}

// A version may span three words: "3.0 beta 2".
bool CServerRules::CLineParser::ParseVersion(const char* after, std::string& version)
{
    if (AtValueEnd())
        return mLine.Fail(mLine.Peek(), std::string("expected a version after '") + after + "'");
    const CRuleWord& first = mLine.Take();
    version = first.text;
    if (mLine.AtWord("alpha") || mLine.AtWord("beta")) {
        version += " " + mLine.Take().text;
        if (!AtValueEnd())
            version += " " + mLine.Take().text;
    }
    CVersion parsed;
    if (first.quoted || !ParseRuleVersion(version, parsed))
        return mLine.Fail(&first, "not a version: '" + version +
                                      "' (write it as the program shows it: 3.2, 3.1c, 3.0 beta 2)");
    return true;
}

bool CServerRules::CLineParser::ParseText(const char* what, const char* after, std::string& text)
{
    if (AtValueEnd())
        return mLine.Fail(mLine.Peek(), std::string("expected ") + what + " after '" + after + "'");
    text = mLine.Take().text;
    return true;
}

bool CServerRules::CLineParser::ParseShare(unsigned& share)
{
    const CRuleWord* word = mLine.Peek();
    std::smatch parts;
    if (!word || word->quoted || !std::regex_match(word->text, parts, cShareForm))
        return mLine.Fail(word, "expected a share of machines such as 10% or 2.5% after 'rollout'");
    std::string fraction = parts[3].str() + std::string(2 - parts[3].length(), '0');
    share = static_cast<unsigned>(std::stoul(parts[1].str()) * 100 + std::stoul(fraction));
    if (share > cRolloutPoints)
        return mLine.Fail(word, "a share is at most 100%");
    mLine.Take();
    return true;
}

bool CServerRules::CLineParser::ParseReply(CRule& rule)
{
    mLine.Take();
    if (mLine.AtEnd())
        return mLine.Fail(nullptr, "expected the reply file after '->'");
    const CRuleWord& file = mLine.Take();
    rule.reply = file.text;
    rule.replyColumn = file.column;
    if (!IsPlainFileName(rule.reply))
        return mLine.Fail(&file, "the reply must be a file name in the folder: '" + rule.reply + "'");
    return mLine.AtEnd() || mLine.Fail(mLine.Peek(), "expected the end of the line after the reply file (comments "
                                                     "go on lines of their own)");
}

bool CServerRules::CLineParser::ParseDeclaration(std::vector<std::string>& names)
{
    mLine.Take();
    if (mLine.AtEnd())
        return mLine.Fail(nullptr, "expected a parameter name after 'declare'");
    while (!mLine.AtEnd()) {
        const CRuleWord& word = mLine.Take();
        const std::string& name = word.text;
        if (!word.quoted && IsRuleWord(name))
            return mLine.Fail(&word, "'" + name + "' is a word of the rules, not a parameter name");
        if (word.quoted || !std::regex_match(name, cNameForm))
            return mLine.Fail(&word, "not a parameter name: '" + name + "' (letters, digits and '_')");
        if (IsProgramParam(name))
            return mLine.Fail(&word, "'" + name + "' is sent by the program: declare only the product's own "
                                                  "parameters");
        if (mDeclared.count(name) || std::count(names.begin(), names.end(), name))
            return mLine.Fail(&word, "'" + name + "' is declared already");
        names.push_back(name);
    }
    return true;
}

bool CServerRules::Parse(const std::string& fileName, const std::string& text, std::string& errors)
{
    mFileName = fileName;
    mRules.clear();
    mDeclared.clear();
    mHasRollout = false;
    std::vector<CRuleLine> lines = SplitRuleLines(text);
    // Declarations first, so that a rule may use a name declared below it.
    for (CRuleLine& line : lines) {
        // The names before a problem count, so that one mistake does not make every use of them another.
        std::vector<std::string> names;
        if (line.StartsWith("declare"))
            CLineParser(line, mDeclared).ParseDeclaration(names);
        mDeclared.insert(names.begin(), names.end());
    }
    int otherwiseLine = 0;
    errors.clear();
    for (CRuleLine& line : lines) {
        if (!line.HasProblem() && !line.StartsWith("declare"))
            ParseRuleLine(line, otherwiseLine);
        errors += line.Problem(fileName);
    }
    if (errors.empty() && !otherwiseLine) {
        errors = fileName + ":" + std::to_string(mRules.empty() ? 1 : mRules.back().line) +
                 ":1: the last rule must be 'otherwise -> FILE'\n";
    }
    return errors.empty();
}

void CServerRules::ParseRuleLine(CRuleLine& line, int& otherwiseLine)
{
    CRule rule;
    rule.line = line.Line();
    rule.text = line.Text().substr(line.Text().find_first_not_of(" \t\r"));
    if (!CLineParser(line, mDeclared).ParseRule(rule))
        return;
    if (otherwiseLine) {
        line.Fail(line.First(),
                  "no request reaches a rule after 'otherwise' (line " + std::to_string(otherwiseLine) + ")");
        return;
    }
    if (rule.conditions.empty())
        otherwiseLine = rule.line;
    for (const CCondition& cond : rule.conditions)
        mHasRollout = mHasRollout || cond.op == EOp::rollout;
    mRules.push_back(rule);
}

const CServerRules::CRule& CServerRules::ChooseRule(const CVarList& params) const
{
    std::string identity = mHasRollout ? MachineIdentity(params) : "";
    long point = identity.empty() ? -1 : static_cast<long>(RolloutPoint(identity));
    for (const CRule& rule : mRules) {
        bool holds = true;
        for (const CCondition& cond : rule.conditions)
            holds = holds && Holds(cond, params, point);
        if (holds)
            return rule;
    }
    return mRules.back();
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

std::string CServerRules::WhereNamed(const std::string& reply) const
{
    for (const CRule& rule : mRules) {
        if (rule.reply == reply)
            return WhereIs(rule) + ":" + std::to_string(rule.replyColumn);
    }
    return mFileName;
}

std::string CServerRules::WhereIs(const CRule& rule) const { return mFileName + ":" + std::to_string(rule.line); }
