// mkconfig: compiles the text form of a configuration file into the binary ".vrc" form.
#include <cstdio>

#include "Application.h"
#include "StringStream.h"
#include "VarList.h"

namespace {

// Exit statuses.
enum : Orn::Int { exitOk = 0, exitFailure = 1, exitBadCmdLine = 2 };

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
            std::fprintf(stderr, "mkconfig: can't read '%s' (%s).\n", input, status.Name());
            return false;
        }
        if (!errors.IsEmpty()) {
            std::remove(output);
            return false;
        }
        status = vars.Save(output);
        if (status.Failed()) {
            std::fprintf(stderr, "mkconfig: can't write '%s' (%s).\n", output, status.Name());
            std::remove(output);
            return false;
        }
        return true;
    }
};

Orn::CApplication* MakeApp() { return new CMkconfigApp; }

} // namespace

int main(int argc, char** argv) { return Orn::RunCmdProgram(argc, argv, MakeApp); }
