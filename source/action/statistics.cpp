#include "action/statistics.h"

#include "format.h"

namespace integrity_check_tool {

namespace {

struct KindTexts {
    const char* name;
    const char* summary;
};

constexpr std::array<KindTexts, 5> kKinds{{
    {"manifest", "\tManifests: %1% / %2% / %3%\n"},
    {"file", "\tFiles: %1% / %2% / %3%\n"},
    {"directory", "\tDirectories: %1% / %2% / %3%\n"},
    {"registry path", "\tRegistries: %1% / %2% / %3%\n"},
    {"registry value", "\tRegistry values: %1% / %2% / %3%\n"},
}};

}  // namespace

const char* KindName(ObjectKind kind)
{
    return kKinds.at(static_cast<std::size_t>(kind)).name;
}

void Statistics::WriteSummary(IConsole& console) const
{
    std::string text = "===============================================>\n"
                       "Summary( failed / skipped / succeeded ):\n";
    for (std::size_t i = 0; i < counts_.size(); ++i) {
        text +=
            Format(kKinds[i].summary, counts_[i].failed, counts_[i].skipped, counts_[i].succeeded);
    }
    console.Write(kConsoleResult, text);
}

}  // namespace integrity_check_tool
