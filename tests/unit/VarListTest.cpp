// Variable lists: setting, read-only marks, typed reads, removal, copies, substitution and the globals.
#include "VarList.h"

#include <string>
#include <vector>

#include "TestSupport.h"

using namespace Orn;

namespace {

// Collects "name=value" in visit order, stopping after a number of calls.
struct CCollectVisitor : CVarList::CVisitor {
    explicit CCollectVisitor(size_t stopAfter = 1000) : mStopAfter(stopAfter) {}
    bool Visit(const char* name, const char* value) override
    {
        mJoined += (mJoined.empty() ? "" : ",") + std::string(name) + "=" + value;
        return ++mCalls < mStopAfter;
    }
    size_t mStopAfter, mCalls = 0;
    std::string mJoined;
};

std::string Dump(const CVarList& list)
{
    CCollectVisitor visitor;
    list.Visit(visitor);
    return visitor.mJoined;
}

} // namespace

TEST(VarList, SetKeepsFirstOrderAndVisitStopsEarly)
{
    OrnTest::AssertRecorder rec;
    CVarList list;
    list.Set("b", "1");
    list.SetInt("a", -2147483647 - 1);
    list.SetBool("c", false);
    list.Set("b", "4");
    EXPECT_EQ(Dump(list), "b=4,a=-2147483648,c=0");
    CCollectVisitor stopper(2);
    EXPECT_FALSE(list.Visit(stopper));
    EXPECT_EQ(stopper.mJoined, "b=4,a=-2147483648") << "a visit stops when the visitor says so";
    EXPECT_EQ(list.Find("B"), nullptr) << "names are case-sensitive";
    EXPECT_EQ(list.Count(), 3);
    EXPECT_NO_ASSERTS(rec);
}

TEST(VarList, ReadOnlyMarks)
{
    OrnTest::AssertRecorder rec;
    CVarList list;
    list.Set("%Key", "v");
    EXPECT_EQ(list.Find("%Key"), nullptr) << "the percent sign is not part of the name";
    list.Set("Key", "w");
    EXPECT_ASSERTED(rec, "attempt to modify a read-only variable");
    EXPECT_STREQ(list.Find("Key"), "v");

    list.Set("Plain", "1");
    list.Set("Plain", "2", true);
    EXPECT_STREQ(list.Find("Plain"), "2") << "a mark can be added to an existing variable";
    rec.Clear();
    list.Set("Plain", "3", false);
    EXPECT_ASSERTED(rec, "attempt to modify a read-only variable");
    EXPECT_TRUE(list.IsReadOnly("Plain")) << "a mark is never taken away";
}

TEST(VarList, GetBoolValues)
{
    struct Row { const char* value; bool asserts; bool expected; };
    const Row rows[] = {
        {"yes", false, true}, {"YES", false, true}, {"True", false, true}, {"1", false, true},
        {"No", false, false}, {"FALSE", false, false}, {"0", false, false}, {"true ", true, false}, {"01", true, false},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        CVarList list;
        list.Set("b", row.value);
        // Start from the opposite so a write is visible; an assertion must leave it alone.
        bool start = row.asserts || !row.expected;
        bool b = start;
        EXPECT_TRUE(list.GetBool("b", b)) << row.value;
        EXPECT_EQ(b, row.asserts ? start : row.expected) << row.value;
        EXPECT_EQ(rec.Fired("bad Bool value"), row.asserts) << row.value << ": " << rec.List();
    }
}

// GetInt's trailing text and the defaults that GetInt and GetBool leave alone are the version request's
// "UWServerTestVer" row and the reply dialog's undefined checkbox variable.
TEST(VarList, GetValueEmptiesItsOutputForAMissingVariable)
{
    CVarList list;
    CString out("old");
    EXPECT_FALSE(list.GetValue("missing", out));
    EXPECT_STREQ(out, "");
}

