// Native half of assertion reporting, for the portable build: stderr stands in for the debugger.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include "DebugPlatform.h"

namespace Orn::DebugPlatform {

void Output(const char* text) { std::fputs(text, stderr); }
void Output(const WChar* text) { std::fputws(text, stderr); }
void Break() { std::raise(SIGTRAP); }
bool QuitPending() { return false; }
bool DebuggerAttached() { return false; }
Choice AskAbortRetryIgnore(const char*, const char*) { return Choice::Abort; }

// There are no structured exceptions here; ending the process is the nearest equivalent.
void RaiseAssertException() { std::abort(); }

void ExitProcess(Int status) { std::_Exit(status); }

} // namespace Orn::DebugPlatform
