#include "zel/exception.h"

#include <string>

namespace zel {

Exception::Exception(Result result, const char* file, int line)
    : result_(result), file_(file), line_(line)
{
    text_ = "Error " + std::to_string(result) + " (" + ResultMessage(result) + ") at " + file +
            ":" + std::to_string(line);
}

}  // namespace zel
