// Placeholder expansion of manifest paths against arbitrary variables,
// compared with a plain regular-expression model of it. Input lines:
//   P name=value   process variable       E key=value   manifest variable
//   F path         file                   D path        directory
//   d path         file of the last directory
//   R path         registry key           T text        text expanded directly
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <boost/regex.hpp>
#include <zel/environment.h>

#include "exception.h"
#include "fuzz_target.h"
#include "manifest/environment.h"
#include "manifest/expand_visitor.h"
#include "manifest/manifest.h"

namespace {

using namespace integrity_check_tool;
using Variables = std::map<std::string, std::string>;

class MapVariables final : public zel::IEnvironmentVariables {
public:
    explicit MapVariables(const Variables& values) : values_(values) {}
    std::optional<std::string> Get(const std::string& name) const override
    {
        const auto found = values_.find(name);
        return found == values_.end() ? std::nullopt : std::optional(found->second);
    }

private:
    const Variables& values_;
};

void Check(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

// The model: one left-to-right search for %name%, each match replaced by
// what `lookup` finds or kept as written. `unknown` counts the kept ones.
template <class Lookup>
std::string ModelExpand(const std::string& text, Lookup lookup, std::size_t& unknown)
{
    static const boost::regex pattern("%([^%]+)%");
    unknown = 0;
    std::string result;
    auto copied = text.begin();
    for (boost::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end;
         ++match) {
        result.append(copied, (*match)[0].first);
        if (const std::optional<std::string> value = lookup((*match)[1].str())) {
            result += *value;
        } else {
            result += (*match)[0].str();
            ++unknown;
        }
        copied = (*match)[0].second;
    }
    result.append(copied, text.end());
    return result;
}

struct Model {
    Variables process;
    Variables table;

    std::optional<std::string> Lookup(const std::string& key) const
    {
        const auto set = process.find(key);
        if (set != process.end() && !set->second.empty()) {
            return set->second;
        }
        const auto found = table.find(key);
        return found == table.end() ? std::nullopt : std::optional(found->second);
    }
    std::string Expand(const std::string& text, std::size_t& unknown) const
    {
        return ModelExpand(
            text, [this](const std::string& key) { return Lookup(key); }, unknown);
    }
    std::string Expand(const std::string& text) const
    {
        std::size_t unknown = 0;
        return Expand(text, unknown);
    }
    // Whether expanding `text` is refused for its length.
    bool TooLong(const std::string& text) const
    {
        return Expand(text).size() > std::max(text.size(), Environment::kMaxExpandedSize);
    }
};

// "%name%" or a bare name, neither holding '%' inside.
std::optional<std::string> ModelKey(const std::string& text)
{
    if (text.size() > 2 && text.front() == '%' && text.back() == '%' &&
        text.find('%', 1) == text.size() - 1) {
        return text.substr(1, text.size() - 2);
    }
    if (!text.empty() && text.find('%') == std::string::npos) {
        return text;
    }
    return std::nullopt;
}

std::pair<std::string, std::string> Split(const std::string& line)
{
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) {
        return {line, std::string()};
    }
    return {line.substr(0, equals), line.substr(equals + 1)};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    Model model;
    Manifest manifest;
    std::vector<std::string> texts;
    for (std::size_t at = 0; at < input.size();) {
        std::size_t end = input.find('\n', at);
        if (end == std::string_view::npos) {
            end = input.size();
        }
        const std::string_view line = input.substr(at, end - at);
        at = end + 1;
        if (line.size() < 2 || line[1] != ' ') {
            continue;
        }
        const std::string rest(line.substr(2));
        switch (line[0]) {
        case 'P':
            model.process.insert_or_assign(Split(rest).first, Split(rest).second);
            break;
        case 'E': {
            EnvironmentInfo& variable = manifest.environments.emplace_back();
            std::tie(variable.key, variable.value) = Split(rest);
            break;
        }
        case 'F':
            manifest.files.Insert(FileInfo{{}, rest, {}});
            break;
        case 'D':
            manifest.directories.emplace_back().path = rest;
            break;
        case 'd':
            if (manifest.directories.empty()) {
                manifest.directories.emplace_back();
            }
            manifest.directories.back().files.Insert(FileInfo{{}, rest, {}});
            break;
        case 'R':
            manifest.registries.emplace_back().path = rest;
            break;
        case 'T':
            texts.push_back(rest);
            break;
        default:
            break;
        }
    }

    Environment environment("/opt/product/manifest.xml",
                            zel::MakeIntrusive<MapVariables>(model.process), nullptr);
    model.table = {{"ManifestPath", "/opt/product/manifest.xml"}, {"ProductRoot", "/opt/product"}};

    // Each definition is expanded against those before it, then stored;
    // the first bad one ends the pass with an Exception, as does a path
    // that expands too long.
    bool refused = false;
    for (const EnvironmentInfo& variable : manifest.environments) {
        const std::optional<std::string> key = ModelKey(variable.key);
        std::string value = model.Expand(variable.value);
        if (!key || value.empty() || model.TooLong(variable.value)) {
            refused = true;
            break;
        }
        model.table.insert_or_assign(*key, std::move(value));
    }
    const auto tooLong = [&model](const FileList& files) {
        return std::any_of(files.begin(), files.end(),
                           [&model](const FileInfo& file) { return model.TooLong(file.path); });
    };
    refused = refused || tooLong(manifest.files) ||
              std::any_of(manifest.directories.begin(), manifest.directories.end(),
                          [&](const DirectoryInfo& directory) {
                              return model.TooLong(directory.path) || tooLong(directory.files);
                          }) ||
              std::any_of(manifest.registries.begin(), manifest.registries.end(),
                          [&model](const RegistryKeyInfo& key) { return model.TooLong(key.path); });
    const Manifest original = manifest;
    ExpandVariablesManifestVisitor expand(environment, nullptr);
    try {
        manifest.Accept(expand);
        Check(!refused);
    } catch (const Exception&) {
        Check(refused);
        return 0;
    }

    // Expanded paths, files in path order again.
    const auto expandedFiles = [&model](const FileList& files) {
        std::vector<std::string> paths;
        for (const FileInfo& file : files) {
            paths.push_back(model.Expand(file.path));
        }
        std::sort(paths.begin(), paths.end());
        return paths;
    };
    const auto sortedPaths = [](const FileList& files) {
        Check(std::is_sorted(files.begin(), files.end(), FilePathLess()));
        std::vector<std::string> paths;
        for (const FileInfo& file : files) {
            paths.push_back(file.path);
        }
        std::sort(paths.begin(), paths.end());
        return paths;
    };
    Check(sortedPaths(manifest.files) == expandedFiles(original.files));
    for (std::size_t i = 0; i < manifest.directories.size(); ++i) {
        Check(manifest.directories[i].path == model.Expand(original.directories[i].path));
        Check(sortedPaths(manifest.directories[i].files) ==
              expandedFiles(original.directories[i].files));
    }
    for (std::size_t i = 0; i < manifest.registries.size(); ++i) {
        Check(manifest.registries[i].path == model.Expand(original.registries[i].path));
    }

    for (const std::string& text : texts) {
        std::size_t unknown = 0;
        const std::string expanded = model.Expand(text, unknown);
        const bool overlong = model.TooLong(text);
        try {
            Check(environment.Expand(text) == expanded && !overlong);
        } catch (const Exception&) {
            Check(overlong);
        }
        try {
            Check(environment.ExpandStrict(text) == expanded && unknown == 0 && !overlong);
        } catch (const Exception&) {
            Check(unknown != 0 || overlong);
        }
        const std::optional<std::string> key = ModelKey(text);
        const std::optional<std::string> value = key ? model.Lookup(*key) : std::nullopt;
        try {
            Check(environment.GetValue(text) == value);
        } catch (const Exception&) {
            Check(!value);
        }
        // The process environment alone, as the framework expands it.
        std::string framework;
        const zel::Result result =
            zel::ExpandEnvironmentStrings(text, framework, MapVariables(model.process));
        const std::string processOnly = ModelExpand(
            text,
            [&model](const std::string& name) -> std::optional<std::string> {
                const auto found = model.process.find(name);
                return found == model.process.end() || found->second.empty()
                           ? std::nullopt
                           : std::optional(found->second);
            },
            unknown);
        Check(framework == processOnly && result == (unknown == 0 ? zel::kOk : zel::kFalse));
    }
    return 0;
}
