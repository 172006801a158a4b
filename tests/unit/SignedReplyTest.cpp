// Signed replies: the key text, the signature block, and the check of a page against a signature that OpenSSL
// made over the signed bytes (natively through OpenSSL, under Windows through CNG).
#include "SignedReply.h"

#include <cctype>
#include <string>

#include <gtest/gtest.h>

using namespace Orn;

namespace {

// Made once with OpenSSL ("openssl dgst -sha256 -sign" with the second key over cMessage, the DER signature
// taken apart into r and s); the keys are the points of "openssl ec -pubout".
const char cKey[] = "8b735ca5fc10333f03e6cfca9379f5e72f7b5e634d94e65569d594201a9e7d25"
                    "876dbfae6feeeff853ba1a88395a36be813f2bc6ad87e81836796f5cdcae8784";
const char cSigningKey[] = "9e089437e6a1d885f4910ca6c5b19b6ea2e6ed42e2ded645097dec6e9dd05ae2"
                           "8a2f69f8c6d602d4ee37f8e1c8e6bbeee9f8d42298374882258ea96e9b129e69";
const char cNonce[] = "00112233445566778899AABBCCDDEEFF";
const char cPath[] = "/updatewatch/updatewatch.aspx";
const char cQuery[] = "VR_ProdVer=3.10.0.0&PagesTotal=1&VR_Nonce=00112233445566778899AABBCCDDEEFF";
const char cScript[] = "\r\nset $reply, \"genuine\";\r\n";
// What is signed, written out so that any change of the form is seen.
const char cMessage[] = "UWREPLY2\nGET\n/updatewatch/updatewatch.aspx\n00112233445566778899AABBCCDDEEFF\n"
                        "VR_ProdVer=3.10.0.0&PagesTotal=1&VR_Nonce=00112233445566778899AABBCCDDEEFF\n"
                        "\r\nset $reply, \"genuine\";\r\n";
const char cSignature[] = "674D3FDAC10B53FC63E84115DDBADE3181818A2FD203DE864F3A5DD9421E37D6"
                          "8C9150EB225B65A6BC5EDBC839CE0980BF5986987D8B4BDDC5B782098F7AD2E1";

CSignedRequest Request(const char* method, const char* path, const char* query, const char* body = "",
                       const char* nonce = cNonce)
{
    CSignedRequest request;
    request.method = method;
    request.path = path;
    request.query = query;
    request.body = body;
    request.nonce = nonce;
    return request;
}

std::string Page(const std::string& script, const std::string& block)
{
    return "<html>[START]" + script + "[END]" + block + "</html>\r\n";
}

std::string Block(const std::string& digits) { return "\r\n[SIG]" + digits + "[/SIG]\r\n"; }

// Upper-case hexadecimal digits, as CString::SetHex writes them.
std::string Hex(const Byte* bytes, int count)
{
    CString hex;
    hex.SetHex(bytes, count);
    return hex.Chars();
}

std::string Upper(std::string text)
{
    for (char& ch : text)
        ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    return text;
}

} // namespace

// One to four keys of exactly 128 hexadecimal digits of either case, separated by commas with blanks around
// them; anything else is refused and leaves the keys as they were.
TEST(SignedReply, KeyText)
{
    const std::string key(cKey), second(cSigningKey);
    const struct {
        std::string text;
        int count; // 0: refused
    } rows[] = {
        {key, 1}, {Upper(key), 1}, {" \t" + key + ", " + second + " ", 2},
        {key + "," + second + "," + key + "," + second, 4},
        {key + "," + second + "," + key + "," + second + "," + key, 0},
        {"", 0}, {key + ",", 0}, {"," + key, 0}, {key + ",," + second, 0}, {key + " " + second, 0},
        {key + ";" + second, 0}, {key.substr(1), 0}, {key + "\n", 0}, {"0x" + key.substr(2), 0},
        {"g" + key.substr(1), 0}, {key.substr(0, 127) + "\xC0", 0},
    };
    for (const auto& row : rows) {
        CReplyKeys parsed;
        parsed.count = 7;
        EXPECT_EQ(ParseReplyKeys(row.text.c_str(), parsed), row.count > 0) << "'" << row.text << "'";
        EXPECT_EQ(parsed.count, row.count > 0 ? row.count : 7) << row.text;
        if (row.count > 1) {
            EXPECT_EQ(Hex(parsed.keys[0].bytes, ReplyKeyBytes), Upper(key));
            EXPECT_EQ(Hex(parsed.keys[1].bytes, ReplyKeyBytes), Upper(second));
        }
    }
    CReplyKeys parsed;
    EXPECT_FALSE(ParseReplyKeys(nullptr, parsed));
}

