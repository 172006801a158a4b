// Variable lists: setting, read-only marks, typed reads, removal, copies, substitution and the globals.
#include "VarList.h"

#include <string>
#include <vector>

#include "TestSupport.h"

using namespace Orn;

namespace {

// Collects "name=value" in visit order, optionally stopping after a number of calls.
class CCollectVisitor : public CVarList::CVisitor {
public:
    explicit CCollectVisitor(int stopAfter = -1) : mStopAfter(stopAfter) {}
    bool Visit(const char* name, const char* value) override
    {
        mSeen.push_back(std::string(name) + "=" + value);
        return mStopAfter < 0 || Int(mSeen.size()) < mStopAfter;
    }
    std::string Joined() const
    {
        std::string all;
        for (const std::string& s : mSeen)
            all += (all.empty() ? "" : ",") + s;
        return all;
    }

private:
    int mStopAfter;
    std::vector<std::string> mSeen;
};

std::string Dump(const CVarList& list)
{
    CCollectVisitor visitor;
    list.Visit(visitor);
    return visitor.Joined();
}

// Names set on GlobalVars by a test are removed again, so tests do not see each other's globals.
class CGlobalsScope {
public:
    explicit CGlobalsScope(std::vector<std::string> names) : mNames(std::move(names)) {}
    ~CGlobalsScope()
    {
        for (const std::string& name : mNames)
            GlobalVars.Remove(name.c_str());
    }

private:
    std::vector<std::string> mNames;
};

} // namespace

TEST(VarList, SetKeepsFirstOrderAndChangesInPlace)
{
    CVarList list;
    list.Set("b", "1");
    list.Set("a", "2");
    list.Set("c", "3");
    list.Set("b", "4");
    EXPECT_EQ(Dump(list), "b=4,a=2,c=3");
    EXPECT_EQ(list.Count(), 3);
    EXPECT_EQ(list.Find("B"), nullptr) << "names are case-sensitive";
}

TEST(VarList, ReadOnlyMarks)
{
    OrnTest::AssertRecorder rec;
    CVarList list;
    list.Set("%Key", "v");
    EXPECT_TRUE(list.IsReadOnly("Key"));
    EXPECT_EQ(list.Find("%Key"), nullptr) << "the percent sign is not part of the name";
    list.Set("Key", "w");
    EXPECT_ASSERTED(rec, "attempt to modify a read-only variable");
    EXPECT_STREQ(list.Find("Key"), "v");

    list.Set("Plain", "1");
    list.Set("Plain", "2", true);
    EXPECT_TRUE(list.IsReadOnly("Plain")) << "a mark can be added to an existing variable";
    EXPECT_STREQ(list.Find("Plain"), "2");
    rec.Clear();
    list.Set("Plain", "3", false);
    EXPECT_ASSERTED(rec, "attempt to modify a read-only variable");
    EXPECT_TRUE(list.IsReadOnly("Plain")) << "a mark is never taken away";
}

TEST(VarList, NullArgumentsAssert)
{
    OrnTest::AssertRecorder rec;
    CVarList list;
    list.Set(nullptr, "v");
    EXPECT_ASSERTED(rec, "name");
    list.Set("n", nullptr);
    EXPECT_ASSERTED(rec, "value");
    EXPECT_EQ(list.Count(), 0);
}

TEST(VarList, TypedSetters)
{
    CVarList list;
    list.SetBool("t", true);
    list.SetBool("f", false);
    list.SetInt("n", -2147483647 - 1);
    EXPECT_EQ(Dump(list), "t=1,f=0,n=-2147483648");
}

TEST(VarList, GetBoolValues)
{
    struct Row {
        const char* value;
        bool asserts;
        bool expected;
    };
    const Row rows[] = {
        {"yes", false, true}, {"YES", false, true}, {"True", false, true},  {"1", false, true},
        {"no", false, false}, {"FALSE", false, false}, {"0", false, false}, {"true ", true, false},
        {"01", true, false},  {"", true, false},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        CVarList list;
        list.Set("b", row.value);
        // Start from the opposite so a write is visible; an assertion must leave it alone.
        bool start = row.asserts ? true : !row.expected;
        bool b = start;
        EXPECT_TRUE(list.GetBool("b", b)) << row.value;
        if (row.asserts) {
            EXPECT_ASSERTED(rec, "bad Bool value") << row.value;
            EXPECT_EQ(b, start) << row.value;
        } else {
            EXPECT_NO_ASSERTS(rec) << row.value;
            EXPECT_EQ(b, row.expected) << row.value;
        }
    }
    CVarList empty;
    bool b = true;
    EXPECT_FALSE(empty.GetBool("missing", b));
    EXPECT_TRUE(b);
}

TEST(VarList, GetIntValues)
{
    struct Row {
        const char* value;
        Int expected;
    };
    const Row rows[] = {
        {"42", 42}, {"-7", -7}, {"12abc", 12}, {"abc", 0}, {"", 0}, {"99999999999", 2147483647},
    };
    for (const Row& row : rows) {
        CVarList list;
        list.Set("n", row.value);
        Int n = -1;
        EXPECT_TRUE(list.GetInt("n", n)) << row.value;
        EXPECT_EQ(n, row.expected) << row.value;
    }
    CVarList empty;
    Int n = 5;
    EXPECT_FALSE(empty.GetInt("n", n));
    EXPECT_EQ(n, 5);
}

