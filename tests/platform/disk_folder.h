#pragma once

#include "tests/jet/blank_file.h"
#include "tests/support/files.h"
#include "tests/support/temporary_folder.h"

#include <filesystem>
#include <gtest/gtest.h>

/// Each test of the system's disk has a folder of its own.
class SystemDisk : public testing::Test {
protected:
    std::filesystem::path path(const char* name) const { return folder_ / name; }
    std::filesystem::path blank(const char* name) const
    {
        writeFile(path(name), blankFile());
        return path(name);
    }

private:
    TemporaryFolder folder_;
};
