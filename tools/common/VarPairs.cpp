// Copying a variable list out into pairs.
#include "VarPairs.h"

namespace {

class CPairCollector final : public Orn::CVarList::CVisitor {
public:
    bool Visit(const char* name, const char* value) override
    {
        pairs.emplace_back(name, value);
        return true;
    }
    std::vector<std::pair<std::string, std::string>> pairs;
};

} // namespace

std::vector<std::pair<std::string, std::string>> VarPairs(const Orn::CVarList& list)
{
    CPairCollector collect;
    list.Visit(collect);
    return std::move(collect.pairs);
}
