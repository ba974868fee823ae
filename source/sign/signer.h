#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "types.h"

namespace integrity_check_tool::sign {

/// Makes the signature that follows a file's content in one signed-file format.
class ISigner {
public:
    virtual ~ISigner() = default;

    /// The bytes to append to `content` (signature and trailer) for a file
    /// that will be named `fileName`; throws Exception.
    virtual Blob Sign(std::span<const std::uint8_t> content, const std::string& fileName) const = 0;

    /// What checking the signed bytes found: the roots they verify under,
    /// and a doubt that does not stop the signing. Either may be empty.
    struct Verdict {
        std::string verified;
        std::string warning;
    };
    /// Checks `signedFile`, FILE signed and about to be written to `target`,
    /// as the checker will; throws Exception when the checker would refuse it.
    virtual Verdict Check(const Path& file, const Path& target, const Blob& signedFile) const = 0;
};
using ISignerPtr = std::unique_ptr<ISigner>;

}  // namespace integrity_check_tool::sign
