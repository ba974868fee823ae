#include "data_object/value_provider.h"

#include <zel/exception.h>

#include "hash/content_digest.h"
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

namespace integrity_check_tool {

void GetValueOrDigest(const IValueProvider& provider, IDataObject& object,
                      const ContentDigest* digest, CheckType type, Blob& value)
{
    if (digest != nullptr && digest->Type() == type) {
        value = digest->Value();
    } else {
        provider.GetValue(object, value);
    }
}

}  // namespace integrity_check_tool
