#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include <zel/tracer.h>

#include "hash/hash.h"
#include "hash/streebog.h"

namespace integrity_check_tool::vorn {

/// The key-management library's hash: GOST R 34.11-2012 digests over
/// streams (the 256-bit digest for file checks).
class Gost2012 final : public IHash, private zel::TracerProvider {
public:
    /// Traces its creation to `tracer` (none when null).
    explicit Gost2012(zel::ITracerPtr tracer = {});

    /// The 32-byte digest of the rest of `io`. Throws vorn::Exception ("Can't
    /// calculate hash") when the stream reports a failure.
    Blob CalculateHash(const zel::intrusive_ptr<zel::IIO>& io) const override;

    /// The digest of the given length of the rest of `io`; fails like the
    /// 256-bit form.
    Blob CalculateHash(const zel::intrusive_ptr<zel::IIO>& io, StreebogSize size) const;

    /// The digest of the given length of a buffer.
    static Blob CalculateHash(std::span<const std::uint8_t> data, StreebogSize size);
};

/// The shared Gost2012 instance while anyone holds one, otherwise a new one
/// tracing to `tracer`; converts to IHashPtr.
std::shared_ptr<const Gost2012> GetGost2012(const zel::ITracerPtr& tracer = {});

}  // namespace integrity_check_tool::vorn
