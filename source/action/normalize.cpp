#include "action/normalize.h"

#include "manifest/manifest.h"
#include "manifest/storage.h"

namespace integrity_check_tool::action {

Normalize::Normalize(zel::ITracerPtr tracer, Path manifestPath, IFactoryPtr factory)
    : zel::TracerProvider(std::move(tracer)), manifestPath_(std::move(manifestPath)),
      factory_(std::move(factory)), storage_(factory_->CreateStorage())
{
}

bool Normalize::Run()
{
    Manifest manifest;
    storage_->LoadFromFile(manifestPath_, manifest);
    storage_->StoreToFile(manifestPath_, manifest);
    return true;
}

}  // namespace integrity_check_tool::action
