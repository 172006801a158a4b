// The global delete list.
#include "Global.h"

#include <string>

#include "TestSupport.h"

using namespace Orn;

namespace {
std::string cDeleted;

class Tracked : public CGlobal {
public:
    explicit Tracked(char tag) : mTag(tag) {}
    ~Tracked() override { cDeleted += mTag; }

private:
    char mTag;
};

// Registers another object while being deleted; it must still be deleted exactly once.
class Spawner : public CGlobal {
public:
    ~Spawner() override
    {
        cDeleted += 'S';
        CGlobalDeleteList::Register(new Tracked('z'));
    }
};
} // namespace

TEST(GlobalDeleteList, DeletesMostRecentFirstExactlyOnce)
{
    cDeleted.clear();
    CGlobalDeleteList::Create();
    CGlobalDeleteList::Register(new Tracked('a'));
    CGlobalDeleteList::Register(new Tracked('b'));
    CGlobalDeleteList::Register(new Spawner);
    CGlobalDeleteList::Register(new Tracked('c'));
    CGlobalDeleteList::DeleteAll();
    EXPECT_EQ(cDeleted, "cSzba");
    EXPECT_FALSE(CGlobalDeleteList::Exists());
}
