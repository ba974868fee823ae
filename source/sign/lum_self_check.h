#pragma once

#include <span>
#include <string>
#include <vector>

#include <openssl/types.h>

#include "types.h"

namespace integrity_check_tool::sign {

/// Verifies a lum signature the way the checker will, before the tool
/// writes it: against the compiled-in root sets, or against roots given in
/// files, valid now, without revocation data.
class LumSelfCheck final {
public:
    /// `roots` are the --root files (empty: the compiled-in sets);
    /// `withFileName` is true for lum-with-filename.
    LumSelfCheck(const std::vector<Path>& roots, bool withFileName);

    /// Checks `signedFile`, FILE signed with `leaf` and about to be written
    /// to `target`; returns the line naming the roots it chains to. Throws
    /// Exception with the checker's reason when no set accepts it.
    std::string Check(const Path& file, const Path& target, const Blob& signedFile,
                      X509& leaf) const;

private:
    struct RootSet {
        std::string verified;  ///< the line for a signature it accepts
        std::vector<Blob> roots;
    };

    std::vector<RootSet> sets_;
    bool givenRoots_;
    bool withFileName_;
};

}  // namespace integrity_check_tool::sign
