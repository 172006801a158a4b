// The application class chain, its singletons and the program entry sequences.
#pragma once

#include <cstdarg>

#include "Array.h"
#include "CommandLine.h"
#include "Global.h"
#include "Platform.h"
#include "Status.h"
#include "String.h"

namespace Orn {

class CEventTarget {
public:
    virtual ~CEventTarget() = default;
};

// Tasks run when the message loop has nothing else to do.
class CIdleTaskList {
public:
    using Task = bool (*)(void* context); // false: remove the task
    virtual ~CIdleTaskList() = default;
    void AddIdleTask(Task task, void* context);
    // Runs each task once; true if any task is left.
    bool RunIdleTasks();

private:
    struct Entry {
        Task task;
        void* context;
    };
    CArray<Entry> mIdleTasks;
};

class CResSource {
public:
    virtual ~CResSource() = default;
    virtual bool LoadResString(Int id, CString& text) const = 0;
};

// Resources of one module (the program file).
class CBasicResSource : public CResSource {
public:
    bool LoadResString(Int id, CString& text) const override;
    void SetResModule(void* module) { mResModule = module; }
    void* ResModule() const { return mResModule; }

private:
    void* mResModule = nullptr;
};

class CExecModule : public CEventTarget, public CIdleTaskList, public CBasicResSource, private CGlobal {
public:
    CExecModule();
    ~CExecModule() override;
};

class CApplication : public CExecModule {
public:
    explicit CApplication(const char* name);
    ~CApplication() override;

    static CApplication* Get();

    const CString& Name() const { return mName; }
    const CString& CommandLineText() const { return mCmdLine; }

    void ReportMessage(bool flag, const char* msg, ...) ORN_PRINTF(3, 4);
    virtual void VReportMessage(bool flag, const char* format, va_list args);
    virtual void HandleException(RStatus status);
    virtual void HandleUnknownException();
    virtual bool GetConfigPath(CString& path);
    virtual bool AppGetVariable(const char* varName, CString& value);
    virtual bool GetHelpDir(CString& dir);
    virtual void GetUsageText(CString& text);
    // True when start-up already handled the run (nothing left to do).
    virtual bool StartupHandled();
    virtual void ShowUsage();
    virtual bool CmdMain(Int argc, char** argv);
    // False: do not enter the message loop.
    virtual bool Run(Int showState);
    virtual void EndRun();

    void SetCommandLine(const char* cmdLine);
    Int GetArgCount() const { return mArgs.GetArgCount(); }
    const CString& GetArg(Int index) const { return mArgs.GetArg(index); }
    void RemoveArg(Int index) { mArgs.RemoveArg(index); }
    bool TestOption(const char* option) { return mArgs.TestOption(option); }
    bool TestOptionValue(const char* option, CString& value) { return mArgs.TestOptionValue(option, value); }

    Int GetExitStatus() const { return mExitStatus; }
    void SetExitStatus(Int status) { mExitStatus = status; }

protected:
    // With no COM server module the step always goes on.
    bool ComServerStepStops() { return false; }
    bool ConfigFileName(CString& name);
    CArgList& Args() { return mArgs; }

private:
    CString mName;
    CString mCmdLine;
    CArgList mArgs;
    Int mExitStatus = 0;
};

class CGUIApplication : public CApplication {
public:
    explicit CGUIApplication(const char* name);
    ~CGUIApplication() override;

    static CGUIApplication* Get();

    void ShowUsage() override;
    // Stores the instance, splits the command line, runs; true only if the message loop ran.
    virtual bool GUIMain(void* instance, void* prevInstance, const char* cmdLine, Int showState);
    void* Instance() const { return mInstance; }

protected:
    virtual void MessageLoop();

private:
    void* mInstance = nullptr;
};

class CCmdApplication : public CApplication {
public:
    explicit CCmdApplication(const char* name);
    void VReportMessage(bool flag, const char* format, va_list args) override;
    void ShowUsage() override;
    bool CmdMain(Int argc, char** argv) override;
};

using ApplicationFactory = CApplication* (*)();

// Program entry for a GUI program: delete list, application, GUI main, deletion; returns the exit status.
Int RunGUIProgram(void* instance, void* prevInstance, const char* cmdLine, Int showState, ApplicationFactory make);
// The same for a command-line program.
Int RunCmdProgram(Int argc, char** argv, ApplicationFactory make);

} // namespace Orn