TEST(VarList, GetValueEmptiesOnMissing)
{
    CVarList list;
    list.Set("a", "x");
    CString out("old");
    EXPECT_TRUE(list.GetValue("a", out));
    EXPECT_STREQ(out, "x");
    EXPECT_FALSE(list.GetValue("b", out));
    EXPECT_STREQ(out, "");
}

TEST(VarList, RemoveKeepsLinksRight)
{
    struct Row {
        const char* remove;
        bool existed;
        const char* expected; // after appending "z" as well
    };
    const Row rows[] = {
        {"a", true, "b=2,c=3,z=9"},
        {"b", true, "a=1,c=3,z=9"},
        {"c", true, "a=1,b=2,z=9"},
        {"d", false, "a=1,b=2,c=3,z=9"},
    };
    for (const Row& row : rows) {
        CVarList list;
        list.Set("a", "1");
        list.Set("b", "2");
        list.Set("c", "3");
        EXPECT_EQ(list.Remove(row.remove), row.existed) << row.remove;
        list.Set("z", "9");
        EXPECT_EQ(Dump(list), row.expected) << row.remove;
    }
    CVarList single;
    single.Set("only", "1");
    EXPECT_TRUE(single.Remove("only"));
    single.Set("next", "2");
    EXPECT_EQ(Dump(single), "next=2") << "removing the only record resets head and tail";
}

TEST(VarList, ClearCopyAndAssign)
{
    CVarList list;
    list.Set("a", "1");
    list.Set("%b", "2");
    CVarList copy(list);
    EXPECT_EQ(Dump(copy), "a=1,b=2");
    EXPECT_TRUE(copy.IsReadOnly("b"));

    CVarList other;
    other.Set("x", "9");
    other = list;
    EXPECT_EQ(Dump(other), "a=1,b=2") << "assignment replaces, it does not merge";

    list.Clear();
    EXPECT_EQ(list.Count(), 0);
    list.Set("c", "3");
    EXPECT_EQ(Dump(list), "c=3");
    EXPECT_EQ(Dump(copy), "a=1,b=2") << "copies own their records";
}

TEST(VarList, SelfAssignmentAssertsAndKeepsList)
{
    OrnTest::AssertRecorder rec;
    CVarList list;
    list.Set("a", "1");
    CVarList& same = list;
    list = same;
    EXPECT_ASSERTED(rec, "this != &varList");
    EXPECT_EQ(Dump(list), "a=1");
}

TEST(VarList, AddAllRespectsReadOnly)
{
    OrnTest::AssertRecorder rec;
    CVarList list;
    list.Set("%fixed", "old");
    list.Set("free", "old");
    CVarList other;
    other.Set("free", "new");
    other.Set("fixed", "new");
    other.Set("%added", "a");
    list.AddAll(other);
    EXPECT_ASSERTED(rec, "attempt to modify a read-only variable");
    EXPECT_EQ(Dump(list), "fixed=old,free=new,added=a");
    EXPECT_TRUE(list.IsReadOnly("added"));
}

TEST(VarList, VisitStopsEarly)
{
    CVarList list;
    CCollectVisitor none(1);
    EXPECT_TRUE(list.Visit(none)) << "an empty list is fully visited";
    list.Set("a", "1");
    list.Set("b", "2");
    list.Set("c", "3");
    CCollectVisitor stopper(2);
    EXPECT_FALSE(list.Visit(stopper));
    EXPECT_EQ(stopper.Joined(), "a=1,b=2");
}

TEST(VarList, SubstituteNarrow)
{
    struct Row {
        const char* name;
        std::vector<std::pair<const char*, const char*>> vars;
        const char* text;
        const char* delims;
        const char* expected;
        Int count;
    };
    const Row rows[] = {
        {"nested over passes", {{"A", "<B>"}, {"B", "x"}}, "<A>", nullptr, "x", 2},
        {"nested, later name first", {{"B", "x"}, {"A", "<B>"}}, "<A>", nullptr, "x", 2},
        {"doubled delimiters", {{"A", "x"}}, "<<A>>", nullptr, "<x>", 1},
        {"name at start", {{"A", "x"}}, "A>", nullptr, "A>", 0},
        {"name at end", {{"A", "x"}}, "<A", nullptr, "<A", 0},
        {"every occurrence", {{"A", "x"}}, "<A>-<A>", nullptr, "x-x", 2},
        {"case-sensitive", {{"A", "x"}}, "<a>", nullptr, "<a>", 0},
        {"longer name", {{"A", "x"}, {"AB", "y"}}, "<AB><A>", nullptr, "yx", 2},
        {"empty value", {{"A", ""}}, "1<A>2", nullptr, "12", 1},
        {"own delimiters", {{"A", "x"}}, "[A] <A>", "[]", "x <A>", 1},
        {"no delimiters at all", {{"A", "x"}}, "A", nullptr, "A", 0},
        {"value ending in its own reference", {{"A", "<A"}}, "<A>>", nullptr, "<A", 2},
    };
    for (const Row& row : rows) {
        CVarList list;
        for (const auto& var : row.vars)
            list.Set(var.first, var.second);
        CString text(row.text);
        EXPECT_EQ(list.Substitute(text, row.delims), row.count) << row.name;
        EXPECT_STREQ(text, row.expected) << row.name;
    }
}

