#include "check/exists.h"

#include "check/messages.h"

namespace integrity_check_tool::check {

void Exists::Check(IDataObject& object, const Subject& subject, bool registry) const
{
    const Texts texts = registry ? Texts{messages::kCheckingRegistryExistence,
                                         messages::kRegistryExists, messages::kRegistryNotExists}
                                 : Texts{messages::kCheckingFileExistence, messages::kFileExists,
                                         messages::kFileNotExists};
    TraceDebug(subject, texts.progress);
    if (!object.IsExists()) {
        Mismatch(CheckType::Exists, subject.Text(texts.failure));
    }
    TraceDebug(subject, texts.success);
}

}  // namespace integrity_check_tool::check
