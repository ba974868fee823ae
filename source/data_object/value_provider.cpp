#include "data_object/value_provider.h"

#include <zel/exception.h>

#include "data_object/file.h"
#include "utils/utils.h"

namespace integrity_check_tool::value_provider {

void Empty::GetValue(IDataObject&, Blob& value) const
{
    value.clear();
}

void Raw::GetValue(IDataObject& object, Blob& value) const
{
    value = object.ReadContent(kMaxValueSize);
}

void Hash::GetValue(IDataObject& object, Blob& value) const
{
    if (readAhead_) {
        if (const auto* file = dynamic_cast<const File*>(&object);
            file != nullptr && readAhead_->Take(file->GetPath(), type_, value)) {
            return;
        }
    }
    value = hash_->CalculateHash(object.GetData());
}

}  // namespace integrity_check_tool::value_provider
