// The lines of a rules file as words with their columns, and the first problem found on each line.
#pragma once

#include <string>
#include <vector>

struct CRuleWord {
    std::string text;
    int column = 0; // from 1, counting bytes
    bool quoted = false;
};

// One line's words, read front to back. Words are separated by blanks; "->" is always a word of its own, and
// a text in double quotes is one word with its blanks (and without its quotes).
class CRuleLine {
public:
    CRuleLine(int line, const std::string& text);

    int Line() const { return mLine; }
    const std::string& Text() const { return mText; }

    bool AtEnd() const { return mNext == mWords.size(); }
    bool AtWord(const char* word) const { return !AtEnd() && !mWords[mNext].quoted && mWords[mNext].text == word; }
    // The next word, or null at the end of the line.
    const CRuleWord* Peek() const { return AtEnd() ? nullptr : &mWords[mNext]; }
    const CRuleWord* First() const { return mWords.empty() ? nullptr : &mWords[0]; }
    bool StartsWith(const char* word) const { return First() && !First()->quoted && First()->text == word; }
    // Takes the next word; the line must not be at its end.
    const CRuleWord& Take() { return mWords[mNext++]; }

    // Notes the line's problem at a word, or at the end of the line for null; always false. The first one stays.
    bool Fail(const CRuleWord* at, const std::string& message);
    bool HasProblem() const { return !mProblem.empty(); }
    // "NAME:LINE:COLUMN: message\n", or nothing without a problem.
    std::string Problem(const std::string& fileName) const;

private:
    void Split();

    int mLine;
    std::string mText;
    std::vector<CRuleWord> mWords;
    std::size_t mNext = 0;
    int mProblemColumn = 0;
    std::string mProblem;
};

// The lines that hold words: blank lines and comments (lines whose first word begins with "#") are left out.
std::vector<CRuleLine> SplitRuleLines(const std::string& text);
