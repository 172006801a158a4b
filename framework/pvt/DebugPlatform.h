// The platform half of assertion reporting (Debug_Win.cpp, Debug_Posix.cpp).
#pragma once

#include "Platform.h"

namespace Orn::DebugPlatform {

enum class Choice { Abort, Retry, Ignore };

void Output(const char* text);
void Output(const WChar* text);
void Break();
bool QuitPending();
bool DebuggerAttached();
Choice AskAbortRetryIgnore(const char* text, const char* title);
// Raises the structured exception with code 1 that marks a failed assertion.
void RaiseAssertException();
[[noreturn]] void ExitProcess(Int status);

} // namespace Orn::DebugPlatform
