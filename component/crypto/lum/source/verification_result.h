#pragma once

#include <optional>

#include "lum/service.h"

namespace crypto::lum {

/// Flags and checked content size of one verification.
class VerificationResult final : public ILumSignatureVerificationResult {
public:
    std::int32_t GetFlags(std::uint32_t* flags) const override
    {
        if (flags == nullptr) {
            return lumErrInvalidArgument;
        }
        *flags = flags_;
        return lumOk;
    }

    std::int32_t GetCheckedContentSize(std::uint64_t* size) const override
    {
        if (size == nullptr) {
            return lumErrInvalidArgument;
        }
        if (!contentSize_) {
            return lumSignatureNotFound;
        }
        *size = *contentSize_;
        return lumOk;
    }

    void AddFlags(std::uint32_t flags) noexcept { flags_ |= flags; }
    std::uint32_t Flags() const noexcept { return flags_; }
    void SetContentSize(std::uint64_t size) noexcept { contentSize_ = size; }

private:
    std::uint32_t flags_ = 0;
    std::optional<std::uint64_t> contentSize_;
};

}  // namespace crypto::lum
