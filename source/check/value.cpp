#include "check/value.h"

#include "check/messages.h"

namespace integrity_check_tool::check {

void Value::Check(IDataObject& object, const Subject& subject, bool registry) const
{
    const Texts texts =
        registry ? Texts{messages::kCheckingRegistryValue, messages::kRegistryHasExpectedValue,
                         messages::kRegistryHasUnexpectedValue}
                 : Texts{messages::kCheckingFileValue, messages::kFileHasExpectedValue,
                         messages::kFileHasUnexpectedValue};
    TraceDebug(subject, texts.progress);
    Blob actual;
    provider_->GetValue(object, actual);
    if (actual != expected_) {
        Mismatch(CheckType::Value, subject.Text(texts.failure), actual);
    }
    TraceDebug(subject, texts.success);
}

}  // namespace integrity_check_tool::check
