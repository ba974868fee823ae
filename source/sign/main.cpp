#include "sign/tool.h"

int main(int argc, char** argv)
{
    return integrity_check_tool::sign::RunSignTool(argc, argv);
}