// The parameters as the server reads them, encoded again: a proxy that re-encodes them changes nothing, one
// that changes what they say changes the form.
TEST(SignedReply, CanonicalParameters)
{
    const struct {
        const char* query;
        const char* body;
        const char* canonical;
    } rows[] = {
        {cQuery, "", cQuery},
        {"", cQuery, cQuery},
        {"a=1", "b=2", "a=1&b=2"},
        {"a=%7e%2f%20x+y", "", "a=%7E%2F+x+y"},
        {"a=1&&b=2&", "", "a=1&b=2"},
        {"=x&a", "", "a="},
        {"a=b=c", "", "a=bc"},
        {"a=1&a=2", "", "a=1&a=2"},
        {"%zz=%", "", "%25zz=%25"},
        {"", "", ""},
    };
    for (const auto& row : rows) {
        CString canonical("untouched");
        CanonicalParameters(row.query, row.body, canonical);
        EXPECT_STREQ(canonical, row.canonical) << row.query << " | " << row.body;
    }
    CString message;
    BuildSignedMessage(Request("GET", cPath, cQuery), CString(cScript), message);
    EXPECT_STREQ(message, cMessage);
}

// Where the block may stand and what it must hold; the script is the envelope's bytes as they came.
TEST(SignedReply, SignatureBlock)
{
    const std::string sig(cSignature);
    std::string lower = sig;
    for (char& ch : lower)
        ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    const struct {
        const char* name;
        std::string page;
        EReplyCheck check;
    } rows[] = {
        {"signed", Page(cScript, Block(sig)), rcSigned},
        {"lower-case digits", Page(cScript, Block(lower)), rcSigned},
        {"right after [END], nothing after it", "[START]" + std::string(cScript) + "[END][SIG]" + sig + "[/SIG]",
         rcSigned},
        {"blanks and tabs before it", Page(cScript, " \t\n\n" + Block(sig)), rcSigned},
        {"no [START]", "[END]" + Block(sig), rcNoEnvelope},
        {"no [END]", "[START]" + std::string(cScript) + Block(sig), rcNoEnvelope},
        {"nothing", "", rcNoEnvelope},
        {"no block", Page(cScript, "\r\n"), rcNoSignature},
        {"block inside the script", Page(cScript + Block(sig), ""), rcNoSignature},
        {"text before the block", Page(cScript, "<p>" + Block(sig)), rcMalformedSignature},
        {"a second [END] before the block", Page(cScript, "x[END]" + Block(sig)), rcMalformedSignature},
        {"127 digits", Page(cScript, Block(sig.substr(1))), rcMalformedSignature},
        {"129 digits", Page(cScript, Block(sig + "0")), rcMalformedSignature},
        {"a digit that is no hex", Page(cScript, Block("x" + sig.substr(1))), rcMalformedSignature},
        {"a blank among the digits", Page(cScript, Block(sig.substr(0, 64) + " " + sig.substr(65))),
         rcMalformedSignature},
        {"no [/SIG]", Page(cScript, "\r\n[SIG]" + sig), rcMalformedSignature},
        {"the page ends in the block", "[START]x[END][SIG]12", rcMalformedSignature},
        {"[sig] in lower case", Page(cScript, "[sig]" + sig + "[/sig]"), rcNoSignature},
    };
    for (const auto& row : rows) {
        CString script("untouched");
        CReplySignature signature;
        EXPECT_EQ(SplitSignedPage(row.page.c_str(), script, signature), row.check) << row.name;
        EXPECT_STREQ(script, row.check == rcSigned ? cScript : "untouched") << row.name;
        EXPECT_EQ(Hex(signature.bytes, ReplySignatureBytes), row.check == rcSigned ? sig : std::string(128, '0'))
            << row.name;
    }
}

