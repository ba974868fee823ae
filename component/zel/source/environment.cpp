#include "zel/environment.h"

#include <cstdlib>

namespace zel {

namespace {

class ProcessEnvironment final : public IEnvironmentVariables {
public:
    std::optional<std::string> Get(const std::string& name) const override
    {
        const char* value = std::getenv(name.c_str());
        if (value == nullptr) {
            return std::nullopt;
        }
        return std::string(value);
    }
};

}  // namespace

IEnvironmentVariablesPtr CreateProcessEnvironment()
{
    return MakeIntrusive<ProcessEnvironment>();
}

Result ExpandEnvironmentStrings(std::string_view text, std::string& expanded,
                                const IEnvironmentVariables& variables)
{
    std::string out;
    out.reserve(text.size());
    Result result = kOk;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t open = text.find('%', at);
        if (open == std::string_view::npos) {
            break;
        }
        const std::size_t close = text.find('%', open + 1);
        if (close == std::string_view::npos) {
            break;
        }
        if (close == open + 1) {
            // "%%" names nothing; the second sign may open a placeholder.
            out.append(text.substr(at, close - at));
            at = close;
            continue;
        }
        out.append(text.substr(at, open - at));
        const std::string name(text.substr(open + 1, close - open - 1));
        const std::optional<std::string> value = variables.Get(name);
        if (value && !value->empty()) {
            out += *value;
        } else {
            out.append(text.substr(open, close - open + 1));
            result = kFalse;
        }
        at = close + 1;
    }
    out.append(text.substr(std::min(at, text.size())));
    expanded = std::move(out);
    return result;
}

}  // namespace zel
