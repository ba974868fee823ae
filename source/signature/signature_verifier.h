#pragma once

#include <memory>

#include "types.h"

namespace integrity_check_tool {

/// Checks a manifest file's signature and hands back the signed content.
class ISignatureVerifier {
public:
    virtual ~ISignatureVerifier() = default;
    /// Fills `content` with the bytes before the signature when it is good;
    /// throws Exception otherwise and leaves `content` untouched.
    virtual void Verify(const Path& file, Blob& content) const = 0;
};
using ISignatureVerifierPtr = std::shared_ptr<const ISignatureVerifier>;

}  // namespace integrity_check_tool
