// Times loading and saving a tree registry file whose one directory holds many values, to show how the
// cost grows with the directory's size. Usage: registry_bench [COUNT...] (default 100 10000 100000).
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "Registry.h"

using namespace Orn;

namespace {

double Milliseconds(std::chrono::steady_clock::time_point since)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - since).count();
}

void WriteTree(const std::string& path, long count)
{
    std::ofstream out(path, std::ios::binary);
    out << "!VRREG 1.0 {\n\tBig {\n";
    for (long i = 0; i < count; ++i)
        out << "\t\tValue" << i << "=\"text " << i << "\"\n";
    out << "\t}\n}\n";
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<long> counts;
    for (int i = 1; i < argc; ++i)
        counts.push_back(std::atol(argv[i]));
    if (counts.empty())
        counts = {100, 10000, 100000};
    const char* tmp = std::getenv("TMPDIR");
    const std::string in = std::string(tmp ? tmp : "/tmp") + "/registry_bench_in.txt";
    const std::string out = std::string(tmp ? tmp : "/tmp") + "/registry_bench_out.txt";
    std::printf("%10s %12s %12s\n", "values", "load ms", "save ms");
    for (long count : counts) {
        WriteTree(in, count);
        CFileRegistry registry;
        auto start = std::chrono::steady_clock::now();
        RStatus loaded = registry.Load(in.c_str());
        double loadMs = Milliseconds(start);
        start = std::chrono::steady_clock::now();
        RStatus saved = registry.Save(out.c_str());
        double saveMs = Milliseconds(start);
        if (loaded.Failed() || saved.Failed()) {
            std::fprintf(stderr, "registry_bench: %ld values: load %s, save %s\n", count, loaded.Name(), saved.Name());
            return 1;
        }
        std::printf("%10ld %12.1f %12.1f\n", count, loadMs, saveMs);
    }
    std::remove(in.c_str());
    std::remove(out.c_str());
    return 0;
}
