// Signed replies: the key text, the signature block, and the check of a page against a signature that OpenSSL
// made over the signed bytes (natively through OpenSSL, under Windows through CNG).
#include "SignedReply.h"

#include <cctype>
#include <string>

#include <gtest/gtest.h>

using namespace Orn;

namespace {

// Made once with OpenSSL ("openssl dgst -sha256 -sign" over the message of the vector, the DER signature
// taken apart into r and s); the keys are the points of "openssl ec -pubout".
const char cKey[] = "96e23dbbabe464002475d8224c72d5236ab258a0886c3be9b4754b5337f5c723"
                    "8fb1882f3b3c529c45575e13a1c2c91bb3c0597f8c2bbc3b0e6699097f255e2c";
const char cOtherKey[] = "a8e7d53839205686c4b22c46670c0726c2737a098e195bbbb0f0b43f460b857c"
                         "cfd30271cfb0c2235dcc8604ce1193ee96b4217cf155dd8ca8366f1c76c33d36";
const char cNonce[] = "00112233445566778899AABBCCDDEEFF";
const char cScript[] = "\r\nset $reply, \"genuine\";\r\n";
const char cSignature[] = "960C3D019520C2BE7F4C715428C57342979F435AD22C70C02B465AF7DB95E623"
                          "CB8F2882339251F613FAC0B68C75223231D11E663799344DAF9C43A0E82545B5";

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

// Exactly 128 hexadecimal digits of either case; anything else is refused and leaves the key as it was.
TEST(SignedReply, KeyText)
{
    const std::string key(cKey);
    const struct {
        std::string text;
        bool ok;
    } rows[] = {
        {key, true},
        {Upper(key), true},
        {"", false},
        {key.substr(1), false},
        {key + "\n", false},
        {" " + key.substr(1), false},
        {"0x" + key.substr(2), false},
        {"g" + key.substr(1), false},
        {key.substr(0, 127) + "\xC0", false},
    };
    for (const auto& row : rows) {
        CReplyKey parsed;
        parsed.bytes[0] = 0x5A;
        EXPECT_EQ(ParseReplyKey(row.text.c_str(), parsed), row.ok) << "'" << row.text << "'";
        EXPECT_EQ(Hex(parsed.bytes, 1), row.ok ? Upper(key.substr(0, 2)) : "5A") << row.text;
        if (row.ok) {
            EXPECT_EQ(Hex(parsed.bytes, ReplyKeyBytes), Upper(key));
        }
    }
    CReplyKey parsed;
    EXPECT_FALSE(ParseReplyKey(nullptr, parsed));
}

// Where the block may stand and what it must hold; the script is the envelope's bytes as they came.
TEST(SignedReply, SignatureBlock)
{
    const std::string sig(cSignature);
    const std::string lower = "960c3d019520c2be7f4c715428c57342979f435ad22c70c02b465af7db95e623"
                              "cb8f2882339251f613fac0b68c75223231d11e663799344daf9c43a0e82545b5";
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

// The system's cryptography against OpenSSL's signature: only the exact script, for this nonce, under this
// key is run, and then as text (CR LF as LF).
TEST(SignedReply, CheckAgainstAnOpenSSLSignature)
{
    std::string changed = cScript;
    changed[changed.find("genuine") + 6] = 'E';
    const struct {
        const char* name;
        std::string page;
        const char* nonce;
        const char* key;
        RStatus status;
        EReplyCheck check;
    } rows[] = {
        {"signed", Page(cScript, Block(cSignature)), cNonce, cKey, Ok, rcSigned},
        {"one changed byte", Page(changed, Block(cSignature)), cNonce, cKey, E_InternetBadSignature,
         rcWrongSignature},
        {"made for another nonce", Page(cScript, Block(cSignature)), "00112233445566778899AABBCCDDEEF0", cKey,
         E_InternetBadSignature, rcWrongSignature},
        {"nonce in lower case", Page(cScript, Block(cSignature)), "00112233445566778899aabbccddeeff", cKey,
         E_InternetBadSignature, rcWrongSignature},
        {"another key", Page(cScript, Block(cSignature)), cNonce, cOtherKey, E_InternetBadSignature,
         rcWrongSignature},
        {"all zero", Page(cScript, Block(std::string(128, '0'))), cNonce, cKey, E_InternetBadSignature,
         rcWrongSignature},
        {"no block", Page(cScript, ""), cNonce, cKey, E_InternetBadSignature, rcNoSignature},
    };
    for (const auto& row : rows) {
        CReplyKey key;
        ASSERT_TRUE(ParseReplyKey(row.key, key));
        CString script;
        EReplyCheck check = rcNoVerifier;
        EXPECT_EQ(CheckSignedReply(row.page.c_str(), row.nonce, key, script, check), row.status) << row.name;
        EXPECT_EQ(check, row.check) << row.name;
        EXPECT_STREQ(script, row.status == Ok ? "\nset $reply, \"genuine\";\n" : "") << row.name;
    }
}
