#include "utils/closing_line.h"

#include <iostream>

#include "exception.h"
#include "utils/utils.h"

namespace integrity_check_tool {

int RunWithClosingLine(const std::function<Outcome()>& body)
{
    try {
        SetUpGlobalLocale();
        switch (body()) {
        case Outcome::Succeeded:
            std::cout << "SUCCEEDED" << std::endl;
            return 0;
        case Outcome::Failed:
            std::cerr << "FAILED" << std::endl;
            return 1;
        case Outcome::Quiet:
            std::cout.flush();
            return 0;
        }
    } catch (...) {
        // What the program printed comes before the reason it stopped.
        std::cout.flush();
        std::cerr << DescribeCurrentException() << '\n' << "FAILED" << std::endl;
    }
    return 1;
}

}  // namespace integrity_check_tool
