#include "action/check_single_file.h"

#include "data_object/data_object.h"
#include "data_object/value_provider.h"
#include "tracer.h"
#include "utils/base64.h"

namespace integrity_check_tool::action {

CheckSingleFile::CheckSingleFile(Path filePath, CheckType checkType, IFactoryPtr factory,
                                 zel::ITracerPtr tracer, IConsolePtr console)
    : zel::TracerProvider(std::move(tracer)), filePath_(std::move(filePath)), checkType_(checkType),
      factory_(std::move(factory)), console_(std::move(console))
{
}

bool CheckSingleFile::Run()
{
    Trace(kTraceDebug, "Checking file %1% ...", filePath_.string());
    const IDataObjectPtr object = factory_->CreateFileObject(filePath_);
    Blob value;
    factory_->CreateValueProvider(checkType_)->GetValue(*object, value);
    console_->Write(kConsoleResult, Base64Encode(value) + "\n");
    return true;
}

}  // namespace integrity_check_tool::action
