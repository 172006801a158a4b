// mkconfig: compiles the text form of a configuration file into the binary ".vrc" form.
#include <cstdio>
#include <initializer_list>

#include "Application.h"
#include "StringStream.h"
#include "VarList.h"

namespace {

// Exit statuses.
enum : Orn::Int { exitOk = 0, exitFailure = 1, exitBadCmdLine = 2 };

// "mkconfig: can't <what> '<path>' (<status>)." on standard error, in plain writes: a path of any length goes
// out whole, and the program carries no C library formatter.
void ReportFailure(const char* what, const char* path, Orn::RStatus status)
{
    for (const char* part : {"mkconfig: can't ", what, " '", path, "' (", status.Name(), ").\n"})
        std::fputs(part, stderr);
}

class CMkconfigApp : public Orn::CCmdApplication {
public:
    CMkconfigApp() : CCmdApplication("mkconfig") {}

    void GetUsageText(Orn::CString& text) override { text = "INPUT OUTPUT"; }

    bool Run(Orn::Int) override
    {
        if (GetArgCount() != 2) {
            ShowUsage();
            SetExitStatus(exitBadCmdLine);
            return false;
        }
        SetExitStatus(Compile(GetArg(0), GetArg(1)) ? exitOk : exitFailure);
        return false;
    }

private:
    // Writes the output only when every line was accepted, so a build never picks up a half-right file.
    static bool Compile(const char* input, const char* output)
    {
        Orn::CVarList vars;
        Orn::CString errors;
        Orn::CStringStream errorStream(errors, Orn::smWrite);
        Orn::RStatus status = vars.LoadAny(input, errorStream);
        std::fputs(errors, stderr);
        if (status.Failed()) {
            ReportFailure("read", input, status);
            return false;
        }
        if (!errors.IsEmpty()) {
            std::remove(output);
            return false;
        }
        status = vars.Save(output);
        if (status.Failed()) {
            ReportFailure("write", output, status);
            std::remove(output);
            return false;
        }
        return true;
    }
};

Orn::CApplication* MakeApp() { return new CMkconfigApp; }

} // namespace

int main(int argc, char** argv) { return Orn::RunCmdProgram(argc, argv, MakeApp); }
