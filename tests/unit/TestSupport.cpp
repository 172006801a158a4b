// Assertion and report recording for tests, and scratch files.
#include "TestSupport.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

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
    return std::find(mAsserts.begin(), mAsserts.end(), expr) != mAsserts.end();
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

CCaptureHandler::CCaptureHandler(const char* banner) : mBanner(banner), mPrevious(Orn::SetErrorHandler(this)) {}

CCaptureHandler::~CCaptureHandler() { Orn::SetErrorHandler(mPrevious); }

Orn::CString CCaptureHandler::GetBanner(Orn::Int number) const
{
    return mBanner ? Orn::CString(mBanner) : CErrorHandler::GetBanner(number);
}

CScratchFile::~CScratchFile() { std::remove(path.c_str()); }

void CScratchFile::Write(const std::string& bytes) const { std::ofstream(path, std::ios::binary) << bytes; }

std::string CScratchFile::Read() const
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

CScratchDir::CScratchDir(const std::string& name) : mPath(TempPath(name)) { std::filesystem::create_directories(mPath); }

CScratchDir::~CScratchDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

std::string CScratchDir::Write(const std::string& name, const std::string& bytes) const
{
    std::string path = mPath + "/" + name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

} // namespace OrnTest
