#include "check/not_exists.h"

#include "check/messages.h"

namespace integrity_check_tool::check {

void NotExists::Check(IDataObject& object, const Subject& subject, bool registry) const
{
    // The wording is the Exists check's with success and failure swapped.
    const Texts texts = registry ? Texts{messages::kCheckingRegistryAbsence,
                                         messages::kRegistryNotExists, messages::kRegistryExists}
                                 : Texts{messages::kCheckingFileAbsence, messages::kFileNotExists,
                                         messages::kFileExists};
    TraceDebug(subject, texts.progress);
    if (object.IsExists()) {
        Mismatch(CheckType::NotExists, subject.Text(texts.failure));
    }
    TraceDebug(subject, texts.success);
}

}  // namespace integrity_check_tool::check
