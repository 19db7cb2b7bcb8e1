#include "platform/system_disk.h"
#include "tools/database_tool.h"

#include <string>
#include <vector>

int main(int argc, char** argv)
{
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return tools::runDatabaseTool(platform::systemDisk(), arguments);
}
