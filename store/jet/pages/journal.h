#pragma once

#include "store/jet/format/doors.h"
#include "store/jet/format/format.h"

#include <functional>
#include <optional>
#include <span>

/// The rollback journal: old contents of the pages that a commit is about to overwrite (format/journal_layout.h draws
/// it). Private to the Pager.
///
/// A journal counts only when the header and every record verify. Otherwise it was never synced as a whole, and then no
/// page of the database had been touched yet. Zeros over the header strike it out.
namespace jet {

/// Checksum of a page under a seed. Not meant to resist forgery.
std::uint64_t pageHash(std::uint64_t seed, PageView page);

struct JournalHeader {
    std::uint64_t salt = 0;    ///< new for every commit: records of an earlier one never verify
    PageCount pagesBefore = 0; ///< length of the database to go back to
    std::uint32_t records = 0;
    std::uint64_t othersDigest = 0; ///< sum of pageHash(number, page) over pages below pagesBefore without a record
};

struct OldPage {
    PageNo page = 0;
    const std::uint8_t* image = nullptr; ///< pageSize bytes
};

/// Writes a whole journal from the file's start; the caller syncs.
void writeJournal(File& journal, JournalHeader header, std::span<const OldPage> pages);
/// Writes the header block alone again: arms a journal that was struck out and not overwritten since.
void writeJournalHeader(File& journal, const JournalHeader& header);
/// The header of a journal that counts; nothing for a struck out, half-written or foreign file.
std::optional<JournalHeader> readJournal(File& journal);
/// Calls `visit` for every record. Only after readJournal() said that the journal counts.
void forEachOldPage(File& journal, const JournalHeader& header, const std::function<void(PageNo, PageView)>& visit);
/// Strikes the journal out; the caller syncs.
void strikeOutJournal(File& journal);

} // namespace jet
