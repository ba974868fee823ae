#pragma once

#include <memory>

#include <zel/io.h>

#include "types.h"

namespace integrity_check_tool {

/// One thing on the system that a check inspects.
class IDataObject {
public:
    virtual ~IDataObject() = default;
    /// True when the object is present; throws when that cannot be told.
    virtual bool IsExists() = 0;
    /// Opens the object's content for reading; throws when it cannot.
    virtual zel::IIOPtr GetData() = 0;
    /// The whole content, at most `limit` bytes; throws when it cannot be
    /// read or is larger.
    virtual Blob ReadContent(std::uint64_t limit);
};
using IDataObjectPtr = std::shared_ptr<IDataObject>;

}  // namespace integrity_check_tool
