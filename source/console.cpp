#include "console.h"

namespace integrity_check_tool {

Console::Console(bool verbose, std::ostream& output, std::ostream& error)
    : verbose_(verbose), output_(output), error_(error)
{
}

bool Console::IsShown(std::uint32_t level) const
{
    return level == kConsoleResult || level == kConsoleFailure ||
           (level == kConsoleDetail && verbose_);
}

void Console::Write(std::uint32_t level, const std::string& text)
{
    std::ostream* stream = nullptr;
    if (level == kConsoleResult || (level == kConsoleDetail && verbose_)) {
        stream = &output_;
    } else if (level == kConsoleFailure) {
        stream = &error_;
    }
    if (stream != nullptr) {
        *stream << text;
        stream->flush();
    }
}

}  // namespace integrity_check_tool