TEST(VarList, SubstituteWide)
{
    CVarList list;
    list.Set("A", "1");
    list.Set("B", "<A>2");
    CWString text(L"<B> and <A>, [A]");
    EXPECT_EQ(list.Substitute(text), 3);
    EXPECT_TRUE(text == L"12 and 1, [A]");
    CWString bracketed(L"[A]");
    EXPECT_EQ(list.Substitute(bracketed, L"[]"), 1);
    EXPECT_TRUE(bracketed == L"1");
}

TEST(VarList, SubstituteBadDelimiters)
{
    OrnTest::AssertRecorder rec;
    CVarList list;
    list.Set("A", "x");
    CString text("<A>");
    EXPECT_EQ(list.Substitute(text, "<"), 0);
    EXPECT_ASSERTED(rec, "(delims == 0) || (Str::Length(delims) == 2)");
    EXPECT_STREQ(text, "<A>");
    CWString wide(L"<A>");
    EXPECT_EQ(list.Substitute(wide, L"<>>"), 0);
    EXPECT_ASSERTED(rec, "(delims == 0) || (WStr::Length(delims) == 2)");
}

TEST(VarList, AppGetVariableResolvesReferences)
{
    CGlobalsScope scope({"VLTRoot", "VLTDir"});
    GlobalVars.Set("VLTRoot", "C:");
    GlobalVars.Set("VLTDir", "<VLTRoot>/sub");
    CString value;
    EXPECT_TRUE(AppGetVariable("VLTDir", value));
    EXPECT_STREQ(value, "C:/sub");
    EXPECT_STREQ(GlobalVars.Find("VLTDir"), "<VLTRoot>/sub") << "the stored value is not changed";
    EXPECT_FALSE(AppGetVariable("VLTMissing", value));
    EXPECT_STREQ(value, "");
}

TEST(VarList, GlobalBooleans)
{
    CGlobalsScope scope({"VLTOn", "VLTOff", "VLTOdd"});
    SetGlobalBool("VLTOn", true);
    SetGlobalBool("VLTOff", false);
    GlobalVars.Set("VLTOdd", "yes");
    OrnTest::AssertRecorder rec;
    EXPECT_TRUE(GetGlobalBool("VLTOn"));
    EXPECT_FALSE(GetGlobalBool("VLTOff"));
    EXPECT_FALSE(GetGlobalBool("VLTMissing"));
    EXPECT_NO_ASSERTS(rec);
    EXPECT_FALSE(GetGlobalBool("VLTOdd"));
    EXPECT_ASSERTED(rec, "value == \"0\" || value == \"1\"");
    rec.Clear();
    SetGlobalBool(nullptr, true);
    EXPECT_ASSERTED(rec, "var");
}

TEST(VarList, ParseQuery)
{
    struct Row {
        const char* query;
        bool urlForm;
        Int count;
        const char* expected;
    };
    const Row rows[] = {
        {"a=1&&b=2=3&=4", true, 2, "a=1,b=23"},
        {"a=b=c", true, 1, "a=bc"},
        {"n+1=a%20b+c%3D", true, 1, "n 1=a b c="},
        {"flag&x=", true, 2, "flag=,x="},
        {"a=1&a=2", true, 2, "a=2"},
        {"", true, 0, ""},
        {"&&=&", true, 0, ""},
        {"x=1 y=a&b", false, 2, "x=1,y=a&b"},
        {"x=a+b  y=%41", false, 2, "x=a+b,y=%41"},
    };
    for (const Row& row : rows) {
        CVarList list;
        EXPECT_EQ(list.ParseQuery(row.query, row.urlForm), row.count) << row.query;
        EXPECT_EQ(Dump(list), row.expected) << row.query;
    }
    OrnTest::AssertRecorder rec;
    CVarList list;
    EXPECT_EQ(list.ParseQuery(nullptr, true), 0);
    EXPECT_ASSERTED(rec, "queryStr");
}

TEST(VarList, BuildQueryRoundTrips)
{
    CVarList list;
    CString out("old");
    EXPECT_EQ(list.BuildQuery(out), 0);
    EXPECT_STREQ(out, "");

    list.Set("a b", "x&y=z");
    list.Set("%ro", "");
    list.Set("pct", "100%~");
    EXPECT_EQ(list.BuildQuery(out), 3);
    EXPECT_STREQ(out, "a+b=x%26y%3Dz&ro=&pct=100%25%7E");

    CVarList back;
    EXPECT_EQ(back.ParseQuery(out, true), 3);
    EXPECT_EQ(Dump(back), Dump(list));
    EXPECT_FALSE(back.IsReadOnly("ro")) << "read-only marks are not carried";
}
