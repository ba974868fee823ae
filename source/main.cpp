#include <memory>

#include "arguments/checker.h"
#include "arguments/entry.h"
#include "arguments/full.h"
#include "arguments/tester.h"

int main(int argc, char** argv)
{
    using namespace integrity_check_tool;
    return RunProgram(argc, argv, [] { return std::make_shared<ICT_ARGUMENTS_CLASS>(); });
}
