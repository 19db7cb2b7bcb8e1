#pragma once

#include "files/memory_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "tests/jet/random_rows.h"

#include <filesystem>
#include <memory>
#include <string>

/// A database of its own in memory, open for changes.
struct MemoryDatabase {
    explicit MemoryDatabase(std::filesystem::path name, jet::Collation collation = jet::turkish) : file(std::move(name))
    {
        jet::Database::create(disk, file, collation, rows::created);
        reopen();
    }
    void reopen(jet::Pager::Mode mode = jet::Pager::Mode::readWrite)
    {
        database.reset();
        database = jet::Database::open(disk, file, mode);
    }
    jet::Pager& pager() const { return database->pager(); }
    /// What a check finds, faults and warnings; empty where all is sound.
    std::string faults() const
    {
        const jet::CheckResult result = jet::checkDatabase(*database);
        std::string text;
        for (const auto* found : {&result.faults, &result.warnings})
            for (const std::string& each : *found) text += each + "; ";
        return text;
    }

    const std::filesystem::path file;
    files::MemoryDisk disk;
    std::unique_ptr<jet::Database> database;
};
