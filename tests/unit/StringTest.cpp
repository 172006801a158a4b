// The owning string and the Str:: / WStr:: functions.
#include "String.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

#include "TestSupport.h"

using namespace Orn;

TEST(String, RemoveCases)
{
    struct Row { const char* name; Int pos, count; const char* expected; };
    const Row rows[] = {
        {"to end", 3, -1, "abc"},
        {"at length does nothing", 6, -1, "abcdef"},
        {"middle", 1, 2, "adef"},
    };
    for (const Row& row : rows) {
        CString s("abcdef");
        s.Remove(row.pos, row.count);
        EXPECT_STREQ(s, row.expected) << row.name;
        EXPECT_EQ(s.Length(), Int(std::strlen(row.expected))) << row.name;
    }
    OrnTest::AssertRecorder rec;
    CString s("abc");
    s.Remove(4, 1);
    EXPECT_ASSERTED(rec, "(pos >= 0) && (pos <= mLen)");
    s.Remove(1, 5);
    EXPECT_ASSERTED(rec, "count == -1 || (pos + count) <= mLen");
    EXPECT_STREQ(s, "a") << "a count past the end is cut to the end";
}

TEST(String, InsertCases)
{
    struct Row { const char* name; const char* base; const char* src; Int pos, count; const char* expected; };
    const Row rows[] = {
        {"at end", "ab", "xy", -1, -1, "abxy"},
        {"partial in middle", "ab", "xyz", 1, 2, "axyb"},
        {"count beyond source", "ab", "x", 2, 9, "abx"},
        {"into never-allocated", "", "hello", 0, -1, "hello"},
    };
    for (const Row& row : rows) {
        CString s(row.base);
        s.Insert(row.src, row.pos, row.count);
        EXPECT_STREQ(s, row.expected) << row.name;
    }
    CString own("abc");
    own.Insert(own.Chars(), 1);
    EXPECT_STREQ(own, "aabcbc");
}

TEST(String, ReplaceDoesNotRescanReplacement)
{
    CString s("aXa");
    EXPECT_EQ(s.Replace("a", "aa"), 2);
    EXPECT_STREQ(s, "aaXaa");
    CString t("<msg> and <msg>");
    EXPECT_EQ(t.Replace("<msg>", ""), 2);
    EXPECT_STREQ(t, " and ");

    OrnTest::AssertRecorder rec;
    EXPECT_EQ(s.Replace("", "x"), 0);
    EXPECT_ASSERTED(rec, "Length(cp) > 0");
}

TEST(String, FindAndCompareExactAndIgnoringCase)
{
    CString s("Hello World");
    EXPECT_EQ(s.Find("World"), 6);
    EXPECT_EQ(s.Find("world"), -1);
    EXPECT_EQ(s.Find("world", 0, false), 6);
    EXPECT_EQ(s.Find("o", 5), 7);
    EXPECT_EQ(s.Find(nullptr, 0), -1);
    OrnTest::AssertRecorder rec;
    EXPECT_EQ(s.Find("o", 12), -1);
    EXPECT_ASSERTED(rec, "(start >= 0) && (start <= mLen)");

    EXPECT_FALSE(Str::Equal("abc", "abcd"));
    EXPECT_TRUE(Str::IEqual("ABC", "abc") && WStr::IEqual(L"ABC", L"abc"));
    EXPECT_LT(Str::ICompare("abc", "ABD"), 0);
    EXPECT_GT(Str::ICompare("b", "A"), 0);
    EXPECT_EQ(Str::Find("hello", "ll"), 2);
    EXPECT_EQ(Str::Find("hello", 'o'), 4);
    EXPECT_EQ(Str::Find("hello", "lo!"), -1);
    EXPECT_EQ(WStr::Find(L"hello", L"lo"), 3);
    EXPECT_EQ(WStr::Find(L"hello", L'z'), -1);
}

TEST(String, LockAndUnlock)
{
    CString s, untouched;
    char* buf = s.Lock(0);
    ASSERT_NE(buf, nullptr);
    EXPECT_NE(buf, untouched.Chars()) << "the shared empty buffer is never handed out";
    buf[0] = 'a';
    buf[1] = 'b';
    buf[2] = 0;
    EXPECT_EQ(s.Unlock(), 2);
    EXPECT_STREQ(s, "ab");

    OrnTest::AssertRecorder rec;
    s.Lock(4);
    s.Lock(4);
    EXPECT_ASSERTED(rec, "! mLocked");
    s.Append("x");
    EXPECT_ASSERTED(rec, "IsUnlocked()");
    s.Unlock();
    s.Unlock();
    EXPECT_ASSERTED(rec, "mLocked");
}

TEST(String, NeverAllocatedStringIsNotWritten)
{
    CString s; // the shared empty buffer lies in read-only memory: a write there faults
    s.Empty();
    EXPECT_TRUE(s.IsEmpty());
    s = "";
    s.Remove(0);
    EXPECT_STREQ(s, "");
}

TEST(String, GrowthPastTheIntRangeIsRefused)
{
    CString s("a");
    EXPECT_THROW(s.AppendChar(' ', 0x7FFFFFFF), std::bad_alloc);
    EXPECT_STREQ(s, "a");
}

