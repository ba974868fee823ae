#pragma once

#include <cstdint>
#include <span>

#include "types.h"

namespace integrity_check_tool::sign {

/// The signature a file already ends in, if any, and the file without it.
class ExistingSignature final {
public:
    enum class Kind { None, Lum, Vorn2 };

    /// Looks at the trailer of `file` (which must outlive this object).
    explicit ExistingSignature(std::span<const std::uint8_t> file);

    Kind GetKind() const noexcept { return kind_; }
    /// "lum" or "vorn2" for messages.
    const char* KindName() const noexcept;

    /// The content before the signature (all of the file for Kind::None);
    /// throws Exception naming `path` when the signature is malformed or
    /// can't be removed.
    std::span<const std::uint8_t> Strip(const Path& path) const;

private:
    std::span<const std::uint8_t> file_;
    Kind kind_ = Kind::None;
};

}  // namespace integrity_check_tool::sign
