#pragma once

#include <filesystem>

/// The engines that are compared. Each makes its files once (they are kept for the next run) and registers its
/// measurements.
namespace sides {

struct Files {
    std::filesystem::path folder;
    std::filesystem::path plain() const { return folder / "plain.mdb"; }     ///< no indexes
    std::filesystem::path indexed() const { return folder / "indexed.mdb"; } ///< Unvan and Tarih indexed
    std::filesystem::path keyed() const { return folder / "keyed.mdb"; }     ///< customers by number, a primary key
    std::filesystem::path customersCsv() const { return folder / "cari.csv"; }
    std::filesystem::path sqliteKeyed() const { return folder / "keyed.sqlite"; }
    std::filesystem::path sqlitePlain() const { return folder / "plain.sqlite"; }
    std::filesystem::path sqliteIndexed() const { return folder / "indexed.sqlite"; }
};

void prepareCsv(const Files& files);
void prepareJet(const Files& files);
void prepareSqlite(const Files& files);

void registerJet(const Files& files);
void registerSqlite(const Files& files);
void registerLibmdb(const Files& files); ///< reads the files of prepareJet
void registerDuckdb(const Files& files); ///< where it is installed; makes its files itself

} // namespace sides
