#include "sign/file_signer.h"

#include <limits>
#include <string_view>

#include "exception.h"
#include "sign/existing_signature.h"
#include "sign/input_file.h"
#include "sign/messages.h"
#include "utils/atomic_file.h"

namespace integrity_check_tool::sign {

namespace {

// CMS signs from a memory buffer whose length is an int.
constexpr std::uint64_t kMaxFileSize = static_cast<std::uint64_t>(std::numeric_limits<int>::max());

/// The name the verifier will see: what follows the last "/".
std::string FileNameOf(const Path& path)
{
    const std::string& text = path.string();
    const std::size_t slash = text.rfind('/');
    return slash == std::string::npos ? text : text.substr(slash + 1);
}

std::string_view AsChars(std::span<const std::uint8_t> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

FileSigner::FileSigner(const ISigner& signer) : signer_(signer) {}

ISigner::Verdict FileSigner::Sign(const SignOptions& options) const
{
    const Path& target = options.output ? *options.output : options.file;
    const Blob input = ReadRegularFile(options.file, kMaxFileSize);
    const ExistingSignature existing(input);
    if (existing.GetKind() != ExistingSignature::Kind::None && !options.replace) {
        ICT_THROW(messages::kAlreadySigned, options.file.string(), existing.KindName());
    }
    const std::span<const std::uint8_t> content = existing.Strip(options.file);
    Blob signedFile(content.begin(), content.end());
    const Blob signature = signer_.Sign(content, FileNameOf(target));
    signedFile.insert(signedFile.end(), signature.begin(), signature.end());
    ISigner::Verdict verdict = signer_.Check(options.file, target, signedFile);

    AtomicFile output(target);
    output.Write(AsChars(signedFile));
    output.Commit();
    return verdict;
}

}  // namespace integrity_check_tool::sign
