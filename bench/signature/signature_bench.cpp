// What a "vorn2" signature check of a large manifest costs next to hashing
// the same file: the check reads the file once, hashes the content and
// solves one verification equation, so it should cost the hash plus a few
// milliseconds. Files are read from the page cache.
//
// Also what a time-stamp token adds to a "lum" check: run.sh signs one
// manifest with the demo hierarchy, stamps a copy through the demo TSA and
// names both files in ICT_BENCH_LUM_PLAIN and ICT_BENCH_LUM_STAMPED.

#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <boost/filesystem.hpp>
#include <zel/file_io.h>

#include "hash/gost2012.h"
#include "sign/gost_signer.h"
#include "signature/gost_key_set.h"
#include "signature/lum_verifier.h"
#include "signature/vorn2_verifier.h"
#include "tracer.h"

namespace integrity_check_tool::vorn {
namespace {

constexpr std::size_t kManifestSize = 14 * 1000 * 1000;

// A manifest-like document of about 14 MB.
Blob Manifest()
{
    Blob text;
    text.reserve(kManifestSize + 256);
    const std::string head = "<?xml version=\"1.0\"?>\n<integrity>\n";
    text.insert(text.end(), head.begin(), head.end());
    for (std::size_t i = 0; text.size() < kManifestSize; ++i) {
        const std::string line = "  <file path=\"%ProductRoot%/lib/module" + std::to_string(i) +
                                 ".so\"><check type=\"Gost2012\" value=\"nRUe79hZC4naprpst0r5J13Q"
                                 "UQJrsUmkUv2E5eV7VQA=\"/></file>\n";
        text.insert(text.end(), line.begin(), line.end());
    }
    return text;
}

struct SignedManifest {
    explicit SignedManifest(unsigned bits)
        : key(GenerateGostKey(bits, "A")),
          path(boost::filesystem::temp_directory_path() /
               boost::filesystem::unique_path("vorn2-bench-%%%%%%%%.xml"))
    {
        Blob file = Manifest();
        const Blob record = SignVorn2Record(file, key);
        file.insert(file.end(), record.begin(), record.end());
        std::ofstream(path.string(), std::ios::binary)
            .write(reinterpret_cast<const char*>(file.data()),
                   static_cast<std::streamsize>(file.size()));
        const std::string pem = GostPublicKeyToPem(key.PublicKey());
        const std::span<const std::uint8_t> pemBytes(
            reinterpret_cast<const std::uint8_t*>(pem.data()), pem.size());
        verifier =
            std::make_unique<Gost2012SignatureVerifier>(nullptr, MakeGostKeyBlobs({pemBytes}));
    }
    ~SignedManifest() { boost::filesystem::remove(path); }

    GostPrivateKey key;
    Path path;
    std::unique_ptr<Gost2012SignatureVerifier> verifier;
};

SignedManifest& Fixture(unsigned bits)
{
    static SignedManifest fixture256(256);
    static SignedManifest fixture512(512);
    return bits == 256 ? fixture256 : fixture512;
}

// The whole signed file through our GOST R 34.11-2012 stream hashing.
void BM_HashFile(benchmark::State& state)
{
    const unsigned bits = static_cast<unsigned>(state.range(0));
    const SignedManifest& fixture = Fixture(bits);
    const auto gost = GetGost2012();
    for (auto _ : state) {
        zel::IIOPtr io;
        zel::FileIO::Open(fixture.path.string(), zel::OpenMode::Read, io);
        benchmark::DoNotOptimize(
            gost->CalculateHash(io, bits == 256 ? StreebogSize::Bits256 : StreebogSize::Bits512));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kManifestSize));
}

// The "vorn2" check of the same file, content handed back.
void BM_VerifyVorn2(benchmark::State& state)
{
    const SignedManifest& fixture = Fixture(static_cast<unsigned>(state.range(0)));
    for (auto _ : state) {
        Blob content;
        fixture.verifier->Verify(fixture.path, content);
        benchmark::DoNotOptimize(content.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kManifestSize));
}

/// Discards every record; the level is that of a normal run.
class QuietTracer final : public zel::ITracer {
public:
    bool IsEnabled(std::uint32_t level) const noexcept override { return level <= kTraceDefault; }
    void Write(std::uint32_t, std::string_view) noexcept override {}
};

// A "lum" check of the file named by `variable` against the regular roots.
void VerifyLum(benchmark::State& state, const char* variable)
{
    const char* file = std::getenv(variable);
    if (file == nullptr) {
        state.SkipWithError("run through bench/signature/run.sh");
        return;
    }
    const LumSignatureVerifier verifier(zel::MakeIntrusive<QuietTracer>(), true, std::nullopt,
                                        false);
    for (auto _ : state) {
        Blob content;
        verifier.Verify(Path(file), content);
        benchmark::DoNotOptimize(content.data());
    }
}

void BM_VerifyLum(benchmark::State& state)
{
    VerifyLum(state, "ICT_BENCH_LUM_PLAIN");
}

void BM_VerifyLumStamped(benchmark::State& state)
{
    VerifyLum(state, "ICT_BENCH_LUM_STAMPED");
}

BENCHMARK(BM_HashFile)->Arg(256)->Arg(512)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VerifyLum)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VerifyLumStamped)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VerifyVorn2)->Arg(256)->Arg(512)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace integrity_check_tool::vorn

BENCHMARK_MAIN();
