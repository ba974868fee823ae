#include "data_object/value_provider.h"

#include <zel/exception.h>

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
    value = hash_->CalculateHash(object.GetData());
}

}  // namespace integrity_check_tool::value_provider
