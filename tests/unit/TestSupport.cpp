// Assertion recording for tests, and scratch paths.
#include "TestSupport.h"

#include <atomic>
#include <cstdlib>

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace OrnTest {

AssertRecorder* AssertRecorder::cCurrent = nullptr;

AssertRecorder::AssertRecorder()
    : mOldAssert(Orn::SetAssertHook(&OnAssert)), mOldOutput(Orn::SetDebugOutputHook(&OnOutput)), mOuter(cCurrent)
{
    cCurrent = this;
}

AssertRecorder::~AssertRecorder()
{
    cCurrent = mOuter;
    Orn::SetAssertHook(mOldAssert);
    Orn::SetDebugOutputHook(mOldOutput);
}

void AssertRecorder::OnAssert(const char* expr, const char*, Orn::Int)
{
    if (cCurrent)
        cCurrent->mAsserts.emplace_back(expr);
}

void AssertRecorder::OnOutput(const char* text)
{
    if (cCurrent)
        cCurrent->mOutput.emplace_back(text);
}

bool AssertRecorder::Fired(const std::string& expr) const
{
    for (const std::string& a : mAsserts)
        if (a == expr)
            return true;
    return false;
}

std::string AssertRecorder::List() const
{
    std::string all;
    for (const std::string& a : mAsserts)
        all += "[" + a + "] ";
    return all;
}

void AssertRecorder::Clear()
{
    mAsserts.clear();
    mOutput.clear();
}

std::string TempPath(const std::string& name)
{
    static std::atomic<int> counter{0};
#if defined(_WIN32)
    char dir[MAX_PATH + 1];
    ::GetTempPathA(sizeof dir, dir);
    std::string base = dir;
    std::string pid = std::to_string(::GetCurrentProcessId());
#else
    const char* tmp = std::getenv("TMPDIR");
    std::string base = std::string(tmp && *tmp ? tmp : "/tmp") + "/";
    std::string pid = std::to_string(::getpid());
#endif
    return base + "orn_" + pid + "_" + std::to_string(counter++) + "_" + name;
}

} // namespace OrnTest
