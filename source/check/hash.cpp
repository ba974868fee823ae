#include "check/hash.h"

#include "check/messages.h"
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
    GetValueOrDigest(*provider_, object, subject.digest, type_, digest);
    if (IsTraceEnabled(kTraceDebug) && !registry) {
        TraceDebug(subject, messages::kFileHashEvaluated, Base64Encode(digest));
    }
    if (digest != expected_) {
        Mismatch(type_, subject.Text(texts.failure, Base64Encode(digest), Base64Encode(expected_)),
                 digest);
    }
    if (IsTraceEnabled(kTraceDebug)) {
        TraceDebug(subject, texts.success, Base64Encode(digest));
    }
}

}  // namespace integrity_check_tool::check