TEST(String, AppendRules)
{
    CString s("ab");
    s.Append("cdef", 2);
    s.Append("xy", -5);
    s.Append("");
    s.AppendChar('-', 3);
    EXPECT_STREQ(s, "abcdxy---");
    s.Append(s.Chars() + 6);
    EXPECT_STREQ(s, "abcdxy------");
}

TEST(String, FormatLimit)
{
    CString s;
    s.Format("%s-%d", "x", 42);
    EXPECT_STREQ(s, "x-42");
    OrnTest::AssertRecorder rec;
    s.Format("%5000d", 1);
    EXPECT_ASSERTED(rec, "VFormat(buf,format,args) < ((static_cast<Int>(sizeof(buf)/sizeof(buf[0]))) - 1)");
}

// The framework formats as the C library does, text and count, for every conversion it knows.
template <class... Args> void ExpectAsCLibrary(int size, const char* format, Args... args)
{
    char ours[64] = "?";
    char theirs[64] = "?";
    EXPECT_EQ(Str::Format(ours, size, format, args...), std::snprintf(theirs, size, format, args...)) << format;
    EXPECT_STREQ(ours, theirs) << format;
}

TEST(String, FormatsAsTheCLibrary)
{
    const char unterminated[3] = {'a', 'b', 'c'};
    ExpectAsCLibrary(64, "%d|%i|%+d|% d|%5d|%-5d|%05d|%.3d|%5.3d|%.0d|%+.0d", INT_MIN, INT_MAX, 7, 7, -7, 7, -7, 7, -7,
                     0, 0);
    ExpectAsCLibrary(64, "%u|%x|%X|%o|%#x|%#X|%#o|%.0x|%08X|%#06x", 0u, UINT_MAX, 0xABCu, 8u, 0xabu, 0u, 8u, 0u,
                     0xBEEFu, 0x1Fu);
    ExpectAsCLibrary(64, "%lld|%llu|%llx|%03lld", LLONG_MIN, ULLONG_MAX, 0x123456789ALL, 5LL);
    ExpectAsCLibrary(64, "%ld|%lu|%08lX|%02x|%04x", LONG_MIN, ULONG_MAX, 0xDEADUL, 0xABu, 0x1Fu);
    ExpectAsCLibrary(64, "%zu|%zd|%jd|%td|%hhd|%hhu|%hd|%hu", SIZE_MAX, std::ptrdiff_t(-3), INTMAX_MIN,
                     std::ptrdiff_t(9), 300, 300, 70000, 70000);
    ExpectAsCLibrary(64, "%*d|%-*d|%*d|%.*d|%.*d|%*.*s|", 4, 1, 4, 2, -4, 3, 3, 4, -1, 5, 6, 2, "xyz");
    ExpectAsCLibrary(64, "%s|%10s|%-10s|%.2s|%10.2s|%.3s|%s|", "text", "right", "left", "cut", "cut", unterminated, "");
    ExpectAsCLibrary(64, "%c|%3c|%-3c|%%|100%%", 'a', 'b', 'c');
    ExpectAsCLibrary(64, "%s", static_cast<const char*>(nullptr));
    ExpectAsCLibrary(8, "%s=%d", "truncated", 12345);
    ExpectAsCLibrary(1, "%d", 42);
}

TEST(String, HexRoundTrip)
{
    const Byte bytes[] = {0x00, 0xAB};
    CString hex;
    hex.SetHex(bytes, 2);
    EXPECT_STREQ(hex, "00AB");
    Byte back[4] = {};
    EXPECT_EQ(CString::HexToBinary("00AB", back, 4), 2);
    EXPECT_EQ(back[0] * 256 + back[1], 0xAB);
    EXPECT_EQ(Str::HexToByte("7f"), 0x7F);
    OrnTest::AssertRecorder rec;
    EXPECT_EQ(CString::HexToBinary("ABCD", back, 1), 1) << "never past the buffer";
    EXPECT_ASSERTED(rec, "maxBytes exceeded");
}

TEST(String, WideConversionsAndFormatting)
{
    CWString w;
    w.AssignNarrow("Caf\xE9");
    ASSERT_EQ(w.Length(), 4);
    EXPECT_EQ(w[3], WChar(0xE9));
    CString n;
    n = w.Chars();
    EXPECT_STREQ(n, "Caf\xE9");
    WChar* copy = Str::NewWStr("ab");
    ASSERT_NE(copy, nullptr);
    EXPECT_TRUE(WStr::Equal(copy, L"ab"));
    delete[] copy;
    // Wide formats read their conversions as the narrow form would.
    WChar buf[64];
    EXPECT_EQ(WStr::Format(buf, 64, L"%s=%-4d|%c|%5s", L"key", 7, L'x', L"ab"), 16);
    EXPECT_TRUE(WStr::Equal(buf, L"key=7   |x|   ab"));
    EXPECT_EQ(WStr::Format(buf, 64, L""), 0);
    EXPECT_EQ(WStr::Format(buf, 64, L"100%%"), 4);
    w.Format(L"<%s>", L"v");
    EXPECT_TRUE(WStr::Equal(w, L"<v>"));
}
