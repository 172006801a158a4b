// The log stream and its sections.
#include "LogStream.h"

#include "Debug.h"
#include "FileSystem.h"
#include "Format.h"

using namespace Orn;

namespace {
const char cEmptyText[] = "";
}

CLogStream::CLogStream(const char* filename, bool fixedName) : mDefaultText(cEmptyText)
{
    ORN_ASSERT(filename);
    if (!filename || !ChoosePath(filename, fixedName))
        return;
    // Write-only access: the log is never read back while it is being written.
    RStatus result = Open(mFilePath.Chars(), smWrite | smNoRead | smText | fsmCreate);
    ORN_ASSERT(Succeeded(result));
}

CLogStream::~CLogStream() { Close(); }

bool CLogStream::ChoosePath(const char* filename, bool fixedName)
{
    CLocalFileSystem& fs = CLocalFileSystem::Get();
    CPath dir;
    RStatus result = fs.GetSpecialDirectory("TempDir", dir);
    ORN_ASSERT(Succeeded(result));
    if (result.Failed())
        return false;
    if (fixedName) {
        mFilePath = dir;
        return mFilePath.Append(filename).Succeeded();
    }
    for (Int i = 1; i <= 99; ++i) {
        CFormat filenameFmt(filename, nullptr, fmtNoGlobals);
        if (!filenameFmt.Item("Num", i))
            ORN_ASSERT_MSG("filenameFmt.Item(\"Num\",i)");
        CPath candidate = dir;
        if (candidate.Append(filenameFmt).Succeeded() && fs.GetEntryKind(candidate) == E_NotFound) {
            mFilePath = candidate;
            return true;
        }
    }
    return false;
}

CLogSection::CLogSection(CStream* stream, const char* processName) : mStream(stream), mName(processName)
{
    ORN_ASSERT(processName);
    if (!mStream || !mName)
        return;
    mStream->WriteFormat("\nStart: %s {\n", mName);
    mStream->Indent();
}

CLogSection::~CLogSection()
{
    if (!mStream || !mName)
        return;
    Int mIndentLevel = mStream->GetIndentLevel();
    ORN_ASSERT(mIndentLevel > 0);
    if (mIndentLevel > 0)
        mStream->Outdent();
    mStream->WriteFormat("} End: %s\n\n", mName);
}
