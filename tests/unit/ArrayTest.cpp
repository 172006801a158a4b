// The framework's small owning array, with elements that own memory of their own (the sanitizers watch them).
#include "Array.h"

#include "String.h"
#include "TestSupport.h"

using namespace Orn;

namespace {

std::string Joined(const CArray<CString>& items)
{
    std::string text;
    for (const CString& item : items)
        text += std::string(item.Chars()) + ";";
    return text;
}

} // namespace

TEST(Array, GrowsRemovesCopiesAndMoves)
{
    CArray<CString> items;
    for (const char* word : {"a", "bb", "ccc", "dddd", "eeeee"})
        items.Add(word);
    items.RemoveAt(1);
    items.RemoveAt(3);
    EXPECT_EQ(Joined(items), "a;ccc;dddd;");
    CArray<CString> copy(items);
    items.Resize(1);
    items.Resize(2);
    EXPECT_EQ(Joined(items), "a;;") << "a grown array holds default values, not what was dropped";
    CArray<CString> moved(std::move(copy));
    EXPECT_EQ(Joined(moved), "a;ccc;dddd;");
    EXPECT_TRUE(copy.IsEmpty());
    moved = items;
    items.Clear();
    EXPECT_EQ(Joined(moved), "a;;");
    EXPECT_EQ(items.Size(), 0);
}
