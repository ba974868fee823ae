#pragma once

#include <optional>
#include <utility>

#include "lum/service.h"

namespace crypto::lum {

/// Flags, checked content size, signer and token time of one verification.
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

    std::int32_t GetSigner(LumSignerDetails* signer) const override { return Get(signer_, signer); }

    std::int32_t GetTimestampTime(std::int64_t* time) const override
    {
        return Get(timestamp_, time);
    }

    void AddFlags(std::uint32_t flags) noexcept { flags_ |= flags; }
    std::uint32_t Flags() const noexcept { return flags_; }
    void SetContentSize(std::uint64_t size) noexcept { contentSize_ = size; }
    void SetSigner(LumSignerDetails signer) { signer_ = std::move(signer); }
    void SetTimestampTime(std::int64_t time) noexcept { timestamp_ = time; }

private:
    template <class T> static std::int32_t Get(const std::optional<T>& value, T* out)
    {
        if (out == nullptr) {
            return lumErrInvalidArgument;
        }
        if (!value) {
            return lumErrNotFound;
        }
        *out = *value;
        return lumOk;
    }

    std::uint32_t flags_ = 0;
    std::optional<std::uint64_t> contentSize_;
    std::optional<LumSignerDetails> signer_;
    std::optional<std::int64_t> timestamp_;
};

}  // namespace crypto::lum
