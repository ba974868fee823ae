#pragma once

#include "utils/hash.h"
#include "vorn/streebog.h"

#include <cstdint>
#include <memory>
#include <span>

namespace integrity_check_tool::vorn {

/// GOST R 34.11-2012 over streams: the 256-bit digest for file checks, the
/// 512-bit one for signatures that need it.
class Gost2012 final : public IHash {
public:
    /// The 32-byte digest of the rest of `io`. Throws vorn::Exception ("Can't
    /// calculate hash") when the stream reports a failure.
    Blob CalculateHash(const zel::intrusive_ptr<zel::IIO>& io) const override;

    /// The digest of the given length of the rest of `io`; fails like the
    /// 256-bit form.
    Blob CalculateHash(const zel::intrusive_ptr<zel::IIO>& io, StreebogSize size) const;

    /// The digest of the given length of a buffer.
    static Blob CalculateHash(std::span<const std::uint8_t> data, StreebogSize size);
};

/// The shared Gost2012 instance (see SharedInstance); converts to IHashPtr.
std::shared_ptr<const Gost2012> GetGost2012();

} // namespace integrity_check_tool::vorn
