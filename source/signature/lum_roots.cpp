#include "signature/lum_roots.h"

namespace integrity_check_tool::lum {

std::vector<Blob> TrustedRoots(bool regular)
{
    std::vector<Blob> roots;
    for (const std::span<const std::uint8_t> root : regular ? RegularRoots() : AlternativeRoots()) {
        roots.emplace_back(root.begin(), root.end());
    }
    return roots;
}

}  // namespace integrity_check_tool::lum
