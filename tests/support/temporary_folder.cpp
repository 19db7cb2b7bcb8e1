#include "tests/support/temporary_folder.h"

#include <random>
#include <string>
#include <system_error>

TemporaryFolder::TemporaryFolder()
{
    // Other tests do the same at this moment: the number is random, and a folder that is there already is somebody's.
    std::random_device number;
    std::error_code error;
    do {
        path_ = std::filesystem::temp_directory_path() / ("presva-test-" + std::to_string(number()));
    } while (!std::filesystem::create_directory(path_, error) && !error);
    if (error) throw std::system_error(error, path_.string());
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
}

TemporaryFolder::~TemporaryFolder()
{
    // What a test left protected stays behind in the system's folder: no failure of the test.
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}
