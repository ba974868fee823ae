// Time of our manifest load next to TinyXML's bare parse of the same file,
// in one run. Both run once untimed first, so that every timed iteration
// finds the heap grown and the file cached. The result of each iteration is
// destroyed outside the timed region in both cases; our load still pays for
// freeing its own document.
//   manifest_bench [benchmark flags] [manifest [signed-manifest]]
// Without a manifest, a generated one of 100,000 entries is used. With a
// signed copy of it (demo regular hierarchy), the load that checks its
// signature first is timed too.

#include <tinyxml.h>
#include <unistd.h>

#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

#include <benchmark/benchmark.h>

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
    for (auto _ : state) {
        auto manifest = std::make_unique<Manifest>(LoadManifest(path));
        state.PauseTiming();
        manifest.reset();
        state.ResumeTiming();
    }
}

void BM_OurLoadSigned(benchmark::State& state, const std::string& path)
{
    for (auto _ : state) {
        auto manifest = std::make_unique<Manifest>(LoadManifest(path, true));
        state.PauseTiming();
        manifest.reset();
        state.ResumeTiming();
    }
}

}  // namespace
}  // namespace integrity_check_tool::bench

int main(int argc, char** argv)
{
    namespace bench = integrity_check_tool::bench;
    benchmark::Initialize(&argc, argv);
    if (argc > 3) {
        std::cerr << "usage: manifest_bench [benchmark flags] [manifest [signed-manifest]]\n";
        return 2;
    }
    std::string path;
    const std::string signedPath = argc == 3 ? argv[2] : "";
    std::filesystem::path generated;
    try {
        if (argc >= 2) {
            path = argv[1];
        } else {
            generated = std::filesystem::temp_directory_path() /
                        ("manifest_bench_" + std::to_string(::getpid()) + ".xml");
            path = generated.string();
            bench::GenerateManifest(path);
        }
        bench::ParseWithTinyXml(path).reset();
        bench::LoadManifest(path);
        if (!signedPath.empty()) {
            bench::LoadManifest(signedPath, true);
        }
    } catch (const std::exception& error) {
        std::cerr << "manifest_bench: " << error.what() << '\n';
        return 1;
    }
    // A fixed count, since interleaved repetitions would otherwise run one
    // iteration each.
    constexpr int kIterations = 4;
    benchmark::RegisterBenchmark("BM_TinyXmlParse", bench::BM_TinyXmlParse, path)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(kIterations);
    benchmark::RegisterBenchmark("BM_OurLoad", bench::BM_OurLoad, path)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(kIterations);
    if (!signedPath.empty()) {
        benchmark::RegisterBenchmark("BM_OurLoadSigned", bench::BM_OurLoadSigned, signedPath)
            ->Unit(benchmark::kMillisecond)
            ->Iterations(kIterations);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (!generated.empty()) {
        std::filesystem::remove(generated);
    }
    return 0;
}
