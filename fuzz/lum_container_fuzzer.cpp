// Arbitrary bytes as a revocation container, parsed and loaded for the fuzz root.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <lum/revocation.h>
#include <lum/service.h>

#include "fuzz_target.h"
#include "lum_fuzz_root.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace crypto::lum;
    static const Bytes root = [] {
        if (LumInitializeLibrary() != lumOk) {
            std::abort();
        }
        return LumFuzzRootDer();
    }();
    const ByteSpan container(data, size);
    const auto databases = ParseContainer(container);
    if (databases) {
        // What parses must serialise back to the same bytes.
        std::vector<RevocationDatabase> copies;
        for (const RevocationDatabaseView& view : *databases) {
            copies.push_back({Bytes(view.hierarchyId.begin(), view.hierarchyId.end()),
                              Bytes(view.crl.begin(), view.crl.end())});
        }
        if (BuildContainer(copies) != Bytes(container.begin(), container.end())) {
            std::abort();
        }
    }

    const ByteSpan roots[] = {root};
    ILumRevocationCheckerPtr checker;
    int reports = 0;
    const LumRevocationReporter reporter = [&](const char*, const std::uint8_t*, std::size_t,
                                               std::uint32_t, std::int32_t) { ++reports; };
    const std::int32_t required =
        LumCreateRevocationChecker(roots, {}, 0, container, reporter, checker);
    // Every failure is reported once; a success leaves a checker.
    if ((required == lumOk) != (reports == 0) ||
        (required == lumOk) != static_cast<bool>(checker)) {
        std::abort();
    }
    checker.reset();
    LumCreateRevocationChecker({}, roots, 0, container, reporter, checker);
    return 0;
}
