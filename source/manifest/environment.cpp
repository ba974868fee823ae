#include "manifest/environment.h"

#include <boost/regex.hpp>
#include <zel/exception.h>

#include "config.h"
#include "exception.h"

namespace integrity_check_tool {

namespace {

const boost::regex& PlaceholderPattern()
{
    static const boost::regex pattern("%([^%]+)%");
    return pattern;
}

const boost::regex& BareNamePattern()
{
    static const boost::regex pattern("[^%]+");
    return pattern;
}

}  // namespace

Environment::Environment(const Path& manifestPath, zel::IEnvironmentVariablesPtr process,
                         zel::ITracerPtr tracer)
    : zel::TracerProvider(std::move(tracer)), process_(std::move(process))
{
    variables_["ManifestPath"] = manifestPath.string();
    // A bare file name lies in the current directory.
    const Path root = manifestPath.parent_path();
    variables_["ProductRoot"] = root.empty() ? std::string(".") : root.string();
}

std::string Environment::Placeholder2Key(const std::string& text)
{
    boost::smatch match;
    if (boost::regex_match(text, match, PlaceholderPattern())) {
        return match[1].str();
    }
    if (boost::regex_match(text, BareNamePattern())) {
        return text;
    }
    ICT_THROW("Wrong format of environment variable %1%", text);
}

void Environment::SetValue(const std::string& name, const std::string& value)
{
    std::string key = Placeholder2Key(name);
    if (value.empty()) {
        ICT_THROW("Value of environment variable %1% is empty", name);
    }
    variables_.insert_or_assign(key, value);
    Trace(kTraceDebug, "Environment variable %1% is set to %2%", key, value);
}

std::optional<std::string> Environment::Lookup(const std::string& key) const
{
    if (process_) {
        std::string expanded;
        const zel::Result result =
            zel::ExpandEnvironmentStrings("%" + key + "%", expanded, *process_);
        ZEL_CHECK(result);
        if (result == zel::kOk) {
            return expanded;
        }
    }
    const auto found = variables_.find(key);
    if (found != variables_.end()) {
        return found->second;
    }
    return std::nullopt;
}

std::string Environment::GetValue(const std::string& name) const
{
    std::optional<std::string> value = Lookup(Placeholder2Key(name));
    if (!value) {
        ICT_THROW("Unknown environment variable %1%", name);
    }
    return std::move(*value);
}

std::string Environment::ExpandWith(const std::string& text, bool strict) const
{
    if (text.find('%') == std::string::npos) {
        return text;
    }
    std::string result;
    result.reserve(text.size());
    auto copied = text.begin();
    for (boost::sregex_iterator match(text.begin(), text.end(), PlaceholderPattern()), end;
         match != end; ++match) {
        const boost::smatch& found = *match;
        result.append(copied, found[0].first);
        copied = found[0].second;
        const std::string key = found[1].str();
        if (std::optional<std::string> value = Lookup(key)) {
            result += *value;
        } else if (strict) {
            ICT_THROW("Unknown environment variable %1%", key);
        } else {
            result.append(found[0].first, found[0].second);
        }
    }
    result.append(copied, text.end());
    return result;
}

std::string Environment::ExpandStrict(const std::string& text) const
{
    return ExpandWith(text, true);
}

std::string Environment::Expand(const std::string& text) const
{
    return ExpandWith(text, false);
}

bool Environment::IsSameVariable(const std::string& left, const std::string& right) const
{
    return Placeholder2Key(left) == Placeholder2Key(right);
}

}  // namespace integrity_check_tool
