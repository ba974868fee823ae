#include "sign/key_generator.h"

#include <string>

#include <boost/filesystem/operations.hpp>
#include <openssl/crypto.h>

#include "exception.h"
#include "sign/gost_signer.h"
#include "sign/messages.h"
#include "utils/atomic_file.h"

namespace integrity_check_tool::sign {

namespace {

constexpr mode_t kPrivateMode = 0600;

// Wipes the PEM of a private key when it goes out of scope.
class SecretText final {
public:
    explicit SecretText(std::string text) : text_(std::move(text)) {}
    ~SecretText() { OPENSSL_cleanse(text_.data(), text_.size()); }
    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;
    const std::string& Get() const noexcept { return text_; }

private:
    std::string text_;
};

bool Exists(const Path& path)
{
    boost::system::error_code error;
    // symlink_status: a dangling link would still be replaced by the rename.
    return boost::filesystem::symlink_status(path, error).type() !=
           boost::filesystem::file_not_found;
}

}  // namespace

void GenerateKeyPair(const KeyOptions& options)
{
    // Overwriting a key could destroy the only copy of a release key.
    if (Exists(options.output)) {
        ICT_THROW(messages::kKeyExists, options.output.string());
    }
    const vorn::GostPrivateKey key = vorn::GenerateGostKey(options.bits, options.paramSet);
    const SecretText privatePem(vorn::GostPrivateKeyToPem(key));

    AtomicFile privateFile(options.output);
    privateFile.SetMode(kPrivateMode);
    privateFile.Write(privatePem.Get());
    // The public key first: a left-over public key is harmless, a private
    // key without its public half would block the next attempt.
    if (options.publicOutput) {
        AtomicFile publicFile(*options.publicOutput);
        publicFile.Write(vorn::GostPublicKeyToPem(key.PublicKey()));
        publicFile.Commit();
    }
    if (Exists(options.output)) {
        ICT_THROW(messages::kKeyExists, options.output.string());
    }
    privateFile.Commit();
}

}  // namespace integrity_check_tool::sign
