#include "sign/timestamp_embedder.h"

#include <algorithm>
#include <limits>

#include <lum/format.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/x509.h>

#include "exception.h"
#include "sign/messages.h"
#include "sign/openssl_error.h"

namespace integrity_check_tool::sign {

using crypto::BioPtr;

namespace {

using Bytes = std::span<const std::uint8_t>;

CmsPtr ParseCms(Bytes der)
{
    const unsigned char* cursor = der.data();
    CmsPtr cms(d2i_CMS_ContentInfo(nullptr, &cursor, static_cast<long>(der.size())));
    if (!cms || cursor != der.data() + der.size()) {
        ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
    }
    return cms;
}

CMS_SignerInfo* OnlySigner(CMS_ContentInfo& cms)
{
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(&cms);
    if (sk_CMS_SignerInfo_num(signers) != 1) {
        ICT_THROW(messages::kOpenSslFailed, "not one signer");
    }
    return sk_CMS_SignerInfo_value(signers, 0);
}

Blob Encode(CMS_ContentInfo& cms)
{
    return EncodeDer([&](unsigned char** out) { return i2d_CMS_ContentInfo(&cms, out); });
}

/// Why `der` no longer verifies over `content`; empty when it does. The
/// chain is not checked: that is the checker's task, at the token's time.
std::string VerificationFailure(Bytes der, Bytes content)
{
    const CmsPtr cms = ParseCms(der);
    const BioPtr data(BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
    if (!data || CMS_verify(cms.get(), nullptr, nullptr, data.get(), nullptr,
                            CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY) != 1) {
        return TakeOpenSslError();
    }
    return {};
}

}  // namespace

Blob EmbedTimestampToken(const LumSignedFile& file, std::span<const std::uint8_t> token)
{
    if (token.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        ICT_THROW(messages::kOpenSslFailed, "time-stamp token too large");
    }
    const CmsPtr cms = ParseCms(file.SignatureDer());
    CMS_SignerInfo* signer = OnlySigner(*cms);
    for (int at;
         (at = CMS_unsigned_get_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, -1)) >= 0;) {
        X509_ATTRIBUTE_free(CMS_unsigned_delete_attr(signer, at));
    }
    if (CMS_unsigned_add1_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, V_ASN1_SEQUENCE,
                                      token.data(), static_cast<int>(token.size())) != 1) {
        ICT_THROW(messages::kOpenSslFailed, TakeOpenSslError());
    }
    const Blob der = Encode(*cms);
    if (der.size() > std::numeric_limits<std::uint32_t>::max()) {
        ICT_THROW(messages::kSignatureTooLarge, file.GetPath().string());
    }
    // Signed attributes are re-encoded from their parsed form; a signature
    // whose original encoding differed would now be broken.
    const std::string failure = VerificationFailure(der, file.Content());
    if (!failure.empty()) {
        ICT_THROW(messages::kEmbeddingBroke, file.GetPath().string(), failure);
    }

    const Bytes content = file.Content();
    Blob result(content.begin(), content.end());
    result.insert(result.end(), der.begin(), der.end());
    const auto trailer = crypto::lum::MakeTrailer(static_cast<std::uint32_t>(der.size()));
    result.insert(result.end(), trailer.begin(), trailer.end());
    return result;
}

}  // namespace integrity_check_tool::sign
