#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "exception.h"
#include "manifest/manifest.h"

namespace integrity_check_tool::test {

/// The description of the Exception `action` throws, or "no exception".
template <class Action> std::string Refusal(const Action& action)
{
    try {
        action();
    } catch (const Exception& error) {
        return error.GetDescription();
    }
    return "no exception";
}

/// A shared check record.
inline CheckInfoPtr Check(CheckType type, Blob value = {})
{
    return std::make_shared<CheckInfo>(CheckInfo{type, std::move(value)});
}

/// A file entry without conditions.
inline FileInfo File(std::string path, std::initializer_list<CheckInfoPtr> checks = {})
{
    FileInfo file;
    file.path = std::move(path);
    file.checks = checks;
    return file;
}

}  // namespace integrity_check_tool::test
