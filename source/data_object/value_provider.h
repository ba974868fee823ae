#pragma once

#include <memory>

#include "data_object/data_object.h"
#include "enums.h"
#include "hash/hash.h"
#include "types.h"

namespace integrity_check_tool {

class ContentDigest;

/// Turns a data object into the bytes a check compares.
class IValueProvider {
public:
    virtual ~IValueProvider() = default;
    /// Fills `value`; throws when the object cannot be read.
    virtual void GetValue(IDataObject& object, Blob& value) const = 0;
};
using IValueProviderPtr = std::shared_ptr<const IValueProvider>;

namespace value_provider {

/// The empty value; the object is not opened.
class Empty final : public IValueProvider {
public:
    void GetValue(IDataObject& object, Blob& value) const override;
};

/// The object's whole content, at most kMaxValueSize bytes: a value check
/// of a huge or endless file fails instead of exhausting memory.
class Raw final : public IValueProvider {
public:
    static constexpr std::uint64_t kMaxValueSize = 16 * 1024 * 1024;
    void GetValue(IDataObject& object, Blob& value) const override;
};

/// The digest of the object's content.
class Hash final : public IValueProvider {
public:
    explicit Hash(IHashPtr hash) : hash_(std::move(hash)) {}
    void GetValue(IDataObject& object, Blob& value) const override;

private:
    IHashPtr hash_;
};

}  // namespace value_provider

/// Fills `value` with the digest read ahead when it is the `type` digest,
/// rethrowing a read failure kept in it; otherwise with what `provider`
/// yields for `object`.
void GetValueOrDigest(const IValueProvider& provider, IDataObject& object,
                      const ContentDigest* digest, CheckType type, Blob& value);

}  // namespace integrity_check_tool
