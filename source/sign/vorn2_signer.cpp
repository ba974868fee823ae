#include "sign/vorn2_signer.h"

#include <openssl/crypto.h>

#include "exception.h"
#include "sign/credentials.h"
#include "sign/messages.h"

namespace integrity_check_tool::sign {

namespace {

// Wipes a copy of key material however loading ends.
class WipedOnExit final {
public:
    explicit WipedOnExit(Blob& bytes) : bytes_(bytes) {}
    ~WipedOnExit() { OPENSSL_cleanse(bytes_.data(), bytes_.size()); }
    WipedOnExit(const WipedOnExit&) = delete;
    WipedOnExit& operator=(const WipedOnExit&) = delete;

private:
    Blob& bytes_;
};

vorn::GostPrivateKey LoadKey(const Path& path)
{
    Blob pem = ReadCredentialFile(path);
    const WipedOnExit wiped(pem);
    try {
        return vorn::LoadGostPrivateKey({reinterpret_cast<const char*>(pem.data()), pem.size()});
    } catch (const Exception& error) {
        // The loader only sees bytes: name the file.
        ICT_THROW(messages::kCantReadKey, path.string(), error.GetDescription());
    }
}

}  // namespace

Vorn2Signer::Vorn2Signer(const SignOptions& options) : key_(LoadKey(options.key)) {}

Blob Vorn2Signer::Sign(std::span<const std::uint8_t> content, const std::string& /*fileName*/) const
{
    return vorn::SignVorn2Record(content, key_);
}

}  // namespace integrity_check_tool::sign
