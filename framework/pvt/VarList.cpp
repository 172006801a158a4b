// Ordered variable lists, their substitution into texts, and the process-wide GlobalVars.
#include "VarList.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "Array.h"
#include "Debug.h"
#include "Escape.h"

namespace Orn {

// Constant-initialised (constexpr constructor), so it exists before any static constructor runs.
CVarList GlobalVars;

struct CVarList::CVar {
    CVar(const char* n, const char* v) : name(n), value(v) {}
    CString name;
    CString value;
    bool readOnly = false;
    CVar* next = nullptr;
};

// What one substitution may still do. A replacement that would pass a bound is not made.
struct CSubstBudget {
    CSubstBounds bounds;
    Int replacements = 0;
    bool cut = false;

    bool Allows(Int64 newLength)
    {
        cut = replacements >= bounds.maxReplacements || newLength > bounds.maxLength;
        return !cut;
    }
};

namespace {

template <class Ch> bool ContainsChar(const CStringT<Ch>& text, Ch c)
{
    for (Int i = 0; i < text.Length(); ++i) {
        if (text[i] == c)
            return true;
    }
    return false;
}

// Replaces each open+name+close in text by the value (fetched only when first needed). The search goes on
// one character into the inserted value, so a value that holds "<NAME>" of another variable is left for the
// next pass rather than missed.
template <class Ch, class GetValue>
Int SubstituteOne(CStringT<Ch>& text, const Ch* name, Ch open, Ch close, GetValue getValue, CSubstBudget& budget)
{
    Int nameLen = CharTraits<Ch>::Length(name);
    Int count = 0;
    Int pos = 0;
    while (pos <= text.Length()) {
        Int p = text.Find(name, pos);
        if (p < 0)
            break;
        Int end = p + nameLen;
        if (p > 0 && text[p - 1] == open && end < text.Length() && text[end] == close) {
            const Ch* value = getValue();
            if (!budget.Allows(Int64(text.Length()) - (nameLen + 2) + CharTraits<Ch>::Length(value)))
                break;
            text.Remove(p - 1, nameLen + 2);
            text.Insert(value, p - 1);
            ++count;
            ++budget.replacements;
            pos = p;
        } else {
            pos = p + 1;
        }
    }
    return count;
}

Int SubstituteVar(CStringT<char>& text, const char* name, const char* value, char open, char close,
                  CSubstBudget& budget)
{
    return SubstituteOne<char>(text, name, open, close, [value] { return value; }, budget);
}

// Converts the name once and the value only before the first replacement.
Int SubstituteVar(CStringT<WChar>& text, const char* name, const char* value, WChar open, WChar close,
                  CSubstBudget& budget)
{
    CWString wName;
    wName.AssignNarrow(name);
    CWString wValue;
    bool converted = false;
    auto getValue = [&]() -> const WChar* {
        if (!converted) {
            wValue.AssignNarrow(value);
            converted = true;
        }
        return wValue.Chars();
    };
    return SubstituteOne<WChar>(text, wName.Chars(), open, close, getValue, budget);
}

// The names that stand between the delimiters somewhere in the text ("<A>" gives A). A variable whose name
// holds neither delimiter can only be replaced when its name is among them, so a pass skips the others
// without searching the whole text once for each.
template <class Ch> class CReferenceSet {
public:
    CReferenceSet(Ch open, Ch close) : mOpen(open), mClose(close) {}

    // Only the innermost spans: an outer one holds a delimiter, which such names are never skipped for.
    void Build(const CStringT<Ch>& text)
    {
        mNames.Clear();
        Int close = -1;
        for (Int i = text.Length() - 1; i >= 0 && mOpen != mClose; --i) {
            if (text[i] == mClose) {
                close = i;
            } else if (text[i] == mOpen && close > i) {
                mNames.Add(CStringT<Ch>(text.Chars() + i + 1, close - i - 1));
                close = -1;
            }
        }
        std::sort(mNames.begin(), mNames.end(), Less);
    }

    bool MayHold(const Ch* name) const
    {
        for (const Ch* p = name; *p; ++p) {
            if (*p == mOpen || *p == mClose)
                return true;
        }
        return mOpen == mClose || std::binary_search(mNames.begin(), mNames.end(), name, Less);
    }

private:
    static bool Less(const Ch* a, const Ch* b)
    {
        for (; *a && *a == *b; ++a, ++b) {
        }
        return *a < *b;
    }

    Ch mOpen;
    Ch mClose;
    // Sorted, so that a name is found by halving.
    CArray<CStringT<Ch>> mNames;
};

template <class Ch> bool MayHold(const CReferenceSet<Ch>& refs, const char* name);
template <> bool MayHold<char>(const CReferenceSet<char>& refs, const char* name) { return refs.MayHold(name); }
template <> bool MayHold<WChar>(const CReferenceSet<WChar>& refs, const char* name)
{
    CWString wName;
    wName.AssignNarrow(name);
    return refs.MayHold(wName.Chars());
}

} // namespace

// Substitutes every variable of a list into one text, counting the replacements; stops when a bound is hit.
template <class Ch> class CSubstituteTextVisitor : public CVarList::CVisitor {
public:
    CSubstituteTextVisitor(CStringT<Ch>& text, Ch open, Ch close, CSubstBudget& budget)
        : mText(text), mOpen(open), mClose(close), mBudget(budget), mRefs(open, close)
    {
        mRefs.Build(text);
    }

    bool Visit(const char* name, const char* value) override
    {
        if (!MayHold(mRefs, name))
            return true;
        Int count = SubstituteVar(mText, name, value, mOpen, mClose, mBudget);
        if (count > 0)
            mRefs.Build(mText);
        mCount += count;
        return !mBudget.cut;
    }

    Int Count() const { return mCount; }

private:
    CStringT<Ch>& mText;
    Ch mOpen;
    Ch mClose;
    CSubstBudget& mBudget;
    CReferenceSet<Ch> mRefs;
    Int mCount = 0;
};

namespace {

// Passes over the whole list until one makes no replacement, so nested references resolve fully.
template <class Ch> Int SubstituteAll(const CVarList& list, CStringT<Ch>& text, Ch open, Ch close, CSubstBudget& budget)
{
    Int total = 0;
    for (Int pass = 0; ContainsChar(text, open) || ContainsChar(text, close); ++pass) {
        CSubstituteTextVisitor<Ch> visitor(text, open, close, budget);
        list.Visit(visitor);
        total += visitor.Count();
        if (visitor.Count() == 0 || budget.cut)
            break;
        // A pass that still replaces after the bound shows that the text has not settled.
        if (pass == cMaxSubstPasses) {
            budget.cut = true;
            break;
        }
    }
    return total;
}

} // namespace

CVarList::CVarList(const CVarList& varList) { AddAll(varList); }

CVarList& CVarList::operator=(const CVarList& varList)
{
    ORN_ASSERT(this != &varList);
    if (this == &varList)
        return *this;
    Clear();
    AddAll(varList);
    return *this;
}

CVarList::~CVarList() { Clear(); }

CVarList::CVar* CVarList::FindVar(const char* name) const
{
    for (CVar* var = mHead; var; var = var->next) {
        if (var->name == name)
            return var;
    }
    return nullptr;
}

void CVarList::Set(const char* name, const char* value, bool readOnly)
{
    ORN_ASSERT(name);
    ORN_ASSERT(value);
    if (!name || !value)
        return;
    if (name[0] == '%') {
        ++name;
        readOnly = true;
    }
    CVar* var = FindVar(name);
    if (!var) {
        var = new CVar(name, value);
        (mTail ? mTail->next : mHead) = var;
        mTail = var;
    } else if (var->readOnly) {
        ORN_ASSERT_MSG("attempt to modify a read-only variable");
    } else {
        var->value = value;
    }
    if (readOnly)
        var->readOnly = true;
}

void CVarList::SetBool(const char* name, bool b) { Set(name, b ? "1" : "0"); }

void CVarList::SetInt(const char* name, Int n)
{
    CString text;
    text.Format("%d", n);
    Set(name, text);
}

const char* CVarList::Find(const char* name) const
{
    ORN_ASSERT(name);
    if (!name)
        return nullptr;
    CVar* var = FindVar(name);
    return var ? var->value.Chars() : nullptr;
}

bool CVarList::GetValue(const char* name, CString& value) const
{
    const char* found = Find(name);
    if (!found) {
        value.Empty();
        return false;
    }
    value = found;
    return true;
}

bool CVarList::GetBool(const char* name, bool& b) const
{
    const char* value = Find(name);
    if (!value)
        return false;
    if (Str::IEqual(value, "True") || Str::IEqual(value, "Yes") || Str::Equal(value, "1"))
        b = true;
    else if (Str::IEqual(value, "False") || Str::IEqual(value, "No") || Str::Equal(value, "0"))
        b = false;
    else
        ORN_ASSERT_MSG("bad Bool value");
    return true;
}

bool CVarList::GetInt(const char* name, Int& n) const
{
    const char* value = Find(name);
    if (!value)
        return false;
    // Clamped the same way on every platform, whatever the width of long.
    long parsed = std::strtol(value, nullptr, 10);
    n = parsed > INT_MAX ? INT_MAX : parsed < INT_MIN ? INT_MIN : static_cast<Int>(parsed);
    return true;
}

bool CVarList::IsReadOnly(const char* name) const
{
    CVar* var = name ? FindVar(name) : nullptr;
    return var && var->readOnly;
}

bool CVarList::Remove(const char* name)
{
    ORN_ASSERT(name);
    CVar* prev = nullptr;
    for (CVar* var = mHead; var && name; prev = var, var = var->next) {
        if (var->name != name)
            continue;
        (prev ? prev->next : mHead) = var->next;
        if (mTail == var)
            mTail = prev;
        delete var;
        return true;
    }
    return false;
}

void CVarList::Clear()
{
    while (mHead) {
        CVar* next = mHead->next;
        delete mHead;
        mHead = next;
    }
    mTail = nullptr;
}

void CVarList::AddAll(const CVarList& other)
{
    for (CVar* var = other.mHead; var; var = var->next)
        Set(var->name, var->value, var->readOnly);
}

Int CVarList::Count() const
{
    Int n = 0;
    for (CVar* var = mHead; var; var = var->next)
        ++n;
    return n;
}

bool CVarList::Visit(CVisitor& visitor) const
{
    for (CVar* var = mHead; var; var = var->next) {
        if (!visitor.Visit(var->name, var->value))
            return false;
    }
    return true;
}

Int CVarList::Substitute(CString& text, const char* delims) const
{
    ORN_ASSERT((delims == 0) || (Str::Length(delims) == 2));
    if (delims && Str::Length(delims) != 2)
        return 0;
    if (!delims)
        delims = "<>";
    CSubstBudget budget;
    return SubstituteAll<char>(*this, text, delims[0], delims[1], budget);
}

Int CVarList::Substitute(CWString& text, const WChar* delims) const
{
    ORN_ASSERT((delims == 0) || (WStr::Length(delims) == 2));
    if (delims && WStr::Length(delims) != 2)
        return 0;
    if (!delims)
        delims = L"<>";
    CSubstBudget budget;
    return SubstituteAll<WChar>(*this, text, delims[0], delims[1], budget);
}

bool CVarList::SubstituteBounded(CString& text, const char* delims, const CSubstBounds& bounds,
                                 Int* replacements) const
{
    ORN_ASSERT((delims == 0) || (Str::Length(delims) == 2));
    if (delims && Str::Length(delims) != 2)
        return true;
    if (!delims)
        delims = "<>";
    CSubstBudget budget;
    budget.bounds = bounds;
    Int count = SubstituteAll<char>(*this, text, delims[0], delims[1], budget);
    if (replacements)
        *replacements = count;
    return !budget.cut;
}

Int CVarList::ParseQuery(const char* queryStr, bool urlForm)
{
    ORN_ASSERT(queryStr);
    struct CSetter : CVisitor {
        explicit CSetter(CVarList& list) : list(list) {}
        bool Visit(const char* name, const char* value) override
        {
            list.Set(name, value);
            return true;
        }
        CVarList& list;
    } setter(*this);
    return queryStr ? VisitQuery(queryStr, urlForm, setter) : 0;
}

// Later "=" of a pair are dropped like the first, so "a=b=c" gives a = "bc".
Int CVarList::VisitQuery(const char* queryStr, bool urlForm, CVisitor& visitor)
{
    const char separator = urlForm ? '&' : ' ';
    CString name, value;
    bool inValue = false;
    Int count = 0;
    for (const char* p = queryStr;; ++p) {
        if (*p == separator || *p == 0) {
            if (!name.IsEmpty()) {
                if (urlForm) {
                    FormDecode(name, name);
                    FormDecode(value, value);
                }
                visitor.Visit(name, value);
                ++count;
            }
            name.Empty();
            value.Empty();
            inValue = false;
            if (*p == 0)
                break;
        } else if (*p == '=') {
            inValue = true;
        } else {
            (inValue ? value : name).AppendChar(*p);
        }
    }
    return count;
}

Int CVarList::BuildQuery(CString& out) const
{
    out.Empty();
    Int count = 0;
    CString encoded;
    for (CVar* var = mHead; var; var = var->next, ++count) {
        if (count > 0)
            out.AppendChar('&');
        FormEncode(encoded, var->name);
        out.Append(encoded);
        out.AppendChar('=');
        FormEncode(encoded, var->value);
        out.Append(encoded);
    }
    return count;
}

bool AppGetVariable(const char* name, CString& value)
{
    if (!GlobalVars.GetValue(name, value))
        return false;
    GlobalVars.Substitute(value);
    return true;
}

// A missing variable is normal (optional switches) and reads as false without an assertion.
bool GetGlobalBool(const char* name)
{
    CString value;
    if (!AppGetVariable(name, value))
        return false;
    ORN_ASSERT(value == "0" || value == "1");
    return value == "1";
}

void SetGlobalBool(const char* var, bool b)
{
    ORN_ASSERT(var);
    if (var)
        GlobalVars.SetBool(var, b);
}

} // namespace Orn
