// Time of our manifest load next to TinyXML's bare parse of the same file,
// in one run. The result of each iteration is destroyed outside the timed
// region in both cases; our load still pays for freeing its own document.
//   manifest_bench [benchmark flags] [manifest]
// Without a manifest, a generated one of 100,000 entries is used.

#include <benchmark/benchmark.h>
#include <tinyxml.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "manifest_workload.h"

namespace integrity_check_tool::bench {
namespace {

void BM_TinyXmlParse(benchmark::State& state, const std::string& path)
{
    for (auto _ : state) {
        auto document = ParseWithTinyXml(path);
        state.PauseTiming();
        document.reset();
        state.ResumeTiming();
    }
}

void BM_OurLoad(benchmark::State& state, const std::string& path)
{
    std::size_t files = 0;
    for (auto _ : state) {
        auto manifest = std::make_unique<Manifest>(LoadManifest(path));
        state.PauseTiming();
        files = CountFiles(*manifest);
        manifest.reset();
        state.ResumeTiming();
    }
    state.counters["files"] = static_cast<double>(files);
}

}  // namespace
}  // namespace integrity_check_tool::bench

int main(int argc, char** argv)
{
    namespace bench = integrity_check_tool::bench;
    benchmark::Initialize(&argc, argv);
    if (argc > 2) {
        std::cerr << "usage: manifest_bench [benchmark flags] [manifest]\n";
        return 2;
    }
    std::string path;
    std::filesystem::path generated;
    if (argc == 2) {
        path = argv[1];
    } else {
        generated = std::filesystem::temp_directory_path() /
                    ("manifest_bench_" + std::to_string(::getpid()) + ".xml");
        path = generated.string();
        bench::GenerateManifest(path);
    }
    for (auto* run : {benchmark::RegisterBenchmark("BM_TinyXmlParse", bench::BM_TinyXmlParse, path),
                      benchmark::RegisterBenchmark("BM_OurLoad", bench::BM_OurLoad, path)}) {
        run->Unit(benchmark::kMillisecond)->MinTime(1.0);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (!generated.empty()) {
        std::filesystem::remove(generated);
    }
    return 0;
}
