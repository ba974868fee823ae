#include "action/display_version.h"

#include <lum/result.h>
#include <lum/service.h>

#include "tracer.h"
#include "utils/utils.h"

namespace integrity_check_tool::action {

bool DisplayVersion::Run()
{
    console_->Write(kConsoleResult, VersionLine() + "\n");
    const char* gostVersion = nullptr;
    const std::int32_t result = crypto::lum::LumCryptoPro_GetGostLibraryVersionString(&gostVersion);
    if (result == crypto::lum::lumOk) {
        Trace(kTraceInfo, "GOST library version: %1%", gostVersion);
    } else {
        Trace(kTraceError, "LumCryptoPro_GetGostLibraryVersionString() failed; LumResult=%1%",
              crypto::lum::LumResultName(result));
    }
    return true;
}

}  // namespace integrity_check_tool::action
