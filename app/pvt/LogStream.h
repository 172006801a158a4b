// The run's log file: a text file stream in the temporary directory, with indented sections.
#pragma once

#include "FileStream.h"
#include "Path.h"

class CLogStream : public Orn::CFileStream {
public:
    // fixedName: the file name is used as it is; otherwise it is a template with the item "Num" (1..99)
    // and the first number whose file does not exist is taken.
    CLogStream(const char* filename, bool fixedName);
    ~CLogStream() override;

    const Orn::CPath& FilePath() const { return mFilePath; }

private:
    bool ChoosePath(const char* filename, bool fixedName);

    Orn::CPath mFilePath;
    const char* mDefaultText;
};

// A named stage of the log: "Start: name {" now, "} End: name" when the scope ends, however it ends.
class CLogSection {
public:
    // A null stream makes the section write nothing.
    CLogSection(Orn::CStream* stream, const char* processName);
    ~CLogSection();
    CLogSection(const CLogSection&) = delete;
    CLogSection& operator=(const CLogSection&) = delete;

private:
    Orn::CStream* mStream;
    const char* mName;
};
