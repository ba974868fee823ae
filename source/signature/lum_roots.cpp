#include "signature/lum_roots.h"

namespace integrity_check_tool::lum {

namespace {

std::vector<Blob> Copy(const std::vector<std::span<const std::uint8_t>>& files)
{
    std::vector<Blob> roots;
    roots.reserve(files.size());
    for (const std::span<const std::uint8_t> root : files) {
        roots.emplace_back(root.begin(), root.end());
    }
    return roots;
}

}  // namespace

std::vector<Blob> TrustedRoots(bool regular)
{
    return Copy(regular ? RegularRoots() : AlternativeRoots());
}

std::vector<Blob> TsaRoots()
{
    return Copy(TsaRootFiles());
}

}  // namespace integrity_check_tool::lum
