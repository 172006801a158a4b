// Product version numbers: the three text forms, ordering, build dates and file version information.
#include "Version.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Debug.h"
#include "VersionPlatform.h"

namespace Orn {

namespace {

// Display texts longer than this (terminator included) are refused rather than cut.
constexpr Int cMaxDisplayText = 100;

// Tokenizes like strtok: skips leading delimiters and ends the token at the next one; null when nothing is
// left. Each call may use other delimiters, which is how "3.10 beta 2" is read.
char* NextToken(char*& cursor, const char* delims)
{
    cursor += std::strspn(cursor, delims);
    if (!*cursor)
        return nullptr;
    char* token = cursor;
    cursor += std::strcspn(cursor, delims);
    if (*cursor)
        *cursor++ = 0;
    return token;
}

// Leading base-10 number as strtol reads it; false when it lies outside the 32-bit range, which the same text
// would otherwise read differently on platforms with a wider long.
bool ReadInt(const char* text, Int& value)
{
    errno = 0;
    long long n = std::strtoll(text, nullptr, 10);
    if (errno == ERANGE || n > 0x7FFFFFFFLL || n < -0x7FFFFFFFLL - 1)
        return false;
    value = static_cast<Int>(n);
    return true;
}

// The beta number must leave room for the 100 that marks a beta stage.
bool BetaStage(const char* number, Int& stage)
{
    Int n = 0;
    if (!ReadInt(number, n) || n > 0x7FFFFFFF - 100)
        return false;
    stage = 100 + n;
    return true;
}

// The file and the product version text, from one reading of the version resource, leading white space skipped.
void ReadVersionTexts(const char* path, CString texts[2], bool found[2])
{
    const char* const valueNames[2] = {"\\StringFileInfo\\040904E4\\FileVersion",
                                       "\\StringFileInfo\\040904E4\\ProductVersion"};
    VersionPlatform::ReadResourceValues(path, 2, valueNames, texts, found);
    for (Int i = 0; i < 2; ++i) {
        const char* start = texts[i].Chars();
        while (*start && std::isspace(static_cast<unsigned char>(*start)))
            ++start;
        texts[i] = CString(start);
    }
}

} // namespace

CVersion::CVersion(Int major, Int minor, char letter, Int stage)
    : mValid(true), mMajor(major), mMinor(minor), mLetter(static_cast<Byte>(letter)), mStage(stage)
{
    ORN_ASSERT(major >= 0);
    ORN_ASSERT(minor >= 0);
    ORN_ASSERT((letter == 0) || ((letter >= 'a') && (letter <= 'z')));
}

CVersion::CVersion(const CVersion& version)
    : mValid(version.mValid), mMajor(version.mMajor), mMinor(version.mMinor), mLetter(version.mLetter),
      mStage(version.mStage)
{
    ORN_ASSERT(version.IsValid());
}

CVersion& CVersion::operator=(const CVersion& version)
{
    ORN_ASSERT(version.IsValid());
    mValid = version.mValid;
    mMajor = version.mMajor;
    mMinor = version.mMinor;
    mLetter = version.mLetter;
    mStage = version.mStage;
    return *this;
}

void CVersion::Reset()
{
    mValid = false;
    mMajor = mMinor = mStage = 0;
    mLetter = 0;
}

bool CVersion::CheckValid() const
{
    ORN_ASSERT(IsValid());
    return mValid;
}

bool CVersion::Parse(const char* version, Int style)
{
    Reset();
    ORN_ASSERT(version);
    if (!version)
        return false;
    switch (style) {
    case vsDisplay: return ParseDisplay(version);
    case vsComma: return Parse4Part(version, ',');
    case vsDotted: return Parse4Part(version, '.');
    default: mValid = true; return true;
    }
}

bool CVersion::ParseDisplay(const char* version)
{
    Int len = Str::Find(version, ';');
    if (len < 0)
        len = Str::Length(version);
    if (len + 1 > cMaxDisplayText)
        return false;
    char buf[cMaxDisplayText];
    std::memcpy(buf, version, static_cast<size_t>(len));
    buf[len] = 0;

    char* cursor = buf;
    const char* majorPart = NextToken(cursor, ".");
    char* minorPart = majorPart ? NextToken(cursor, " ") : nullptr;
    if (!minorPart)
        return false;
    Int minorLen = Str::Length(minorPart);
    Byte letter = 0;
    if (minorPart[minorLen - 1] >= 'a' && minorPart[minorLen - 1] <= 'z') {
        letter = static_cast<Byte>(minorPart[minorLen - 1]);
        minorPart[--minorLen] = 0;
    }
    Int minor = 0;
    if (!ReadInt(minorPart, minor))
        return false;
    // Minors are hundredths: "3.1" is 3.10, not 3.01.
    if (minorLen == 1)
        minor *= 10;

    Int stage = 0;
    if (const char* word = NextToken(cursor, " ")) {
        const char* number = NextToken(cursor, " ");
        if (!number)
            return false;
        bool read = false;
        if (Str::Equal(word, "beta"))
            read = BetaStage(number, stage);
        else if (Str::Equal(word, "alpha"))
            read = ReadInt(number, stage);
        if (!read)
            return false;
    }
    Int major = 0;
    if (!ReadInt(majorPart, major))
        return false;
    mMajor = major;
    mMinor = minor;
    mLetter = letter;
    mStage = stage;
    mValid = true;
    return true;
}

bool CVersion::Parse4Part(const char* version, char delim)
{
    CString buf(version);
    const char delims[2] = {delim, 0};
    char* cursor = buf.Lock(buf.Length());
    Int numbers[4];
    for (Int i = 0; i < 4; ++i) {
        const char* token = NextToken(cursor, delims);
        if (!token)
            return false;
        if (!ReadInt(token, numbers[i]))
            return false;
        if (i == 2) {
            Int temp = numbers[i];
            ORN_ASSERT((temp>=0) && (temp<= 0xFF));
        }
    }
    mMajor = numbers[0];
    mMinor = numbers[1];
    mLetter = static_cast<Byte>(numbers[2]);
    mStage = numbers[3];
    mValid = true;
    return true;
}

void CVersion::Format(CString& text, Int style) const
{
    text.Empty();
    if (!CheckValid())
        return;
    switch (style) {
    case vsDisplay:
        text.Format("%d.%02d", mMajor, mMinor);
        if (mLetter != 0)
            text.AppendChar(static_cast<char>(mLetter));
        if (mStage > 0) {
            CString stage;
            if (mStage >= 100)
                stage.Format(" beta %d", mStage - 100);
            else
                stage.Format(" alpha %d", mStage);
            text.Append(stage);
        }
        break;
    case vsComma: text.Format("%d,%d,%d,%d", mMajor, mMinor, static_cast<Int>(mLetter), mStage); break;
    case vsDotted: text.Format("%d.%d.%d.%d", mMajor, mMinor, static_cast<Int>(mLetter), mStage); break;
    default: break;
    }
}

bool CVersion::IsLaterStage(const CVersion& other) const
{
    if (other.mStage == 0)
        return false;
    // A release is newer than any pre-release of the same number.
    if (mStage == 0)
        return true;
    return mStage > other.mStage;
}

bool CVersion::IsNewer(const CVersion& other) const
{
    if (!CheckValid() || !other.CheckValid())
        return false;
    if (mMajor != other.mMajor)
        return mMajor > other.mMajor;
    if (mMinor != other.mMinor)
        return mMinor > other.mMinor;
    if (mLetter != other.mLetter)
        return mLetter > other.mLetter;
    return IsLaterStage(other);
}

bool CVersion::IsNewerBuildOfSame(const CVersion& other) const
{
    if (!CheckValid() || !other.CheckValid())
        return false;
    if (mMajor != other.mMajor || mMinor != other.mMinor || mLetter != other.mLetter)
        return false;
    return IsLaterStage(other);
}

Int CVersion::SplitBuildDate(CString& text)
{
    Int open = text.Find("(");
    Int close = open >= 0 ? text.Find(")", open) : -1;
    if (close < 0 || close - open != 9)
        return -1;
    Int date = 0;
    (void)ReadInt(text.Mid(open + 1, 8), date); // eight characters are always in range
    if (date == 0)
        return -2;
    text = text.Mid(0, open);
    return date;
}

bool CVersion::ReadFileVersionText(const char* path, bool wantFileVersion, CString& text)
{
    text.Empty();
    ORN_ASSERT(path);
    if (!path)
        return false;
    CString texts[2];
    bool found[2];
    ReadVersionTexts(path, texts, found);
    Int which = wantFileVersion ? 0 : 1;
    text = texts[which];
    return found[which];
}

bool CVersion::GetVersionInfo(const char* path, CFileVersionInfo& info)
{
    info.SetTexts(nullptr, nullptr);
    ORN_ASSERT(path);
    if (!path || !VersionPlatform::FileExists(path))
        return false;
    CString texts[2];
    bool found[2];
    ReadVersionTexts(path, texts, found);
    info.SetTexts(found[0] ? texts[0].Chars() : nullptr, found[1] ? texts[1].Chars() : nullptr);
    return true;
}

void CFileVersionInfo::SetTexts(const char* fileVersionText, const char* productVersionText)
{
    mFileVersion.Reset();
    mProductVersion.Reset();
    mFileVersionStr = fileVersionText ? fileVersionText : "";
    mProductVersionStr = productVersionText ? productVersionText : "";
    if (fileVersionText)
        mFileVersion.Parse(mFileVersionStr);
    if (productVersionText) {
        CVersion::SplitBuildDate(mProductVersionStr);
        mProductVersion.Parse(mProductVersionStr);
    }
}

} // namespace Orn
