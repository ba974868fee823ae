#include "vorn/vorn_exception.h"

namespace integrity_check_tool::vorn {

Exception::Exception(const std::string& step, Result code)
    : integrity_check_tool::Exception(Format("%1%: %2%", step, ResultMessage(code))), step_(step),
      code_(code)
{
}

}  // namespace integrity_check_tool::vorn
