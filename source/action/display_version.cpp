#include "action/display_version.h"

#include "utils/utils.h"

namespace integrity_check_tool::action {

bool DisplayVersion::Run()
{
    console_->Write(kConsoleResult, VersionLine() + "\n");
    return true;
}

}  // namespace integrity_check_tool::action