TEST(VarList, RemoveKeepsLinksRight)
{
    struct Row { const char* remove; bool existed; const char* expected; };
    const Row rows[] = {
        {"a", true, "b=2,c=3,z=9"}, {"b", true, "a=1,c=3,z=9"},
        {"c", true, "a=1,b=2,z=9"}, {"d", false, "a=1,b=2,c=3,z=9"},
    };
    for (const Row& row : rows) {
        CVarList list;
        list.Set("a", "1");
        list.Set("b", "2");
        list.Set("c", "3");
        EXPECT_EQ(list.Remove(row.remove), row.existed) << row.remove;
        list.Set("z", "9"); // appends at the tail, so a stale tail link shows
        EXPECT_EQ(Dump(list), row.expected) << row.remove;
    }
    CVarList single;
    single.Set("only", "1");
    EXPECT_TRUE(single.Remove("only"));
    single.Set("next", "2");
    EXPECT_EQ(Dump(single), "next=2");
}

TEST(VarList, CopyAssignClearAndAddAll)
{
    OrnTest::AssertRecorder rec;
    CVarList list;
    list.Set("a", "1");
    list.Set("%b", "2");
    CVarList copy(list);
    EXPECT_TRUE(copy.IsReadOnly("b"));
    CVarList other;
    other.Set("x", "9");
    other = list;
    EXPECT_EQ(Dump(other), "a=1,b=2") << "assignment replaces, it does not merge";
    CVarList& same = list;
    list = same;
    EXPECT_ASSERTED(rec, "this != &varList");
    EXPECT_EQ(Dump(list), "a=1,b=2");
    list.Clear();
    EXPECT_EQ(Dump(copy), "a=1,b=2") << "copies own their records";

    rec.Clear();
    other.Set("a", "new");
    other.Set("%added", "c");
    copy.AddAll(other);
    EXPECT_ASSERTED(rec, "attempt to modify a read-only variable");
    EXPECT_EQ(Dump(copy), "a=new,b=2,added=c");
    EXPECT_TRUE(copy.IsReadOnly("added"));
}

