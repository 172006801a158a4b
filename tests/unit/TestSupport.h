// Shared test fixtures: assertion and debug-output recording, error reports, scratch files.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Debug.h"
#include "ErrorHandler.h"

namespace OrnTest {

// Records every assertion report (expression text) and debug-output line while it lives.
class AssertRecorder {
public:
    AssertRecorder();
    ~AssertRecorder();
    AssertRecorder(const AssertRecorder&) = delete;
    AssertRecorder& operator=(const AssertRecorder&) = delete;

    const std::vector<std::string>& Asserts() const { return mAsserts; }
    const std::vector<std::string>& Output() const { return mOutput; }
    bool Fired(const std::string& expr) const;
    // The assertions as one line, for failure messages.
    std::string List() const;
    void Clear();

private:
    static void OnAssert(const char* expr, const char* file, Orn::Int line);
    static void OnOutput(const char* text);
    static AssertRecorder* cCurrent;
    Orn::AssertHook mOldAssert;
    Orn::DebugOutputHook mOldOutput;
    AssertRecorder* mOuter;
    std::vector<std::string> mAsserts;
    std::vector<std::string> mOutput;
};

// A unique scratch file name in the system temporary directory.
std::string TempPath(const std::string& name);

// A banner that shows where a report was read.
inline constexpr char cPositionBanner[] = "<ErrFile>:<ErrLine>: <msg>";

// The current error handler while it lives: keeps every delivered report. With a banner, every message type
// is framed by it; without, by the standard ones.
class CCaptureHandler : public Orn::CErrorHandler {
public:
    explicit CCaptureHandler(const char* banner = nullptr);
    ~CCaptureHandler() override;
    std::vector<std::string> mReports;
    // The last report, or "".
    std::string Last() const { return mReports.empty() ? std::string() : mReports.back(); }

protected:
    Orn::CString GetBanner(Orn::Int number) const override;
    void Deliver(const Orn::CString& text, Orn::DWord) override { mReports.push_back(text.Chars()); }

private:
    const char* mBanner;
    Orn::CErrorHandler* mPrevious;
};

// A scratch file (see TempPath) removed at the end of the test.
struct CScratchFile {
    explicit CScratchFile(const std::string& name) : path(TempPath(name)) {}
    ~CScratchFile();
    CScratchFile(const CScratchFile&) = delete;
    CScratchFile& operator=(const CScratchFile&) = delete;
    void Write(const std::string& bytes) const;
    std::string Read() const;
    const char* c_str() const { return path.c_str(); }
    std::string path;
};

// A scratch directory (see TempPath) removed with everything in it at the end of the test.
class CScratchDir {
public:
    explicit CScratchDir(const std::string& name);
    ~CScratchDir();
    CScratchDir(const CScratchDir&) = delete;
    CScratchDir& operator=(const CScratchDir&) = delete;
    const std::string& Path() const { return mPath; }
    // Writes a file of the directory; its path.
    std::string Write(const std::string& name, const std::string& bytes) const;

private:
    std::string mPath;
};

} // namespace OrnTest

// Expects exactly the given assertion text to have fired (at least once) since the recorder was made.
#define EXPECT_ASSERTED(rec, text) EXPECT_TRUE((rec).Fired(text)) << "asserts: " << (rec).List()
#define EXPECT_NO_ASSERTS(rec) EXPECT_TRUE((rec).Asserts().empty()) << "asserts: " << (rec).List()
