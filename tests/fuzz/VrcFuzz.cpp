// libFuzzer target: the binary configuration file loader. An even first byte takes the rest as the file's
// body with its checksum put right, so that mutations reach the records; an odd one takes the rest as it is.
// A file that loads must save and load back to the same list.
#include <cstdio>
#include <string>
#include <unistd.h>

#include "FuzzSupport.h"

using namespace Orn;
using FuzzSupport::Fail;

namespace {

std::string TempPath(const char* tag) { return "/tmp/vrc_fuzz_" + std::to_string(getpid()) + tag; }

void WriteFile(const std::string& path, const std::string& bytes)
{
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f || std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size() || std::fclose(f) != 0)
        Fail("cannot write", path.c_str());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    // A file may set a read-only name again: Set keeps the first value and asserts, as for any caller.
    FuzzSupport::ExpectAssertions({"attempt to modify a read-only variable"});
    if (size == 0)
        return 0;
    std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    if ((data[0] & 1) == 0) {
        unsigned long sum = 0;
        for (unsigned char c : bytes)
            sum = (sum + c) & 0xFFFFFFFFul;
        bytes += std::to_string(sum);
        bytes += '\0';
    }
    const std::string in = TempPath(".in"), out = TempPath(".out");
    WriteFile(in, bytes);
    CVarList loaded;
    RStatus status = loaded.Load(in.c_str());
    FuzzSupport::CheckStatus(status);
    if (status.Failed())
        return 0;
    CVarList again;
    FuzzSupport::CheckStatus(loaded.Save(out.c_str()));
    if (!(again.Load(out.c_str()) == Ok) || FuzzSupport::Flatten(again) != FuzzSupport::Flatten(loaded))
        Fail("saved file does not load back the same");
    return 0;
}
