// Reading a reply script's tokens through the interpreter's own tokenizer; comments are what lies between them.
#include "ScriptTokens.h"

#include <algorithm>

#include "ToolInterpreter.h"

using namespace Orn;

namespace {

// Reads the whole script from inside the first single-step question.
class CTokenReader final : public CToolInterpreter {
public:
    CTokenReader() : CToolInterpreter(true) {}
    std::vector<CScriptToken> tokens;

protected:
    bool ConfirmStep(const char*) override
    {
        while (NextToken() != tokEndOfScript)
            tokens.push_back({TokenType(), TokenText().Chars(), TokenOffset(), static_cast<std::size_t>(ScanOffset())});
        return true;
    }
};

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// A gap between two tokens holds blanks, line ends and comments only (a script's NUL ends the last gap early,
// and what follows it is kept as it is).
void CopyGap(const std::string& script, std::size_t from, std::size_t to, std::string& out)
{
    std::size_t kept = out.size();
    for (std::size_t i = from; i < to; ++i) {
        if (script[i] == '/' && i + 1 < to && script[i + 1] == '/') {
            while (out.size() > kept && IsBlank(out.back()))
                out.pop_back();
            while (i < to && script[i] != '\n' && script[i] != '\r')
                ++i;
            if (i == to)
                break;
        }
        out += script[i];
    }
}

} // namespace

CScriptTokens ReadScriptTokens(const std::string& script)
{
    CTokenReader reader;
    reader.RunScript(script);
    CScriptTokens result;
    result.list = std::move(reader.tokens);
    result.complete = !reader.HasError();
    if (reader.HasError())
        result.error = {reader.Error().offset, false, reader.Error().message};
    return result;
}

const CScriptToken* TokenAt(const std::vector<CScriptToken>& tokens, std::size_t offset)
{
    auto it = std::lower_bound(tokens.begin(), tokens.end(), offset,
                               [](const CScriptToken& t, std::size_t at) { return t.offset < at; });
    return it != tokens.end() && it->offset == offset ? &*it : nullptr;
}

std::string WithoutComments(const std::string& script, const std::vector<CScriptToken>& tokens)
{
    std::string out;
    std::size_t from = 0;
    for (const CScriptToken& t : tokens) {
        CopyGap(script, from, t.offset, out);
        out.append(script, t.offset, t.end - t.offset);
        from = t.end;
    }
    CopyGap(script, from, script.size(), out);
    return out;
}
