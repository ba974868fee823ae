#include "sign/lum_self_check.h"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <optional>

#include <openssl/asn1.h>
#include <openssl/x509.h>
#include <zel/tracer.h>

#include "exception.h"
#include "sign/credentials.h"
#include "sign/messages.h"
#include "signature/lum_roots.h"
#include "signature/lum_verifier.h"

namespace integrity_check_tool::sign {

namespace {

/// The lum library wants a tracer; the tool reports failures itself.
class SilentTracer final : public zel::ITracer {
public:
    bool IsEnabled(std::uint32_t) const noexcept override { return false; }
    void Write(std::uint32_t, std::string_view) noexcept override {}
};

/// The names of the flags that made the check fail, as the checker prints them.
std::vector<std::string> FailureFlags(const std::vector<std::string>& flags)
{
    static const std::vector<std::string> kBenign = {"Signed",
                                                     "Trusted",
                                                     "Embedded",
                                                     "Catalog",
                                                     "RevocationCheckSkipped",
                                                     "CounterSignatureUsed"};
    std::vector<std::string> failures;
    std::copy_if(flags.begin(), flags.end(), std::back_inserter(failures),
                 [](const std::string& flag) {
                     return std::find(kBenign.begin(), kBenign.end(), flag) == kBenign.end();
                 });
    return failures;
}

std::string TimeText(const ASN1_TIME* time)
{
    std::tm parts{};
    char text[32] = "?";
    if (ASN1_TIME_to_tm(time, &parts) == 1) {
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
    }
    return text;
}

/// A failed check: the flags the checker reports and the subject of the leaf.
struct Failure {
    std::vector<std::string> flags;
    std::string subject;
    std::string message;  ///< when no flags were reported

    bool Has(const char* flag) const
    {
        return std::find(flags.begin(), flags.end(), flag) != flags.end();
    }
    std::string JoinedFlags() const
    {
        std::string text;
        for (const std::string& flag : flags) {
            text += (text.empty() ? "" : "|") + flag;
        }
        return text;
    }
};

}  // namespace

LumSelfCheck::LumSelfCheck(const std::vector<Path>& roots, bool withFileName)
    : givenRoots_(!roots.empty()), withFileName_(withFileName)
{
    for (const Path& path : roots) {
        const crypto::CertificateStackPtr certificates = LoadCertificates(path);
        RootSet set{Format(messages::kVerifiedByRoot, path.string()), {}};
        for (int i = 0; i < sk_X509_num(certificates.get()); ++i) {
            set.roots.push_back(CertificateDer(*sk_X509_value(certificates.get(), i)));
        }
        sets_.push_back(std::move(set));
    }
    if (!givenRoots_) {
        sets_.push_back({messages::kVerifiedRegular, lum::TrustedRoots(true)});
        sets_.push_back({messages::kVerifiedAlternative, lum::TrustedRoots(false)});
    }
}

std::string LumSelfCheck::Check(const Path& file, const Path& target, const Blob& signedFile,
                                X509& leaf) const
{
    const zel::ITracerPtr tracer = zel::MakeIntrusive<SilentTracer>();
    std::optional<Failure> reported;
    for (const RootSet& set : sets_) {
        if (set.roots.empty()) {
            continue;  // a build without alternative roots
        }
        const LumSignatureVerifier verifier(tracer, set.roots, withFileName_);
        SignatureDetails details;
        try {
            verifier.VerifyBytes(target, signedFile, details);
            return set.verified;
        } catch (const Exception& error) {
            Failure failure{FailureFlags(details.flags),
                            details.signer ? details.signer->subject : std::string(),
                            error.GetDescription()};
            // A set the chain reaches says more than one it does not.
            if (!reported ||
                (reported->Has("IncompleteChain") && !failure.Has("IncompleteChain"))) {
                reported = std::move(failure);
            }
        }
    }
    if (!reported) {
        ICT_THROW(messages::kWouldNotVerify, file.string(), messages::kNoRoots);
    }
    const std::string flags = reported->JoinedFlags();
    if (flags.empty()) {
        ICT_THROW(messages::kWouldNotVerify, file.string(), reported->message);
    }
    std::string why;
    if (reported->Has("IncompleteChain")) {
        why = Format(givenRoots_ ? messages::kNoChainToGivenRoot : messages::kNoChainToCompiledIn,
                     reported->subject);
    } else if (reported->Has("Expired")) {
        if (X509_cmp_current_time(X509_get0_notAfter(&leaf)) < 0) {
            why = Format(messages::kLeafExpired, reported->subject,
                         TimeText(X509_get0_notAfter(&leaf)));
        } else if (X509_cmp_current_time(X509_get0_notBefore(&leaf)) > 0) {
            why = Format(messages::kLeafNotYetValid, reported->subject,
                         TimeText(X509_get0_notBefore(&leaf)));
        } else {
            why = Format(messages::kChainOutOfValidity, reported->subject);
        }
    }
    ICT_THROW(messages::kWouldNotVerify, file.string(),
              why.empty() ? flags : flags + " (" + why + ")");
}

}  // namespace integrity_check_tool::sign
