#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

/// Databases written by Access itself. They are not part of the project; the environment variable PRESVA_SAMPLES
/// names a folder with them (sub-folders mdb/ and data/). Tests that want them are skipped where it is not set.
namespace samples {

inline std::string folder()
{
    const char* const set = std::getenv("PRESVA_SAMPLES");
    return set == nullptr ? std::string() : std::string(set);
}

inline bool present() { return !folder().empty(); }

inline const char* const absent = "PRESVA_SAMPLES names no folder of databases made by Access";

inline std::filesystem::path database(const std::string& name) { return std::filesystem::path(folder()) / name; }

/// Readable databases, full paths.
inline std::vector<std::filesystem::path> databases()
{
    std::vector<std::filesystem::path> files;
    if (!present()) return files;
    for (const char* const sub : {"mdb", "data"}) {
        if (!std::filesystem::exists(database(sub))) continue;
        std::vector<std::filesystem::path> found;
        for (const auto& entry : std::filesystem::directory_iterator(database(sub)))
            if (entry.is_regular_file() && entry.path().extension() == ".mdb" &&
                entry.path().filename() != "access97.mdb")
                found.push_back(std::filesystem::absolute(entry.path()));
        std::ranges::sort(found);
        files.insert(files.end(), found.begin(), found.end());
    }
    return files;
}

} // namespace samples
