// The uwscript command line: "check FILE..." and "run FILE [options]".
#pragma once

#include <string>
#include <vector>

// Runs one command line (without the program name); what it writes goes to out and err. The exit status:
// 0 fine, 1 a script error, 2 a wrong command line, an unreadable file or answers that do not fit.
int RunUwScript(const std::vector<std::string>& args, std::string& out, std::string& err);
