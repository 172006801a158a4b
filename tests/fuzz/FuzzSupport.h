// Shared by the fuzz targets: failing loudly, assertions a target expects, and the input as text.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

#include "Debug.h"
#include "String.h"
#include "VarList.h"

namespace FuzzSupport {

[[noreturn]] inline void Fail(const char* what, const char* detail = "")
{
    std::fprintf(stderr, "fuzz: %s: %s\n", what, detail);
    std::abort();
}

inline std::vector<std::string> gExpected;

// Any assertion but the expected ones (those the code documents for such input) is a finding.
inline void OnAssert(const char* expr, const char*, Orn::Int)
{
    for (const std::string& allowed : gExpected) {
        if (allowed == expr)
            return;
    }
    Fail("assertion", expr);
}

// The reports of expected assertions would only slow the fuzzer down.
inline void Quiet(const char*) {}

inline void ExpectAssertions(std::initializer_list<const char*> expected)
{
    Orn::SetDebugOutputHook(Quiet);
    if (gExpected.empty())
        gExpected.assign(expected.begin(), expected.end());
    Orn::SetAssertHook(OnAssert);
}

// The input up to its first zero byte, which no text can hold.
inline Orn::CString Text(const std::uint8_t* data, size_t size)
{
    return Orn::CString(reinterpret_cast<const char*>(data), static_cast<Orn::Int>(size < 0x7FFFFFFF ? size : 0));
}

// A status must be Ok or a failure, never a success of another kind.
inline void CheckStatus(Orn::RStatus status)
{
    if (!(status == Orn::Ok) && !status.Failed())
        Fail("status neither Ok nor a failure", status.Name());
}

// A list as one text: names, values and read-only marks, in order.
inline std::string Flatten(const Orn::CVarList& list)
{
    struct CFlatten : Orn::CVarList::CVisitor {
        const Orn::CVarList& list;
        std::string out;
        explicit CFlatten(const Orn::CVarList& l) : list(l) {}
        bool Visit(const char* name, const char* value) override
        {
            out.append(list.IsReadOnly(name) ? "%" : "").append(name).append("=").append(value).append("\n");
            return true;
        }
    } flatten(list);
    list.Visit(flatten);
    return flatten.out;
}

} // namespace FuzzSupport