TEST(VarList, SubstituteNarrow)
{
    using Vars = std::vector<std::pair<const char*, const char*>>;
    struct Row { const char* name; Vars vars; const char* text; const char* delims; const char* expected; Int count; };
    const Row rows[] = {
        {"nested over passes", {{"A", "<B>"}, {"B", "x"}}, "<A>", nullptr, "x", 2},
        {"doubled delimiters", {{"A", "x"}}, "<<A>>", nullptr, "<x>", 1},
        {"name at start", {{"A", "x"}}, "A>", nullptr, "A>", 0},
        {"name at end", {{"A", "x"}}, "<A", nullptr, "<A", 0},
        {"every occurrence", {{"A", "x"}}, "<A>-<A>", nullptr, "x-x", 2},
        {"case-sensitive", {{"A", "x"}}, "<a>", nullptr, "<a>", 0},
        {"longer name", {{"A", "x"}, {"AB", "y"}}, "<AB><A>", nullptr, "yx", 2},
        {"own delimiters", {{"A", "x"}}, "[A] <A>", "[]", "x <A>", 1},
        {"search goes on one character into the value", {{"A", "<A"}}, "<A>>", nullptr, "<A", 2},
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

// A value that refers to itself, directly or through others, stops at a bound with the text as far as it got.
TEST(VarList, SubstitutionStopsAtItsBounds)
{
    using Vars = std::vector<std::pair<const char*, const char*>>;
    const Int all = cMaxSubstReplacements;
    const Int passes = 2 * (cMaxSubstPasses + 1); // two replacements a pass
    struct Row { const char* name; Vars vars; const char* text; Int count; Int length; const char* rest; };
    const Row rows[] = {
        {"value is its reference", {{"A", "<A>"}}, "<A>", all, 3, "<A>"},
        {"value grows before its reference", {{"A", "x<A>"}}, "<A>", all, all + 3, "x<A>"},
        {"unnamed value holds its reference", {{"", "<>"}}, "a<>b", all, 4, "a<>b"},
        {"references through each other", {{"A", "<B>"}, {"B", "<A>"}}, "<A>", passes, 3, "<A>"},
        {"growing through each other", {{"A", "<B>x"}, {"B", "<A>"}}, "<A>", passes, 3 + passes / 2, "<A>x"},
        {"doubling", {{"A", "<B><B>"}, {"B", "<C><C>"}, {"C", "<D><D>"}, {"D", "<A><A>"}}, "<A>", -1, -1, "<"},
    };
    for (const Row& row : rows) {
        CVarList list;
        for (const auto& var : row.vars)
            list.Set(var.first, var.second);
        CString text(row.text);
        Int count = 0;
        EXPECT_FALSE(list.SubstituteBounded(text, nullptr, CSubstBounds(), &count)) << row.name;
        EXPECT_TRUE(row.count < 0 || count == row.count) << row.name << ": " << count;
        EXPECT_TRUE(row.length < 0 || text.Length() == row.length) << row.name << ": " << text.Length();
        EXPECT_LE(text.Length(), cMaxSubstLength) << row.name;
        EXPECT_GE(text.Find(row.rest), 0) << row.name;
        CString again(row.text);
        EXPECT_EQ(list.Substitute(again), count) << row.name << ": the plain form has the same bounds";
    }
    CVarList list;
    list.Set("A", "(B)(B)");
    list.Set("B", "x");
    CString text("(A)");
    EXPECT_FALSE(list.SubstituteBounded(text, "()", CSubstBounds{2, 100}));
    EXPECT_STREQ(text, "x(B)") << "the replacement past the count is not made";
}

TEST(VarList, SubstituteWideAndBadDelimiters)
{
    OrnTest::AssertRecorder rec;
    CVarList list;
    list.Set("A", "1");
    list.Set("B", "<A>2");
    CWString text(L"<B> and <A>, [A]");
    EXPECT_EQ(list.Substitute(text), 3);
    EXPECT_TRUE(text == L"12 and 1, [A]");
    EXPECT_NO_ASSERTS(rec);

    CString narrow("<A>");
    EXPECT_EQ(list.Substitute(narrow, "<"), 0);
    EXPECT_ASSERTED(rec, "(delims == 0) || (Str::Length(delims) == 2)");
    EXPECT_STREQ(narrow, "<A>");
    EXPECT_EQ(list.Substitute(text, L"<>>"), 0);
    EXPECT_ASSERTED(rec, "(delims == 0) || (WStr::Length(delims) == 2)");
}

TEST(VarList, GlobalsResolveReferencesAndBooleans)
{
    GlobalVars.Set("VLTRoot", "C:");
    GlobalVars.Set("VLTDir", "<VLTRoot>/sub");
    CString value;
    EXPECT_TRUE(AppGetVariable("VLTDir", value));
    EXPECT_STREQ(value, "C:/sub");
    EXPECT_STREQ(GlobalVars.Find("VLTDir"), "<VLTRoot>/sub") << "the stored value is not changed";
    EXPECT_FALSE(AppGetVariable("VLTMissing", value));

    OrnTest::AssertRecorder rec;
    SetGlobalBool("VLTOn", true);
    EXPECT_TRUE(GetGlobalBool("VLTOn"));
    EXPECT_FALSE(GetGlobalBool("VLTMissing"));
    EXPECT_NO_ASSERTS(rec);
    GlobalVars.Set("VLTOdd", "yes");
    EXPECT_FALSE(GetGlobalBool("VLTOdd"));
    EXPECT_ASSERTED(rec, "value == \"0\" || value == \"1\"");
    for (const char* name : {"VLTRoot", "VLTDir", "VLTOn", "VLTOdd"}) // other tests must not see them
        GlobalVars.Remove(name);
}

TEST(VarList, ParseQuery)
{
    struct Row { const char* query; bool urlForm; Int count; const char* expected; };
    const Row rows[] = {
        {"a=1&&b=2=3&=4", true, 2, "a=1,b=23"},
        {"n+1=a%20b+c%3D", true, 1, "n 1=a b c="},
        {"flag&x=", true, 2, "flag=,x="},
        {"x=a+b  y=%41&z", false, 2, "x=a+b,y=%41&z"},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        CVarList list;
        EXPECT_EQ(list.ParseQuery(row.query, row.urlForm), row.count) << row.query;
        EXPECT_EQ(Dump(list), row.expected) << row.query;
        EXPECT_NO_ASSERTS(rec) << row.query;
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
