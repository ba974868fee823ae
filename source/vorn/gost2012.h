#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include <zel/tracer.h>

#include "utils/hash.h"
#include "vorn/streebog.h"

namespace integrity_check_tool::vorn {

class GostKeySet;

/// The key-management library object: GOST R 34.11-2012 digests over
/// streams (the 256-bit digest for file checks) and verification of files
/// signed with GOST R 34.10-2012 ("vorn2", see vorn2_record.h).
class Gost2012 final : public IHash, private zel::TracerProvider {
public:
    /// Initialises the library (once per process) and this instance's
    /// parameter list. Throws vorn::Exception: "Can't initialize VORN2
    /// library", "Can't create GOST2012 instance" or "Can't create VORN
    /// parameters list".
    explicit Gost2012(zel::ITracerPtr tracer = {});
    ~Gost2012() override;
    Gost2012(const Gost2012&) = delete;
    Gost2012& operator=(const Gost2012&) = delete;

    /// The 32-byte digest of the rest of `io`. Throws vorn::Exception ("Can't
    /// calculate hash") when the stream reports a failure.
    Blob CalculateHash(const zel::intrusive_ptr<zel::IIO>& io) const override;

    /// The digest of the given length of the rest of `io`; fails like the
    /// 256-bit form.
    Blob CalculateHash(const zel::intrusive_ptr<zel::IIO>& io, StreebogSize size) const;

    /// The digest of the given length of a buffer.
    static Blob CalculateHash(std::span<const std::uint8_t> data, StreebogSize size);

    /// Verifies the signed file against the trusted 256-bit keys `keys1` and
    /// 512-bit keys `keys2` (blobs as GostKeySet describes). `embedded` says
    /// the signature sits inside the file, the only form supported (false is
    /// refused). On success `content` receives the bytes before the
    /// signature, read once; otherwise throws vorn::Exception and leaves
    /// `content` untouched.
    void VerifySignature(const Path& file, const Blob& keys1, const Blob& keys2, bool embedded,
                         Blob& content) const;
    /// The same with keys registered beforehand.
    void VerifySignature(const Path& file, const GostKeySet& keys, bool embedded,
                         Blob& content) const;

    /// Verifies signed bytes already in memory: the size of the signed
    /// content, or throws vorn::Exception as VerifySignature does.
    static std::size_t VerifySignedBytes(std::span<const std::uint8_t> file,
                                         const GostKeySet& keys);

private:
    struct Impl;
    std::unique_ptr<const Impl> impl_;
};

/// The shared Gost2012 instance while anyone holds one, otherwise a new one
/// tracing to `tracer`; converts to IHashPtr.
std::shared_ptr<const Gost2012> GetGost2012(const zel::ITracerPtr& tracer = {});

}  // namespace integrity_check_tool::vorn
