// Ordered lists of named text variables with read-only marks, and the process-wide GlobalVars.
#pragma once

#include "Platform.h"
#include "Status.h"
#include "String.h"

namespace Orn {

class CStream;

// Bounds on substituting a list into one text. A value that refers to itself, directly or through other
// variables, would otherwise run without end or double the text until memory runs out. Real texts stay far
// below them: a reply page holds at most 10000 bytes, and configuration and registry values are short.
constexpr Int cMaxSubstReplacements = 10000;
constexpr Int cMaxSubstLength = 65536; // characters
// Passes over the whole list that still replace after the first. Each pass resolves at least one level of
// nesting, and real texts nest a few levels; without this bound two values that name each other and grow could
// take a pass over the whole text for every two replacements.
constexpr Int cMaxSubstPasses = 16;

struct CSubstBounds {
    Int maxReplacements = cMaxSubstReplacements;
    Int maxLength = cMaxSubstLength;
};

class CVarList {
public:
    class CVisitor {
    public:
        virtual ~CVisitor() = default;
        // False stops the visit.
        virtual bool Visit(const char* name, const char* value) = 0;
    };

    // Constant-initialised, so GlobalVars is usable from any static constructor.
    constexpr CVarList() = default;
    CVarList(const CVarList& varList);
    CVarList& operator=(const CVarList& varList);
    ~CVarList();

    // A name that begins with "%" loses it and makes the variable read-only.
    void Set(const char* name, const char* value, bool readOnly = false);
    // Stores "1" or "0".
    void SetBool(const char* name, bool b);
    // Stores the decimal text.
    void SetInt(const char* name, Int n);
    // The value, or null when the variable is missing.
    const char* Find(const char* name) const;
    // False (and value emptied) when missing.
    bool GetValue(const char* name, CString& value) const;
    // True/Yes/1 and False/No/0; anything else is an assertion that leaves b untouched.
    bool GetBool(const char* name, bool& b) const;
    // Leading decimal digits of the value.
    bool GetInt(const char* name, Int& n) const;
    bool IsReadOnly(const char* name) const;
    // True when the variable existed.
    bool Remove(const char* name);
    void Clear();
    // Sets every variable of other, in its order, keeping its read-only marks.
    void AddAll(const CVarList& other);
    Int Count() const;
    // Visits in list order; false as soon as the visitor says stop.
    bool Visit(CVisitor& visitor) const;

    // Replaces "<NAME>" references (or the given two delimiters) until a pass makes no change, within the
    // default bounds; the number of replacements.
    Int Substitute(CString& text, const char* delims = nullptr) const;
    Int Substitute(CWString& text, const WChar* delims = nullptr) const;
    // The same within the given bounds; false when one stopped it, the text then stays as far as it got.
    bool SubstituteBounded(CString& text, const char* delims, const CSubstBounds& bounds,
                           Int* replacements = nullptr) const;

    // Sets the pairs of "a=1&b=2" (urlForm, form-decoded) or "a=1 b=2"; the number of variables set.
    Int ParseQuery(const char* queryStr, bool urlForm);
    // Hands each pair of queryStr to visitor in order, exactly as ParseQuery reads it (a pair without a name is
    // skipped, every "=" after the first is dropped), duplicates included; the number of pairs.
    static Int VisitQuery(const char* queryStr, bool urlForm, CVisitor& visitor);
    // Writes "name=value&..." form-encoded; the number of pairs written.
    Int BuildQuery(CString& out) const;

    // Binary configuration file.
    RStatus Save(const char* path) const;
    RStatus Load(const char* path);
    // Text form, errors reported to errorStream.
    RStatus Parse(CStream& input, CStream& errorStream);
    RStatus LoadAny(const char* path, CStream& errorStream);
    void WriteDump(CStream& stream) const;

private:
    struct CVar;
    CVar* FindVar(const char* name) const;

    CVar* mHead = nullptr;
    CVar* mTail = nullptr;
};

extern CVarList GlobalVars;

// GlobalVars value with "<NAME>" references resolved.
bool AppGetVariable(const char* name, CString& value);
// A missing variable reads as false; a value other than "0"/"1" is an assertion.
bool GetGlobalBool(const char* name);
void SetGlobalBool(const char* var, bool b);

} // namespace Orn
