#include "exception.h"

#include <boost/exception/diagnostic_information.hpp>
#include <zel/exception.h>

namespace integrity_check_tool {

Exception::Exception(const std::string& description) : description_(description)
{
    *this << Description(description);
}

std::string ExceptionMessage(const std::exception& error)
{
    if (const auto* own = dynamic_cast<const Exception*>(&error)) {
        return own->GetDescription();
    }
    return error.what();
}

std::string CurrentExceptionMessage()
{
    try {
        throw;
    } catch (const std::exception& error) {
        return ExceptionMessage(error);
    } catch (...) {
        return "Unknown exception";
    }
}

std::string DescribeCurrentException()
{
    try {
        throw;
    } catch (const zel::Exception& error) {
        return error.DisplayText();
    } catch (const boost::exception& error) {
        return boost::diagnostic_information(error);
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "Unknown exception";
    }
}

}  // namespace integrity_check_tool
