#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include <crypto/openssl_handles.h>

#include "lum/format.h"

namespace crypto::lum {

/// Verification flag for an X509_V_ERR_* code.
std::uint32_t FlagForChainError(int error) noexcept;

/// Outcome of building and checking a signer's chain.
struct ChainResult {
    std::uint32_t flags = 0;          ///< failure flags; 0 for a good chain
    CertificateStackPtr chain;        ///< leaf first; ends at a trusted root only when flags is 0
    std::vector<std::string> errors;  ///< "depth N: reason" for the trace
};

/// Builds chains to a fixed set of trusted roots with the default purpose.
class ChainValidator final {
public:
    /// Trusts exactly `roots`; throws std::runtime_error when one does not parse.
    explicit ChainValidator(const std::vector<Bytes>& roots);

    /// Validates `leaf` with `untrusted` as candidate intermediates, at time
    /// `at` (now when absent), with the strength rules of lum/chain_policy.h
    /// on every certificate of the chain, and collects every error instead
    /// of stopping at the first.
    ChainResult Validate(X509& leaf, STACK_OF(X509) * untrusted,
                         std::optional<std::time_t> at = std::nullopt) const;

    /// The trusted root equal to `certificate`, or nullptr.
    const X509* FindRoot(const X509& certificate) const;

private:
    X509StorePtr store_;
    std::vector<X509Ptr> roots_;
};

}  // namespace crypto::lum
