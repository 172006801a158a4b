// The error handler: banners, source positions and global variables substituted into messages.
#include "ErrorHandler.h"

#include "Debug.h"
#include "FileStream.h"

namespace Orn {

namespace {

CErrorHandler cDefaultHandler;
CErrorHandler* cCurrentHandler = nullptr;

} // namespace

Int CErrorHandler::FormatMessage(const char* msg, DWord options, CString& out)
{
    ORN_ASSERT(msg);
    out.Empty();
    if (!msg)
        return 0;
    DWord type = options & errTYPE_MASK;
    if (type == errERROR || type == errWARNING || type == errINFO) {
        out = GetBanner(3 + static_cast<Int>((type >> 16) - 1));
        FillBanner(out, msg);
    } else {
        out = msg;
    }
    if (!mSources.empty())
        SubstituteItems(out, SourceName(mSources.back()), mSources.back().line);
    return SubstituteGlobals(out);
}

void CErrorHandler::Report(const char* msg, DWord options)
{
    CString text;
    FormatMessage(msg, options, text);
    Deliver(text, options);
}

CString CErrorHandler::GetBanner(Int number) const
{
    switch (number) {
    case 3: return "Error: <msg>";
    case 4: return "Warning: <msg>";
    default: return "<msg>";
    }
}

void CErrorHandler::Deliver(const CString& text, DWord)
{
    DebugOutput(text);
    DebugOutput("\n");
}

void CErrorHandler::PushSource(const char* name) { mSources.push_back({name ? name : "", nullptr, false, 0}); }

void CErrorHandler::PushSource(const CStream& stream) { mSources.push_back({"", &stream, true, 0}); }

CString CErrorHandler::SourceName(const Source& source)
{
    if (!source.isStream)
        return source.name;
    const auto* file = dynamic_cast<const CFileStream*>(source.stream);
    return file ? file->Path() : CString();
}

void CErrorHandler::PopSource()
{
    ORN_ASSERT(! mSources.empty());
    if (!mSources.empty())
        mSources.pop_back();
}

void CErrorHandler::NextLine()
{
    if (!mSources.empty())
        ++mSources.back().line;
}

void CErrorHandler::PushCounter(const char* name) { mCounters.push_back({name ? name : "", 0}); }

void CErrorHandler::PopCounter()
{
    ORN_ASSERT(! mCounters.empty());
    if (!mCounters.empty())
        mCounters.pop_back();
}

void CErrorHandler::AdvanceCounter()
{
    if (!mCounters.empty())
        ++mCounters.back().count;
}

Int CErrorHandler::CurrentCount() const { return mCounters.empty() ? 0 : mCounters.back().count; }

CString CErrorHandler::CurrentCounterName() const { return mCounters.empty() ? CString() : mCounters.back().name; }

CErrorHandler& CurrentErrorHandler() { return cCurrentHandler ? *cCurrentHandler : cDefaultHandler; }

CErrorHandler* SetErrorHandler(CErrorHandler* handler)
{
    CErrorHandler* old = cCurrentHandler;
    cCurrentHandler = handler;
    return old;
}

} // namespace Orn
