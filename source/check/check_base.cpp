#include "check/check_base.h"

#include "data_object/data_object.h"

namespace integrity_check_tool::check {

void CheckBase::CheckFileValueWith(const Path& path, const ContentDigest* digest) const
{
    const IDataObjectPtr object = factory_->CreateFileObject(path);
    Check(*object, Subject{path.string(), std::nullopt, digest}, false);
}

void CheckBase::CheckRegistryValue(const std::string& key, const std::string& value,
                                   RegistryType type) const
{
    const IDataObjectPtr object = factory_->CreateRegistryObject(key, value, type);
    Check(*object, Subject{value, key}, true);
}

void CheckBase::Mismatch(CheckType type, const std::string& reason, std::optional<Blob> actual)
{
    BOOST_THROW_EXCEPTION(VerificationMismatch(type, reason, std::move(actual)));
}

}  // namespace integrity_check_tool::check
