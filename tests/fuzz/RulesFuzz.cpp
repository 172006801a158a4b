// libFuzzer target: uwserver's rules file, then a request chosen by the rules. Every problem is one line that
// names its place, and a request always gets a reply the rules name.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "FuzzSupport.h"
#include "ServerRules.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    FuzzSupport::ExpectAssertions({"attempt to modify a read-only variable"});
    // The rules, then after a zero byte the request's query.
    const char* text = reinterpret_cast<const char*>(data);
    const char* zero = static_cast<const char*>(std::memchr(text, 0, size));
    std::string rulesText(text, zero ? static_cast<std::size_t>(zero - text) : size);
    std::string query = zero ? std::string(zero + 1, text + size) : "";
    CServerRules rules;
    std::string errors;
    if (!rules.Parse("r", rulesText, errors)) {
        for (std::size_t at = 0; at < errors.size(); at = errors.find('\n', at) + 1) {
            unsigned line = 0, column = 0;
            int used = 0;
            if (std::sscanf(errors.c_str() + at, "r:%u:%u: %n", &line, &column, &used) != 2 || used == 0 ||
                line == 0 || column == 0 || errors.find('\n', at) == std::string::npos)
                FuzzSupport::Fail("problem without its place", errors.c_str());
        }
        return 0;
    }
    Orn::CVarList params;
    params.ParseQuery(FuzzSupport::Text(reinterpret_cast<const std::uint8_t*>(query.data()), query.size()), true);
    std::vector<std::string> replies = rules.ReplyFiles();
    if (std::find(replies.begin(), replies.end(), rules.Choose(params)) == replies.end())
        FuzzSupport::Fail("a reply the rules do not name", rules.Choose(params).c_str());
    return 0;
}
