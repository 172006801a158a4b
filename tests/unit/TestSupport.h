// Shared test fixtures: assertion and debug-output recording.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Debug.h"

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

} // namespace OrnTest

// Expects exactly the given assertion text to have fired (at least once) since the recorder was made.
#define EXPECT_ASSERTED(rec, text) EXPECT_TRUE((rec).Fired(text)) << "asserts: " << (rec).List()
#define EXPECT_NO_ASSERTS(rec) EXPECT_TRUE((rec).Asserts().empty()) << "asserts: " << (rec).List()
