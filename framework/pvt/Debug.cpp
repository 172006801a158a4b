// Reporting of failed assertions: nesting guard, termination case, title, then ask or raise.
#include "Debug.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "DebugPlatform.h"
#include "String.h"

namespace Orn {

namespace {

const char* cAssertFile = nullptr;
Int cAssertLine = 0;
Int cNesting = 0;
char cLastAssertText[2048] = {0};
AssertHook cAssertHook = nullptr;
DebugOutputHook cOutputHook = nullptr;
const char* cAppName = nullptr;

void Out(const char* text)
{
    // A test that records the output keeps it off the real debugger channel.
    if (cOutputHook)
        cOutputHook(text);
    else
        DebugPlatform::Output(text);
}

// A test hook stands in for the debugger: no trap is taken while one is installed.
void BreakIntoDebugger()
{
    if (!cAssertHook)
        DebugPlatform::Break();
}

void AskOrRaise(const char* expr)
{
    char title[256];
    if (cAppName && *cAppName)
        Str::Format(title, sizeof title, "Assertion Failure in %s!", cAppName);
    else
        Str::Format(title, sizeof title, "Assertion Failure!");

    if (cAssertHook) {
        cAssertHook(expr, cAssertFile, cAssertLine);
        return;
    }
    if (!DebugPlatform::DebuggerAttached()) {
        DebugPlatform::RaiseAssertException();
        return;
    }
    char text[sizeof cLastAssertText + 128];
    Str::Format(text, sizeof text, "%s%s", cLastAssertText,
                "\nClick Abort to terminate, Retry to break in the debugger, Ignore to continue.");
    switch (DebugPlatform::AskAbortRetryIgnore(text, title)) {
    case DebugPlatform::Choice::Abort: DebugPlatform::ExitProcess(1);
    case DebugPlatform::Choice::Retry: DebugPlatform::Break(); break;
    case DebugPlatform::Choice::Ignore: break;
    }
}

} // namespace

void SetAppNameForReports(const char* name) { cAppName = name; }

void AssertFailed(const char* expr, const char* file, Int line)
{
    cAssertFile = file;
    cAssertLine = line;
    if (cNesting != 0) {
        Out("**** nested calls to AssertFailed ****\n");
        BreakIntoDebugger();
        return;
    }
    cNesting = 1;
    Str::Format(cLastAssertText, sizeof cLastAssertText, "File: %s, Line#: %d\nAssert( %s );\n", file, line, expr);
    Out(cLastAssertText);
    if (DebugPlatform::QuitPending()) {
        Out("**** Assert during termination ****\n");
        BreakIntoDebugger();
    } else {
        AskOrRaise(expr);
    }
    --cNesting;
}

void AssertFailedFmt(const char* file, Int line, const char* format, ...)
{
    if (!format) {
        // Reported at a fixed place, so the report reads the same whatever this file's layout.
        AssertFailed("msg", "pvt/Debug", 63);
        return;
    }
    char msg[1024];
    va_list args;
    va_start(args, format);
    Str::VFormat(msg, sizeof msg, format, args);
    va_end(args);
    AssertFailed(msg, file, line);
}

void DebugOutput(const char* msg)
{
    ORN_ASSERT(msg);
    if (msg)
        Out(msg);
}

void DebugOutput(const WChar* msg)
{
    ORN_ASSERT(msg);
    if (!msg)
        return;
    if (cOutputHook) {
        CString narrow;
        narrow.AssignWide(msg);
        cOutputHook(narrow);
        return;
    }
    DebugPlatform::Output(msg);
}

const char* LastAssertionText() { return cLastAssertText; }

AssertHook SetAssertHook(AssertHook hook)
{
    AssertHook old = cAssertHook;
    cAssertHook = hook;
    return old;
}

DebugOutputHook SetDebugOutputHook(DebugOutputHook hook)
{
    DebugOutputHook old = cOutputHook;
    cOutputHook = hook;
    return old;
}

const char* SourceName(const char* file)
{
    for (const char* root : {"framework/", "framework\\", "app/", "app\\"}) {
        const char* p = std::strstr(file, root);
        if (p)
            return p + std::strlen(root);
    }
    const char* slash = std::strrchr(file, '/');
    const char* back = std::strrchr(file, '\\');
    const char* last = slash > back ? slash : back;
    return last ? last + 1 : file;
}

} // namespace Orn
