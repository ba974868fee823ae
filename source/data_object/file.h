#pragma once

#include <functional>
#include <string>

#include "data_object/data_object.h"

namespace integrity_check_tool {

/// A file named by its (expanded) manifest path.
class File final : public IDataObject {
public:
    explicit File(std::string path) : path_(std::move(path)) {}

    /// True when something exists at the path (symbolic links followed).
    bool IsExists() override;
    /// The file's content; anything but a readable regular file fails.
    zel::IIOPtr GetData() override;
    /// Fails like GetData, and with the reason "Object is too large".
    Blob ReadContent(std::uint64_t limit) override;

    const std::string& GetPath() const noexcept { return path_; }

private:
    /// Runs `operation`, turning any error into "Can't read or access file
    /// %1%. Reason: %2%".
    template <class Operation> auto UnifyError(Operation operation) const -> decltype(operation());

    std::string path_;
};

}  // namespace integrity_check_tool
