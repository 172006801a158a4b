// Splitting the rules file into lines and words.
#include "RuleWords.h"

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

} // namespace

CRuleLine::CRuleLine(int line, const std::string& text) : mLine(line), mText(text)
{
    while (!mText.empty() && IsBlank(mText.back()))
        mText.pop_back();
    Split();
}

void CRuleLine::Split()
{
    std::size_t at = 0;
    while (at < mText.size()) {
        if (IsBlank(mText[at])) {
            ++at;
            continue;
        }
        CRuleWord word;
        word.column = static_cast<int>(at) + 1;
        if (mText[at] == '"') {
            std::size_t close = mText.find('"', at + 1);
            if (close == std::string::npos) {
                Fail(&word, "the quoted text has no closing '\"'");
                mWords.clear();
                return;
            }
            word.text = mText.substr(at + 1, close - at - 1);
            word.quoted = true;
            at = close + 1;
        } else if (mText.compare(at, 2, "->") == 0) {
            word.text = "->";
            at += 2;
        } else {
            std::size_t end = at;
            while (end < mText.size() && !IsBlank(mText[end]) && mText.compare(end, 2, "->") != 0)
                ++end;
            word.text = mText.substr(at, end - at);
            at = end;
        }
        mWords.push_back(word);
    }
}

bool CRuleLine::Fail(const CRuleWord* at, const std::string& message)
{
    if (mProblem.empty()) {
        mProblemColumn = at ? at->column : static_cast<int>(mText.size()) + 1;
        mProblem = message;
    }
    return false;
}

std::string CRuleLine::Problem(const std::string& fileName) const
{
    if (mProblem.empty())
        return "";
    return fileName + ":" + std::to_string(mLine) + ":" + std::to_string(mProblemColumn) + ": " + mProblem + "\n";
}

std::vector<CRuleLine> SplitRuleLines(const std::string& text)
{
    std::vector<CRuleLine> lines;
    std::size_t start = 0;
    for (int lineNo = 1; start < text.size(); ++lineNo) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(start, end - start);
        start = end + 1;
        std::size_t first = line.find_first_not_of(" \t\r");
        if (first != std::string::npos && line[first] != '#')
            lines.emplace_back(lineNo, line);
    }
    return lines;
}
