// Product version numbers: parsing, formatting, ordering, and the version resource of a file.
#pragma once

#include "Platform.h"
#include "String.h"

namespace Orn {

class CFileVersionInfo;

// Text forms of a version, for Parse and Format.
enum EVersionStyle : Int {
    vsDisplay = 0, // "3.10c beta 2"
    vsComma = 1,   // "3,1,2,45"
    vsDotted = 2,  // "3.1.2.45"
};

// A product version: major, two-digit minor, optional letter and a pre-release stage. In the four-part
// forms the letter byte holds the third number and the stage the fourth.
class CVersion {
public:
    // An invalid version.
    CVersion() = default;
    // A valid version; stage 0 is a release, 1..99 alpha n, 100 + n beta n.
    CVersion(Int major, Int minor, char letter = 0, Int stage = 0);
    // Copying an invalid version is a caller's mistake (asserted) but still copies.
    CVersion(const CVersion& version);
    CVersion& operator=(const CVersion& version);
    // Makes the version invalid again (without the copy assertion).
    void Reset();

    bool IsValid() const { return mValid; }
    Int Major() const { return mMajor; }
    Int Minor() const { return mMinor; }
    // The letter, or the third number of a four-part version.
    Byte Letter() const { return mLetter; }
    // The pre-release stage, or the fourth number of a four-part version.
    Int Stage() const { return mStage; }

    // Reads a version text in the given style; false (and an invalid version) when it does not parse.
    bool Parse(const char* version, Int style = vsDisplay);
    // Writes the version in the given style; an invalid version gives an empty text.
    void Format(CString& text, Int style = vsDisplay) const;

    // True when this version is a later release or pre-release than other.
    bool IsNewer(const CVersion& other) const;
    // True when both share major, minor and letter and this one is the later stage.
    bool IsNewerBuildOfSame(const CVersion& other) const;

    // Cuts a "(yyyymmdd)" build date off text: the date, -1 when there is none (text kept), -2 when it is 0.
    static Int SplitBuildDate(CString& text);
    // The file or product version text of a file's version resource, leading white space skipped.
    static bool ReadFileVersionText(const char* path, bool wantFileVersion, CString& text);
    // Both version texts of a file and their parsed forms; false only when the file cannot be found.
    static bool GetVersionInfo(const char* path, CFileVersionInfo& info);

private:
    bool Parse4Part(const char* version, char delim);
    bool ParseDisplay(const char* version);
    bool CheckValid() const;
    // The stage rule shared by both orderings, once major, minor and letter are equal.
    bool IsLaterStage(const CVersion& other) const;

    bool mValid = false;
    Int mMajor = 0;
    Int mMinor = 0;
    Byte mLetter = 0;
    Int mStage = 0;
};

// What a file's version resource says.
class CFileVersionInfo {
public:
    CVersion mFileVersion;
    CString mFileVersionStr;
    CVersion mProductVersion;
    // The product version text with any build date cut off.
    CString mProductVersionStr;

    // Fills all four fields from the two resource texts (either may be null when absent).
    void SetTexts(const char* fileVersionText, const char* productVersionText);
};

} // namespace Orn
