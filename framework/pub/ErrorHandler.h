// Turns a message and its options into the final text, with the position of the source being read.
#pragma once

#include <vector>

#include "Platform.h"
#include "String.h"

namespace Orn {

class CStream;

// Message types of the options word.
enum : DWord {
    errOK = 0x00000000,
    errERROR = 0x00010000,
    errWARNING = 0x00020000,
    errINFO = 0x00030000,
    errTYPE_MASK = 0x00FF0000,
};

class CErrorHandler {
public:
    CErrorHandler() = default;
    CErrorHandler(const CErrorHandler&) = delete;
    CErrorHandler& operator=(const CErrorHandler&) = delete;
    virtual ~CErrorHandler() = default;

    // Builds the final text into out; returns the number of global-variable substitutions made.
    Int FormatMessage(const char* msg, DWord options, CString& out);
    // Formats and delivers a message.
    virtual void Report(const char* msg, DWord options);

    // Sources being read: the innermost one's name and line are what "ErrFile" and "ErrLine" show. A source
    // pushed as a stream is named by the stream (a file stream by its path).
    void PushSource(const char* name);
    void PushSource(const CStream& stream);
    void PopSource();
    void NextLine();
    bool HasSource() const { return !mSources.empty(); }

    // Named counters, innermost last.
    void PushCounter(const char* name);
    void PopCounter();
    void AdvanceCounter();
    Int CurrentCount() const;
    CString CurrentCounterName() const;

protected:
    // Banner texts 3, 4 and 5 frame errors, warnings and notes; each holds the item "<msg>".
    virtual CString GetBanner(Int number) const;
    // Delivers the finished text; the base writes it to the debug output.
    virtual void Deliver(const CString& text, DWord options);

    // The two substitution steps; the template and variable-list facilities provide them.
    virtual void SubstituteItems(CString& text, const char* file, Int line) const;
    virtual Int SubstituteGlobals(CString& text) const;

private:
    // A name or the stream it is read from, as isStream says.
    struct Source {
        CString name;
        const CStream* stream;
        bool isStream;
        Int line;
    };
    static CString SourceName(const Source& source);
    // The banner's "<msg>" item filled with the message.
    static void FillBanner(CString& banner, const char* msg);
    struct Counter {
        CString name;
        Int count;
    };
    std::vector<Source> mSources;
    std::vector<Counter> mCounters;
};

// Installed where errors are to be swallowed rather than shown.
class CIgnoreErrorHandler : public CErrorHandler {
protected:
    void Deliver(const CString&, DWord) override {}
};

// The process-wide handler that facilities report through; never null.
CErrorHandler& CurrentErrorHandler();
// Installs a handler (null restores the default) and returns the previous one.
CErrorHandler* SetErrorHandler(CErrorHandler* handler);

// One error report as data, so it can be written to a stream and shown later or elsewhere.
struct CErrorData {
    CString message;
    DWord options = errOK; // without a message type
    Int64 helpId = 0;
    CString banner;
};

// Writes the report; options with a message type or a negative help id are assertions and write nothing.
bool WriteErrorData(CStream& stream, const CErrorData& data);
// Reads a report written by WriteErrorData; anything else is reported as "Unexpected error data." and false.
bool ReadErrorData(CStream& stream, CErrorData& data);

// Pushes a source for the life of a scope.
class CErrorSourceScope {
public:
    explicit CErrorSourceScope(const char* name) { CurrentErrorHandler().PushSource(name); }
    // Named by name when there is one, else by the stream.
    CErrorSourceScope(const char* name, const CStream& stream)
    {
        if (name)
            CurrentErrorHandler().PushSource(name);
        else
            CurrentErrorHandler().PushSource(stream);
    }
    ~CErrorSourceScope() { CurrentErrorHandler().PopSource(); }
    CErrorSourceScope(const CErrorSourceScope&) = delete;
    CErrorSourceScope& operator=(const CErrorSourceScope&) = delete;
};

} // namespace Orn
