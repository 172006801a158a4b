// Explaining script errors: by the command the program was reading, then by what any command can meet.
#include "ScriptHints.h"

#include <algorithm>
#include <cctype>

#include "SettableNames.h"
#include "VersionScript.h"

using namespace Orn;

namespace {

const std::vector<std::string> cCommands = {"set", "goto", "if", "open_new", "dialog"};
const std::vector<std::string> cDialogOptions = {"width", "checkbox", "button"};

std::vector<std::string> SettableNames()
{
    std::vector<std::string> names;
    for (const char* const* name = ProductSettableNames; *name; ++name)
        names.push_back(*name);
    return names;
}

const CScriptToken* Met(const CErrorPlace& place) { return TokenAt(place.tokens, place.offset); }

// The token before the one the program met, or null.
const CScriptToken* Before(const CErrorPlace& place)
{
    auto it = std::lower_bound(place.tokens.begin(), place.tokens.end(), place.offset,
                               [](const CScriptToken& t, std::size_t at) { return t.offset < at; });
    return it == place.tokens.begin() ? nullptr : &*(it - 1);
}

bool Is(const CScriptToken* t, Int type) { return t && t->type == type; }

// "identifier 'set'", "string \"...\"", "semicolon", "end-of-script".
std::string Shown(const CScriptToken* t, const std::string& script)
{
    if (!t)
        return "end-of-script";
    if (t->type == tokSlash)
        return "'/'";
    std::string kind = CVersionScriptInterpreter::TokenTypeName(t->type);
    if (t->type == tokComma || t->type == tokSemicolon)
        return kind;
    std::string raw = script.substr(t->offset, t->end - t->offset);
    if (raw.size() > 30)
        raw = raw.substr(0, 27) + "...";
    return kind + (t->type == tokString ? " " : " '") + raw + (t->type == tokString ? "" : "'");
}

std::string Got(const std::string& message, const CErrorPlace& place)
{
    return message + ", but got " + Shown(Met(place), place.script);
}

std::string Named(const std::string& message)
{
    std::size_t open = message.find('(');
    return open == std::string::npos ? "" : message.substr(open + 1, message.find(')', open) - open - 1);
}

// The dialog option whose parts the program was reading.
std::string OpenOption(const CErrorPlace& place)
{
    const CScriptToken* before = Before(place);
    for (std::size_t i = before ? static_cast<std::size_t>(before - place.tokens.data()) + 1 : 0; i-- > 0;) {
        const CScriptToken& t = place.tokens[i];
        if (t.type == tokIdentifier && std::count(cDialogOptions.begin(), cDialogOptions.end(), t.text))
            return t.text;
        if (t.type == tokSemicolon)
            break;
    }
    return "";
}

std::string LookingFor(const std::string& message, const CErrorPlace& place)
{
    std::string wanted = message.substr(12, message.find(',') - 12);
    const CScriptToken* met = Met(place);
    std::string out = message.substr(0, message.find(", but got")) + ", but got " + Shown(met, place.script);
    const CScriptToken* before = Before(place);
    // "0X1F" and "012" read as two tokens each.
    if (Is(before, tokNumber) && before->text == "0" && met && met->offset == before->end) {
        if (Is(met, tokIdentifier) && met->text[0] == 'X')
            return out + " (a hexadecimal number begins with a lower-case 0x)";
        if (Is(met, tokNumber))
            return out + " (a number other than 0 does not begin with 0)";
    }
    if (wanted == "semicolon" && Is(met, tokIdentifier))
        return out + " (missing semicolon before it?)";
    if (wanted == "comma" && (Is(met, tokIdentifier) || Is(met, tokString) || Is(met, tokNumber)))
        return out + " (missing comma before it?)";
    if (wanted == "identifier" && Is(met, tokLabel))
        return out + " (name the label without its ':')";
    std::string option = place.command == "dialog" && Is(met, tokSemicolon) ? OpenOption(place) : "";
    if (option == "button" && Is(before, tokString))
        return out + " (a button needs the label it jumps to: button, \"TEXT\", LABEL)";
    if (option == "checkbox" && Is(before, tokString))
        return out + " (a checkbox needs the variable it sets: checkbox, \"TEXT\", NAME)";
    return out;
}

std::string UnexpectedCharacter(const std::string& message, const CErrorPlace& place)
{
    auto c = static_cast<unsigned char>(place.script[place.offset]);
    if (c < 0x20 || c == 0x7F)
        return message + " (a control character)";
    std::string out = message + " '" + std::string(1, static_cast<char>(c)) + "'";
    if (c >= 0x80)
        return out + " (outside strings and comments a script is plain ASCII)";
    if (c == '=')
        return out + " (write set NAME, VALUE;)";
    if (c == '\'')
        return out + " (a string is written in double quotes)";
    if (c == '_')
        return out + " (a name begins with a letter or '$')";
    return out;
}

std::string ExpectedCommand(const std::string&, const CErrorPlace& place)
{
    const CScriptToken* met = Met(place);
    const CScriptToken* before = Before(place);
    std::string out = "expected command name, but got " + Shown(met, place.script);
    if (Is(met, tokSemicolon) && Is(before, tokLabel))
        return out + " (a label takes no semicolon: write ':" + before->text + "' alone)";
    if (Is(met, tokSemicolon) && (!before || before->type == tokSemicolon))
        return out + " (one semicolon too many)";
    return out;
}

std::string UnknownCommand(const std::string& message, const CErrorPlace& place)
{
    const CScriptToken* met = Met(place);
    std::string word = met ? met->text : "";
    return message + " '" + word + "'" + DidYouMean(word, cCommands);
}

std::string IllegalVariable(const std::string& message, const CErrorPlace&)
{
    std::string near = DidYouMean(Named(message), SettableNames());
    return message + (near.empty() ? " (a script's own variables begin with '$')" : near);
}

std::string UnknownOption(const std::string& message, const CErrorPlace&)
{
    return message + DidYouMean(Named(message), cDialogOptions);
}

std::string ButtonFlag(const std::string& message, const CErrorPlace& place)
{
    const CScriptToken* met = Met(place);
    return Got(message, place) + DidYouMean(met ? met->text : "", {"def", "close"});
}

std::string OptionKeyword(const std::string& message, const CErrorPlace& place)
{
    if (Is(Met(place), tokString))
        return Got(message, place) + " (a message goes on with its next string, no comma between)";
    return Got(message, place);
}

std::string SetValue(const std::string& message, const CErrorPlace& place)
{
    return Got(message, place) + " (a value is a number or a string in double quotes)";
}

std::string DialogEnd(const std::string& message, const CErrorPlace& place)
{
    const CScriptToken* met = Met(place);
    bool option = Is(met, tokIdentifier) && std::count(cDialogOptions.begin(), cDialogOptions.end(), met->text);
    return Got(message, place) + (option ? " (missing comma before it?)" : "");
}

struct CRule {
    const char* command; // "" for any
    const char* prefix;
    std::string (*explain)(const std::string& message, const CErrorPlace& place);
};

// The first rule whose command and message prefix fit explains the error.
const CRule cRules[] = {
    {"set", "illegal variable (", IllegalVariable},
    {"set", "bad token type for value", SetValue},
    {"if", "expected number or variable name", Got},
    {"dialog", "illegal variable (", IllegalVariable},
    {"dialog", "unknown dialog option (", UnknownOption},
    {"dialog", "expected button text, def, or close", ButtonFlag},
    {"dialog", "expected button text", Got},
    {"dialog", "expected option keyword", OptionKeyword},
    {"dialog", "expected semicolon", DialogEnd},
    {"", "unexpected character", UnexpectedCharacter},
    {"", "looking for ", LookingFor},
    {"", "expected command name", ExpectedCommand},
    {"", "unknown command", UnknownCommand},
};

// Twice the edits that turn one word into the other (a swap of neighbours is one edit); a change of case alone
// counts half.
std::size_t Distance(const std::string& a, const std::string& b)
{
    auto cost = [](char x, char y) -> std::size_t {
        if (x == y)
            return 0;
        return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y)) ? 1 : 2;
    };
    std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                d[i][j] = 2 * (i + j);
                continue;
            }
            d[i][j] = std::min({d[i - 1][j] + 2, d[i][j - 1] + 2, d[i - 1][j - 1] + cost(a[i - 1], b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 2);
        }
    }
    return d[a.size()][b.size()];
}

} // namespace

std::string ExplainError(const std::string& message, const CErrorPlace& place)
{
    for (const CRule& rule : cRules) {
        if ((!*rule.command || place.command == rule.command) && message.rfind(rule.prefix, 0) == 0)
            return rule.explain(message, place);
    }
    return message;
}

std::string DidYouMean(const std::string& word, const std::vector<std::string>& candidates)
{
    // One slip in a short word, two in a longer one; in a word of one or two characters only a change of case,
    // and in one of 40 and more nothing, is a slip.
    std::size_t allowed = word.size() <= 2 ? 1 : (word.size() <= 4 ? 2 : 4);
    std::string best;
    std::size_t bestDistance = allowed + 1;
    for (const std::string& candidate : candidates) {
        std::size_t distance = word.size() < 40 ? Distance(word, candidate) : bestDistance;
        if (distance > 0 && distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
        }
    }
    return best.empty() ? "" : " (did you mean '" + best + "'?)";
}
