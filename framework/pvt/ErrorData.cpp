// Error reports written to a stream as data and read back.
//
// Layout: the four bytes "ERRD", then as 32-bit values (least significant byte first) the options, the help
// id and the message length, the message bytes, the banner length and the banner bytes. Texts carry no NUL.
#include <climits>
#include <cstring>

#include "Debug.h"
#include "ErrorHandler.h"
#include "Stream.h"

namespace Orn {

namespace {

constexpr char cSignature[4] = {'E', 'R', 'R', 'D'};

bool WriteText(CStream& stream, const CString& text)
{
    return stream.WriteInt32(text.Length()) && stream.Write(text.Chars(), text.Length());
}

// Reads in small pieces, so a damaged length cannot make us allocate before the bytes are really there.
bool ReadText(CStream& stream, CString& text)
{
    Int length = 0;
    if (!stream.ReadInt32(length) || length < 0)
        return false;
    text.Empty();
    char piece[256];
    while (length > 0) {
        Int count = length < Int(sizeof piece) ? length : Int(sizeof piece);
        if (!stream.Read(piece, count) || std::memchr(piece, 0, static_cast<size_t>(count)))
            return false;
        text.Append(piece, count);
        length -= count;
    }
    return true;
}

bool ReadFields(CStream& stream, CErrorData& data)
{
    char signature[sizeof cSignature];
    Int options = 0;
    Int helpId = 0;
    if (!stream.Read(signature, Int(sizeof signature)) || std::memcmp(signature, cSignature, sizeof signature))
        return false;
    if (!stream.ReadInt32(options) || (DWord(options) & errTYPE_MASK) != errOK)
        return false;
    if (!stream.ReadInt32(helpId) || helpId < 0)
        return false;
    data.options = DWord(options);
    data.helpId = helpId;
    return ReadText(stream, data.message) && ReadText(stream, data.banner);
}

} // namespace

bool WriteErrorData(CStream& stream, const CErrorData& data)
{
    DWord options = data.options;
    Int64 helpId = data.helpId;
    size_t msgLen = std::strlen(data.message);
    size_t bannerLen = std::strlen(data.banner);
    ORN_ASSERT((options & errTYPE_MASK) == errOK);
    ORN_ASSERT(helpId>=0);
    ORN_ASSERT(msgLen<=INT_MAX);
    ORN_ASSERT(helpId<=INT_MAX);
    ORN_ASSERT(bannerLen<=INT_MAX);
    if ((options & errTYPE_MASK) != errOK || helpId < 0 || helpId > INT_MAX)
        return false;
    return stream.Write(cSignature, Int(sizeof cSignature)) && stream.WriteInt32(Int(options)) &&
           stream.WriteInt32(Int(helpId)) && WriteText(stream, data.message) && WriteText(stream, data.banner);
}

bool ReadErrorData(CStream& stream, CErrorData& data)
{
    if (ReadFields(stream, data))
        return true;
    CurrentErrorHandler().Report("Unexpected error data.", errERROR);
    return false;
}

} // namespace Orn
