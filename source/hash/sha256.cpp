#include "hash/sha256.h"

#include "exception.h"
#include "hash/hash_stream.h"

namespace integrity_check_tool::openssl {
namespace {

struct MdCtxDeleter {
    void operator()(EVP_MD_CTX* context) const noexcept { EVP_MD_CTX_free(context); }
};

}  // namespace

Sha256::Sha256() : md_(EVP_MD_fetch(nullptr, "SHA256", nullptr))
{
    if (!md_) {
        ICT_THROW("Can't fetch the SHA-256 implementation of OpenSSL");
    }
}

Blob Sha256::CalculateHash(const zel::intrusive_ptr<zel::IIO>& io) const
{
    if (!io) {
        ICT_THROW("Can't calculate SHA-256 hash: no stream");
    }
    const std::unique_ptr<EVP_MD_CTX, MdCtxDeleter> context(EVP_MD_CTX_new());
    if (!context || EVP_DigestInit_ex(context.get(), md_.get(), nullptr) != 1) {
        ICT_THROW("Can't initialize SHA-256 context");
    }
    bool updated = true;
    const zel::Result result = ReadForHashing(*io, [&](std::span<const std::uint8_t> data) {
        updated = updated && EVP_DigestUpdate(context.get(), data.data(), data.size()) == 1;
    });
    if (zel::Failed(result)) {
        BOOST_THROW_EXCEPTION(Exception(Format("Can't read data to hash: %1% (%2%)",
                                               zel::ResultMessage(result), result))
                              << StreamResult(result));
    }
    Blob digest(EVP_MAX_MD_SIZE);
    unsigned int size = 0;
    if (!updated || EVP_DigestFinal_ex(context.get(), digest.data(), &size) != 1) {
        ICT_THROW("Can't calculate SHA-256 hash");
    }
    digest.resize(size);
    return digest;
}

IHashPtr GetSha256()
{
    return SharedInstance<Sha256>();
}

}  // namespace integrity_check_tool::openssl
