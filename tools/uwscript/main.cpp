// uwscript: checks reply scripts, and runs them with the answers a user would give, as the program would.
#include <cstdio>

#include "UwScriptCommand.h"

int main(int argc, char** argv)
{
    std::string out, err;
    int status = RunUwScript(std::vector<std::string>(argv + 1, argv + argc), out, err);
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fwrite(err.data(), 1, err.size(), stderr);
    return status;
}
