#include "platform/console.h"
#include "platform/system_disk.h"
#include "tools/database_tool.h"

int main(int argc, char** argv)
{
    return tools::runDatabaseTool(platform::systemDisk(), platform::commandWords(argc, argv));
}
