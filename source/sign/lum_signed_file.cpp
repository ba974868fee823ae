#include "sign/lum_signed_file.h"

#include <limits>

#include <lum/format.h>
#include <openssl/cms.h>
#include <openssl/evp.h>

#include "exception.h"
#include "sign/existing_signature.h"
#include "sign/input_file.h"
#include "sign/messages.h"
#include "sign/openssl_error.h"

namespace integrity_check_tool::sign {

namespace {

// The signature is parsed from a buffer whose length is an int.
constexpr std::uint64_t kMaxFileSize = static_cast<std::uint64_t>(std::numeric_limits<int>::max());

}  // namespace

LumSignedFile::LumSignedFile(const Path& path)
    : path_(path), bytes_(ReadRegularFile(path, kMaxFileSize))
{
    const ExistingSignature existing(bytes_);
    switch (existing.GetKind()) {
    case ExistingSignature::Kind::None:
        ICT_THROW(messages::kNotLumSigned, path.string());
    case ExistingSignature::Kind::Vorn2:
        ICT_THROW(messages::kVorn2NotStamped, path.string());
    case ExistingSignature::Kind::Lum:
        break;
    }
    content_ = existing.Strip(path);
    der_ = std::span<const std::uint8_t>(bytes_).subspan(
        content_.size(), bytes_.size() - content_.size() - crypto::lum::kTrailerSize);

    const unsigned char* cursor = der_.data();
    const CmsPtr cms(d2i_CMS_ContentInfo(nullptr, &cursor, static_cast<long>(der_.size())));
    STACK_OF(CMS_SignerInfo)* signers = cms ? CMS_get0_SignerInfos(cms.get()) : nullptr;
    if (signers == nullptr) {
        ICT_THROW(messages::kMalformedSignature, path.string(), "lum");
    }
    if (sk_CMS_SignerInfo_num(signers) != 1) {
        ICT_THROW(messages::kSignerCount, path.string(), sk_CMS_SignerInfo_num(signers));
    }
    const ASN1_OCTET_STRING* value =
        CMS_SignerInfo_get0_signature(sk_CMS_SignerInfo_value(signers, 0));
    imprint_.resize(EVP_MAX_MD_SIZE);
    unsigned int size = 0;
    if (EVP_Digest(ASN1_STRING_get0_data(value),
                   static_cast<std::size_t>(ASN1_STRING_length(value)), imprint_.data(), &size,
                   EVP_sha256(), nullptr) != 1) {
        ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
    }
    imprint_.resize(size);
}

}  // namespace integrity_check_tool::sign