// The system's cryptography against OpenSSL's signature: only the exact script, for this very request, under
// one of the keys is run, and then as text (CR LF as LF). A key the system refuses refuses the page even when
// another key made the signature.
TEST(SignedReply, CheckAgainstAnOpenSSLSignature)
{
    std::string changed = cScript;
    changed[changed.find("genuine") + 6] = 'E';
    const std::string page = Page(cScript, Block(cSignature)), key(cKey), signing(cSigningKey);
    const std::string nonce = std::string("&VR_Nonce=") + cNonce;
    const CSignedRequest sent = Request("GET", cPath, cQuery);
    const struct {
        const char* name;
        std::string page;
        CSignedRequest request;
        std::string keys;
        RStatus status;
        EReplyCheck check;
        Int keyIndex;
    } rows[] = {
        {"signed", page, sent, signing, Ok, rcSigned, 0},
        {"the second of two keys", page, sent, key + "," + signing, Ok, rcSigned, 1},
        {"a query re-encoded on the way", page,
         Request("GET", cPath, ("VR_ProdVer=3%2e10.0.0&PagesTotal=%31" + nonce).c_str()), signing, Ok, rcSigned, 0},
        {"one changed byte", Page(changed, Block(cSignature)), sent, signing, E_InternetBadSignature,
         rcWrongSignature, -1},
        {"another key", page, sent, key, E_InternetBadSignature, rcWrongSignature, -1},
        {"POST", page, Request("POST", cPath, "", cQuery), signing, E_InternetBadSignature, rcWrongSignature, -1},
        {"all zero", Page(cScript, Block(std::string(128, '0'))), sent, signing, E_InternetBadSignature,
         rcWrongSignature, -1},
        {"no block", Page(cScript, ""), sent, signing, E_InternetBadSignature, rcNoSignature, -1},
    };
    for (const auto& row : rows) {
        CReplyKeys keys;
        ASSERT_TRUE(ParseReplyKeys(row.keys.c_str(), keys)) << row.name;
        CString script;
        EReplyCheck check = rcNoVerifier;
        Int keyIndex = -1;
        EXPECT_EQ(CheckSignedReply(row.page.c_str(), row.request, keys, script, check, keyIndex), row.status)
            << row.name;
        EXPECT_EQ(check, row.check) << row.name;
        EXPECT_EQ(keyIndex, row.keyIndex) << row.name;
        EXPECT_STREQ(script, row.status == Ok ? "\nset $reply, \"genuine\";\n" : "") << row.name;
    }
}

namespace {

// What the system's cryptography says of each key, by the key's first byte, for the stand-in verifier.
RStatus gVerdicts[2];

RStatus StandInVerifier(const CReplyKey& key, const CString&, const CReplySignature&) { return gVerdicts[key.bytes[0]]; }

} // namespace

// Fails closed: a key the system refuses, or cryptography it cannot use, refuses the page even when another key
// made its signature; only a verdict of Ok from a key lets the script out.
TEST(SignedReply, EveryRefusalOfTheSystemRefusesThePage)
{
    const struct {
        RStatus first, second;
        RStatus status;
        EReplyCheck check;
        Int keyIndex;
    } rows[] = {
        {Ok, E_InternetBadSignature, Ok, rcSigned, 0},
        {E_InternetBadSignature, Ok, Ok, rcSigned, 1},
        {E_InternetBadSignature, E_InternetBadSignature, E_InternetBadSignature, rcWrongSignature, -1},
        {Ok, E_InternetBadReplyKey, E_InternetBadReplyKey, rcKeyRefused, -1},
        {E_InternetBadReplyKey, Ok, E_InternetBadReplyKey, rcKeyRefused, -1},
        {Ok, Failure, Failure, rcNoVerifier, -1},
        {Failure, Ok, Failure, rcNoVerifier, -1},
        {E_NotFound, Ok, Failure, rcNoVerifier, -1},
    };
    CReplyKeys keys;
    keys.count = 2;
    keys.keys[1].bytes[0] = 1;
    for (const auto& row : rows) {
        gVerdicts[0] = row.first;
        gVerdicts[1] = row.second;
        CString script;
        EReplyCheck check = rcSigned;
        Int keyIndex = -1;
        EXPECT_EQ(CheckSignedReply(Page(cScript, Block(cSignature)).c_str(), Request("GET", cPath, cQuery), keys,
                                   script, check, keyIndex, StandInVerifier),
                  row.status)
            << row.first.Word() << " " << row.second.Word();
        EXPECT_EQ(check, row.check) << row.first.Word() << " " << row.second.Word();
        EXPECT_EQ(keyIndex, row.keyIndex) << row.first.Word() << " " << row.second.Word();
        EXPECT_STREQ(script, row.status == Ok ? "\nset $reply, \"genuine\";\n" : "");
    }
}
