#include "manifest/environment.h"

#include <algorithm>

#include <boost/regex.hpp>

#include "exception.h"
#include "tracer.h"

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

bool Environment::AppendValue(const std::string& key, std::string& text) const
{
    // What expanding "%key%" against the process environment yields: keys
    // hold no '%', so only a defined, non-empty variable replaces it.
    if (process_) {
        const std::optional<std::string> value = process_->Get(key);
        if (value && !value->empty()) {
            text += *value;
            return true;
        }
    }
    const auto found = variables_.find(key);
    if (found == variables_.end()) {
        return false;
    }
    text += found->second;
    return true;
}

std::optional<std::string> Environment::Lookup(const std::string& key) const
{
    std::string value;
    if (AppendValue(key, value)) {
        return value;
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
    // Matches "%([^%]+)%" left to right, as a regular expression search would,
    // without one per path.
    std::string result;
    result.reserve(text.size());
    const std::size_t limit = std::max(text.size(), kMaxExpandedSize);
    const auto checkSize = [&](const std::string& key) {
        if (result.size() > limit) {
            ICT_THROW("Expansion of environment variable %1% is longer than %2% bytes", key, limit);
        }
    };
    std::string key;
    std::size_t copied = 0;
    std::size_t open = text.find('%');
    while (open != std::string::npos) {
        const std::size_t close = text.find('%', open + 1);
        if (close == std::string::npos) {
            break;
        }
        if (close == open + 1) {
            // "%%" names nothing; the second sign may open a placeholder.
            open = close;
            continue;
        }
        result.append(text, copied, open - copied);
        copied = close + 1;
        key.assign(text, open + 1, close - open - 1);
        if (!AppendValue(key, result)) {
            if (strict) {
                ICT_THROW("Unknown environment variable %1%", key);
            }
            result.append(text, open, close - open + 1);
        }
        checkSize(key);
        open = text.find('%', copied);
    }
    result.append(text, copied, std::string::npos);
    checkSize(key);
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
