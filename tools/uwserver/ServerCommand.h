// uwserver's commands beside serving a folder: "check", "which" and "report".
#pragma once

#include <string>
#include <vector>

// True when the first word names one of the commands.
bool IsServerCommand(const std::string& word);
// Runs one such command line (without the program name); what it writes goes to out and err. The exit status:
// 0 fine, 1 a problem found in the folder or the records, 2 a wrong command line.
int RunServerCommand(const std::vector<std::string>& args, std::string& out, std::string& err);
