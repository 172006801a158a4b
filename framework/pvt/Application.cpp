// The portable part of the application chain: singletons, command line, usage and the command-line entry.
#include "Application.h"

#include <cstdio>
#include <initializer_list>

#include "Debug.h"
#include "VarList.h"

namespace Orn {

namespace {
CExecModule* cModule = nullptr;
CApplication* cApp = nullptr;

// The parts one after the other on standard output, without a formatter: a text of any length goes out whole.
void Print(std::initializer_list<const char*> parts)
{
    for (const char* part : parts)
        std::fputs(part, stdout);
    std::fflush(stdout);
}
} // namespace

void CIdleTaskList::AddIdleTask(Task task, void* context) { mIdleTasks.Add({task, context}); }

bool CIdleTaskList::RunIdleTasks()
{
    for (Int i = 0; i < mIdleTasks.Size();) {
        if (mIdleTasks[i].task(mIdleTasks[i].context))
            ++i;
        else
            mIdleTasks.RemoveAt(i);
    }
    return !mIdleTasks.IsEmpty();
}

CExecModule::CExecModule()
{
    ORN_ASSERT(! cModule);
    cModule = this;
    CGlobalDeleteList::Register(this);
}

CExecModule::~CExecModule()
{
    if (cModule == this)
        cModule = nullptr;
}

CApplication::CApplication(const char* name) : mName(name)
{
    ORN_ASSERT(! cApp);
    cApp = this;
    SetAppNameForReports(mName);
}

CApplication::~CApplication()
{
    SetAppNameForReports(nullptr);
    if (cApp == this)
        cApp = nullptr;
}

CApplication* CApplication::Get() { return cApp; }

void CApplication::ReportMessage(bool flag, const char* msg, ...)
{
    ORN_ASSERT(msg);
    if (!msg)
        return;
    va_list args;
    va_start(args, msg);
    VReportMessage(flag, msg, args);
    va_end(args);
}

void CApplication::HandleException(RStatus) { ORN_ASSERT_MSG("Exception handler not implemented"); }

void CApplication::HandleUnknownException() { ORN_ASSERT_MSG("Exception handler not implemented"); }

bool CApplication::AppGetVariable(const char* varName, CString& value)
{
    ORN_ASSERT(varName);
    return varName && Orn::AppGetVariable(varName, value);
}

// The configuration file is named ShortAppKey + MajVersion + ".vrc".
bool CApplication::ConfigFileName(CString& name)
{
    CString configName, majorString;
    if (!AppGetVariable("ShortAppKey", configName))
        ORN_ASSERT_MSG("AppGetVariable(\"ShortAppKey\",configName)");
    if (!AppGetVariable("MajVersion", majorString))
        ORN_ASSERT_MSG("AppGetVariable(\"MajVersion\",majorString)");
    name = configName;
    name.Append(majorString);
    name.Append(".vrc");
    return !configName.IsEmpty() && !majorString.IsEmpty();
}

bool CApplication::GetHelpDir(CString& dir) { return AppGetVariable("HelpDir", dir); }

void CApplication::GetUsageText(CString& text) { text.Format("%s: no usage information available.", mName.Chars()); }

bool CApplication::StartupHandled() { return false; }

void CApplication::ShowUsage() {}

bool CApplication::CmdMain(Int, char**) { return false; }

bool CApplication::Run(Int) { return false; }

void CApplication::EndRun() {}

void CApplication::SetCommandLine(const char* cmdLine)
{
    ORN_ASSERT(cmdLine);
    mArgs.Clear();
    mCmdLine = cmdLine ? cmdLine : "";
    mArgs.Split(mCmdLine);
}

CCmdApplication::CCmdApplication(const char* name) : CApplication(name) {}

void CCmdApplication::VReportMessage(bool, const char* format, va_list args)
{
    CString msg;
    msg.VFormat(format, args);
    Print({Name(), ": ", msg, "\n"});
}

void CCmdApplication::ShowUsage()
{
    CString usage;
    GetUsageText(usage);
    Print({"Usage: ", Name(), " ", usage, "\n"});
}

bool CCmdApplication::CmdMain(Int argc, char** argv)
{
    ORN_ASSERT(argc >= 0);
    ORN_ASSERT(argv);
    Args().Clear();
    for (Int i = 1; argv && i < argc; ++i)
        Args().Append(argv[i]);
    if (StartupHandled() || ComServerStepStops())
        return false;
    if (!Run(0))
        return false;
    EndRun();
    return true;
}

Int RunCmdProgram(Int argc, char** argv, ApplicationFactory make)
{
    CGlobalDeleteList::Create();
    make();
    CApplication* app = CApplication::Get();
    Int status = 1;
    if (app) {
        app->CmdMain(argc, argv);
        status = app->GetExitStatus();
    }
    CGlobalDeleteList::DeleteAll();
    return status;
}

} // namespace Orn
