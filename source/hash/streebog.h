#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "types.h"

namespace integrity_check_tool::vorn {

/// The two digest lengths of GOST R 34.11-2012.
enum class StreebogSize { Bits256, Bits512 };

/// Incremental GOST R 34.11-2012 hashing. Feed the message in pieces of any
/// size with Update; Finish returns the digest bytes in output order (the
/// order file hashers print) and starts a new message.
class Streebog final {
public:
    explicit Streebog(StreebogSize size);

    void Update(std::span<const std::uint8_t> data);
    /// The digest of everything fed since construction or the last Finish:
    /// 32 or 64 bytes.
    Blob Finish();

    /// The digest of one buffer.
    static Blob Digest(StreebogSize size, std::span<const std::uint8_t> data);

private:
    using Words = std::array<std::uint64_t, 8>;

    void Reset();
    void ProcessBlock(const Words& message);

    StreebogSize size_;
    void (*compress_)(Words& h, const Words& m, const Words& n) = nullptr;
    Words h_{};
    Words n_{};
    Words sigma_{};
    std::array<std::uint8_t, 64> pending_{};
    std::size_t pendingSize_ = 0;
};

}  // namespace integrity_check_tool::vorn
