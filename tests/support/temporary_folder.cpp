#include "tests/support/temporary_folder.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

TemporaryFolder::TemporaryFolder()
{
    std::string name = (std::filesystem::temp_directory_path() / "presva-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), name);
    path_ = name;
}

TemporaryFolder::~TemporaryFolder()
{
    // What a test left protected stays behind in the system's folder: no failure of the test.
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}
