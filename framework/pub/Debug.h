// Assertions that carry the failed expression, file and line, and the debugger-output calls.
#pragma once

#include "Platform.h"

namespace Orn {

// Reports a failed assertion (the expression text is what the report shows) and returns unless the
// platform ends the process.
void AssertFailed(const char* expr, const char* file, Int line);
// The same with a printf-style message instead of an expression.
void AssertFailedFmt(const char* file, Int line, const char* format, ...) ORN_PRINTF(3, 4);

void DebugOutput(const char* msg);
void DebugOutput(const WChar* msg);

// The formatted report of the most recent assertion (read by a crash handler).
const char* LastAssertionText();

// Test hooks: a test records each report and goes on as if Ignore had been chosen. The product never
// installs them.
using AssertHook = void (*)(const char* expr, const char* file, Int line);
using DebugOutputHook = void (*)(const char* text);
AssertHook SetAssertHook(AssertHook hook);
DebugOutputHook SetDebugOutputHook(DebugOutputHook hook);

// The application names itself here so assertion titles can name it.
void SetAppNameForReports(const char* name);

// Path of a source file relative to the project, so reports read "framework/pvt/Debug.cpp".
const char* SourceName(const char* file);

} // namespace Orn

// The condition is stringified as written, so the report quotes the source text exactly.
#define ORN_ASSERT(cond) \
    ((cond) ? (void)0 : ::Orn::AssertFailed(#cond, ::Orn::SourceName(__FILE__), __LINE__))
// An assertion whose report is a fixed message rather than a condition.
#define ORN_ASSERT_MSG(text) ::Orn::AssertFailed(text, ::Orn::SourceName(__FILE__), __LINE__)
#define ORN_ASSERT_FMT(...) ::Orn::AssertFailedFmt(::Orn::SourceName(__FILE__), __LINE__, __VA_ARGS__)
