// The global delete list.
#include "Global.h"

#include "Debug.h"

namespace Orn {

namespace {
CGlobalDeleteList* cGlobalDeleteList = nullptr;
}

void CGlobalDeleteList::Create()
{
    ORN_ASSERT(! cGlobalDeleteList);
    if (!cGlobalDeleteList)
        cGlobalDeleteList = new CGlobalDeleteList;
}

bool CGlobalDeleteList::Exists() { return cGlobalDeleteList != nullptr; }

void CGlobalDeleteList::Register(CGlobal* global)
{
    ORN_ASSERT(global);
    ORN_ASSERT(cGlobalDeleteList);
    if (!global || !cGlobalDeleteList)
        return;
    global->mNextGlobal = cGlobalDeleteList->mHead;
    cGlobalDeleteList->mHead = global;
}

void CGlobalDeleteList::DeleteAll()
{
    if (!cGlobalDeleteList)
        return;
    // Unlink before deleting: a destructor may register or delete nothing else through a stale link.
    while (CGlobal* g = cGlobalDeleteList->mHead) {
        cGlobalDeleteList->mHead = g->mNextGlobal;
        delete g;
    }
    delete cGlobalDeleteList;
    cGlobalDeleteList = nullptr;
}

} // namespace Orn
