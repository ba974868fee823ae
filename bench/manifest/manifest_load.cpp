// One load per process, so that the peak resident size is that load's alone.
//   manifest_load generate FILE [ENTRIES]   writes the benchmark manifest
//   manifest_load ours FILE                 our load, as verification does it
//   manifest_load tinyxml FILE              TinyXML's bare parse
// The loads print "<mode> <milliseconds> ms <peak> MB <count>", the peak
// being the process's maximum resident size in 10^6 bytes.

#include <sys/resource.h>
#include <tinyxml.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>

#include "manifest_workload.h"

namespace {

double PeakMegabytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024.0 / 1e6;  // ru_maxrss is in KiB
}

int Usage()
{
    std::fputs("usage: manifest_load generate FILE [ENTRIES] | ours FILE | tinyxml FILE\n", stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv)
{
    namespace bench = integrity_check_tool::bench;
    if (argc < 3) {
        return Usage();
    }
    const std::string mode = argv[1];
    const std::string path = argv[2];
    try {
        if (mode == "generate") {
            const std::size_t entries = argc > 3 ? std::stoul(argv[3]) : 100000;
            const bench::GeneratedManifest made = bench::GenerateManifest(path, entries);
            std::printf("%zu entries (%zu repeated, %zu conditional), %zu bytes\n", made.entries,
                        made.duplicates, made.conditional, made.bytes);
            return 0;
        }
        if (mode != "ours" && mode != "tinyxml") {
            return Usage();
        }
        // The result is kept to the end, as verification keeps its manifest.
        integrity_check_tool::Manifest manifest;
        std::unique_ptr<TiXmlDocument> document;
        std::size_t count = 0;
        const auto start = std::chrono::steady_clock::now();
        if (mode == "ours") {
            manifest = bench::LoadManifest(path);
            count = bench::CountFiles(manifest);
        } else {
            document = bench::ParseWithTinyXml(path);
            count = document->RootElement() != nullptr ? 1 : 0;
        }
        const std::chrono::duration<double, std::milli> elapsed =
            std::chrono::steady_clock::now() - start;
        std::printf("%s %.1f ms %.1f MB %zu\n", mode.c_str(), elapsed.count(), PeakMegabytes(),
                    count);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "manifest_load: %s\n", error.what());
        return 1;
    }
    return 0;
}
