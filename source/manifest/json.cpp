#include "manifest/json.h"

#include <sstream>

#include <boost/property_tree/json_parser.hpp>

#include "manifest/manifest.h"
#include "utils/base64.h"

namespace integrity_check_tool {

namespace {

using boost::property_tree::ptree;

// Appends without interpreting dots in the key as a path.
ptree& Add(ptree& node, const char* key, const std::string& value)
{
    return node.push_back(ptree::value_type(key, ptree(value)))->second;
}

ptree& AddList(ptree& node, const char* key)
{
    return node.push_back(ptree::value_type(key, ptree()))->second;
}

template <class T> void AddOptional(ptree& node, const char* key, const std::optional<T>& value)
{
    if (!value) {
        return;
    }
    if constexpr (std::is_enum_v<T>) {
        Add(node, key, ToName(*value));
    } else {
        Add(node, key, std::to_string(*value));
    }
}

ptree Conditions(const Applicability& entry)
{
    ptree node;
    ForEachCondition(
        [&](const auto& condition) { AddOptional(node, condition.key, entry.*condition.member); });
    return node;
}

template <class Range, class Render>
void AddItems(ptree& node, const char* key, const Range& items, Render render)
{
    ptree& list = AddList(node, key);
    for (const auto& item : items) {
        list.push_back(ptree::value_type("", render(item)));
    }
}

ptree Check(const CheckInfoPtr& check)
{
    ptree node;
    Add(node, "type", ToName(check->type));
    Add(node, "value", Base64Encode(check->value));
    return node;
}

ptree Environment(const EnvironmentInfo& variable)
{
    ptree node = Conditions(variable);
    Add(node, "key", variable.key);
    Add(node, "value", variable.value);
    return node;
}

ptree File(const FileInfo& file)
{
    ptree node = Conditions(file);
    Add(node, "path", file.path);
    AddItems(node, "checks", file.checks, Check);
    return node;
}

ptree Directory(const DirectoryInfo& directory)
{
    ptree node = Conditions(directory);
    Add(node, "path", directory.path);
    AddItems(node, "files", directory.files, File);
    return node;
}

ptree RegistryValue(const RegistryValueInfo& value)
{
    ptree node = Conditions(value);
    Add(node, "name", value.name);
    Add(node, "type", ToName(value.type));
    AddItems(node, "checks", value.checks, Check);
    return node;
}

ptree RegistryKey(const RegistryKeyInfo& key)
{
    ptree node = Conditions(key);
    Add(node, "path", key.path);
    AddItems(node, "values", key.values, RegistryValue);
    return node;
}

}  // namespace

ptree ToPropertyTree(const Manifest& manifest)
{
    ptree root;
    Add(root, "productName", manifest.productName);
    Add(root, "productVersion", manifest.productVersion);
    Add(root, "generationDateTime", manifest.generationDateTime);
    AddItems(root, "environments", manifest.environments, Environment);
    AddItems(root, "files", manifest.files, File);
    AddItems(root, "directories", manifest.directories, Directory);
    AddItems(root, "registries", manifest.registries, RegistryKey);
    return root;
}

std::string ToJson(const Manifest& manifest)
{
    std::ostringstream text;
    boost::property_tree::write_json(text, ToPropertyTree(manifest), true);
    return text.str();
}

}  // namespace integrity_check_tool
