#pragma once

#include <string>

#include <boost/property_tree/ptree.hpp>

namespace integrity_check_tool {

struct Manifest;

/// The manifest as a property tree of strings, keys in their fixed order,
/// empty lists as empty nodes.
boost::property_tree::ptree ToPropertyTree(const Manifest& manifest);

/// The pretty-printed JSON text of ToPropertyTree; throws the property
/// tree's json_parser_error for data that JSON cannot represent.
std::string ToJson(const Manifest& manifest);

}  // namespace integrity_check_tool
