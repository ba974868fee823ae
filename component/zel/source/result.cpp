#include "zel/result.h"

#include <cstring>
#include <string>

namespace zel {

Result ResultFromErrno(int error) noexcept
{
    return error > 0 ? kSystemErrorBase - error : kFail;
}

std::string ResultMessage(Result result)
{
    if (result <= kSystemErrorBase) {
        const int error = kSystemErrorBase - result;
        char buffer[256] = {};
        // The GNU variant returns a pointer that may or may not be the buffer.
        return ::strerror_r(error, buffer, sizeof buffer);
    }
    switch (result) {
    case kOk:
        return "Success";
    case kFalse:
        return "False";
    case kFail:
        return "Unspecified failure";
    case kInvalidArgument:
        return "Invalid argument";
    case kNotImplemented:
        return "Not implemented";
    case kOutOfMemory:
        return "Out of memory";
    case kUnexpectedEnd:
        return "Unexpected end of stream";
    case kNotRegularFile:
        return "Not a regular file";
    case kTooLarge:
        return "Object is too large";
    case kPseudoFile:
        return "File is on a pseudo file system";
    case kChangedWhileRead:
        return "File changed while being read";
    default:
        return "Unknown result code " + std::to_string(result);
    }
}

}  // namespace zel
