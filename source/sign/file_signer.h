#pragma once

#include "sign/options.h"
#include "sign/signer.h"

namespace integrity_check_tool::sign {

/// Signs one file: content, then the signer's signature, written atomically.
class FileSigner final {
public:
    /// `signer` must outlive this object.
    explicit FileSigner(const ISigner& signer);

    /// Signs `options.file` into `options.output` (or in place). A file that
    /// already ends in a signature is refused unless `options.replace`, which
    /// signs the content before it. The result is checked (ISigner::Check)
    /// before anything is written. Throws Exception; on any failure the
    /// input and the output stay as they were.
    ISigner::Verdict Sign(const SignOptions& options) const;

private:
    const ISigner& signer_;
};

}  // namespace integrity_check_tool::sign
