#include "check/hash.h"

#include "check/messages.h"
#include "hash/content_digest.h"
#include "tracer.h"
#include "utils/base64.h"

namespace integrity_check_tool::check {

void Hash::Check(IDataObject& object, const Subject& subject, bool registry) const
{
    const Texts texts =
        registry ? Texts{messages::kCheckingRegistryValue, messages::kRegistryHasExpectedHash,
                         messages::kRegistryHasUnexpectedHash}
                 : Texts{messages::kCheckingFileValue, messages::kFileHasExpectedHash,
                         messages::kFileHasUnexpectedHash};
    TraceDebug(subject, texts.progress);
    Blob digest;
    if (subject.digest != nullptr && subject.digest->Type() == type_) {
        digest = subject.digest->Value();
    } else {
        provider_->GetValue(object, digest);
    }
    if (IsTraceEnabled(kTraceDebug) && !registry) {
        TraceDebug(subject, messages::kFileHashEvaluated, Base64Encode(digest));
    }
    if (digest != expected_) {
        Mismatch(type_, subject.Text(texts.failure, Base64Encode(digest), Base64Encode(expected_)));
    }
    if (IsTraceEnabled(kTraceDebug)) {
        TraceDebug(subject, texts.success, Base64Encode(digest));
    }
}

}  // namespace integrity_check_tool::check
