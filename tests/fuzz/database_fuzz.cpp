// Opens, reads, checks and writes databases with damage in them.
//
//     database_fuzz [--count N] [--seed S] [--limit MILLISECONDS] [FILE ...]
//
// Each trial takes one database (made here, or a FILE), damages a copy in memory and uses it like any other. What must
// hold: no crash, no read outside memory (build with sanitizers), an answer within the limit, only files::Error thrown,
// and a file that the check found sound is still sound after it was written. A failing trial names its seed; running
// it alone with --count 1 --seed S repeats it.
//
// Every test run does a short round. The long one:  cmake --build --preset sanitize --target fuzz

#include "files/error.h"
#include "files/memory_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/care/rescue.h"
#include "store/jet/database/database.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/format/index_layout.h"
#include "store/jet/format/long_value_layout.h"
#include "store/jet/format/properties_layout.h"
#include "store/jet/format/row_page_layout.h"
#include "store/jet/sql/sql.h"
#include "tests/jet/chosen_rows.h"
#include "tests/jet/mixed_work.h"
#include "tests/jet/property_block.h"
#include "tests/jet/protection.h"
#include "tests/jet/related_tables.h"
#include "tests/support/chances.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <sys/time.h>
#include <unistd.h>

namespace {

using jet::pageSize;
namespace definition = jet::definition_layout;
namespace index_page = jet::index_layout;
namespace long_value = jet::long_value_layout;
namespace row_page = jet::row_page_layout;
using Content = std::vector<std::uint8_t>;

const std::filesystem::path file = "Yag.mdb";
const std::filesystem::path lockFile = "Yag.ldb";
volatile std::sig_atomic_t limitMs = 1000;
unsigned long currentSeed = 0;

void outOfTime(int)
{
    char line[80];
    const int length =
        std::snprintf(line, sizeof line, "seed %lu: no answer within %d ms\n", currentSeed, static_cast<int>(limitMs));
    if (::write(STDERR_FILENO, line, static_cast<std::size_t>(length)) < 0) ::_exit(3);
    std::abort(); // for the stack
}

void startClock(int milliseconds)
{
    struct itimerval timer = {};
    timer.it_value.tv_sec = milliseconds / 1000;
    timer.it_value.tv_usec = static_cast<suseconds_t>(milliseconds % 1000) * 1000;
    // Time of this process alone: a busy machine is no fault of the engine.
    ::setitimer(ITIMER_PROF, &timer, nullptr);
}

/// Tables that need one another, in a circle and among their own rows, with rules.
Content related()
{
    files::MemoryDisk disk;
    const char16_t* const one = u"Ana";
    const char16_t* const other = u"Yavru";
    related::createTables(disk, file, {one, other});
    auto database = jet::Database::open(disk, file);
    related::relate(*database, {u"AnaYavru", one, u"PrimaryKey", other, u"Üst", true, true});
    related::relate(*database, {u"YavruAna", other, u"PrimaryKey", one, u"Üst2", true, false, true});
    related::relate(*database, {u"Yavrular", other, u"PrimaryKey", other, u"Üst2", false, true});
    properties::put(*database, other,
                    {{{u"Ad", {{u"ValidationRule", u"Len([Ad])<25 Or Is Null"}, {u"AllowZeroLength", false}}},
                      {u"Üst", {{u"DefaultValue", u"1"}}}}});
    database = {};
    database = jet::Database::open(disk, file);
    jet::Transaction change(database->pager());
    for (int i = 0; i < 20; ++i) database->table(one).insert({});
    for (std::int32_t i = 1; i <= 120; ++i)
        database->table(other).insert(
            {{related::parent, 1 + i % 20}, {related::second, i > 10 ? jet::Value(i / 3) : jet::Value()}});
    change.commit();
    return disk.content(file);
}

/// Databases with something of everything in them: moved rows, split indexes, long values, deleted rows.
std::vector<Content> homemade()
{
    std::vector<Content> made;
    for (const unsigned seed : {1U, 2U}) {
        files::MemoryDisk disk;
        MixedWork::create(disk, file);
        MixedWork work(seed);
        MixedWork::Rows rows;
        {
            const auto database = jet::Database::open(disk, file);
            jet::Transaction change(database->pager());
            for (int i = 0; i < (seed == 1 ? 60 : 250); ++i) work.change(*database, rows);
            change.commit();
        }
        made.push_back(disk.content(file));
    }
    made.push_back(related());
    return made;
}

class Damage {
public:
    Damage(Content& bytes, std::mt19937& random) : bytes_(bytes), random_(random) {}

    void inflict()
    {
        for (auto n = 1 + below(4); n > 0; --n) {
            drawn(static_cast<int>(below(13)),
                  {
                      {2, [&] { bytes_[anywhere()] ^= static_cast<std::uint8_t>(1U << below(8)); }},
                      {2, [&] { bytes_[anywhere()] = static_cast<std::uint8_t>(random_()); }},
                      {1, [&] { fillSome(); }},
                      {1, [&] { swapPages(); }},
                      {1, [&] { std::copy_n(page(somePage()), pageSize, page(somePage())); }},
                      {1, [&] { cutOff(); }},
                      {2, [&] { pointElsewhere(); }},
                      {1, [&] { wrongSlot(); }},
                      {1, [&] { wrongNumber(); }},
                      {1, [&] { wrongProperties(); }},
                  });
            if (pages() < 3) return;
        }
    }

private:
    std::size_t below(std::size_t limit) { return random_() % limit; }
    std::size_t pages() const { return bytes_.size() / pageSize; }
    std::size_t somePage() { return below(pages()); }
    std::uint8_t* page(std::size_t number) { return bytes_.data() + number * pageSize; }
    /// Mostly where pages have their headers and tables, which decide more than the rest.
    std::size_t anywhere()
    {
        if (below(3) == 0) return below(bytes_.size());
        return std::min(somePage() * pageSize + below(below(2) == 0 ? 32 : 600), bytes_.size() - 1);
    }
    void fillSome()
    {
        const std::size_t at = anywhere();
        const std::size_t count = std::min(bytes_.size() - at, 1 + below(64));
        const auto with = static_cast<std::uint8_t>(below(2) == 0 ? 0xFF : below(256));
        std::fill_n(bytes_.begin() + static_cast<std::ptrdiff_t>(at), count, with);
    }
    void cutOff()
    {
        if (below(4) == 0) bytes_.resize(std::max<std::size_t>(anywhere(), 1));
    }
    void swapPages()
    {
        const std::size_t one = somePage();
        std::swap_ranges(page(one), page(one) + pageSize, page(somePage()));
    }
    /// Page numbers where pages refer to one another: often to themselves or to a neighbour, which makes circles.
    void pointElsewhere()
    {
        const std::size_t number = somePage();
        std::uint8_t* const bytes = page(number);
        const jet::PageNo target(below(4) == 0 ? number : below(4) == 0 ? random_() : somePage());
        switch (static_cast<jet::PageType>(*bytes)) {
        case jet::PageType::tableDefinition:
            if (below(2) == 0)
                definition::page::next.put(bytes, target);
            else if (below(2) == 0)
                definition::head::owned.page.put(bytes, target);
            else
                definition::head::freeSpace.page.put(bytes, target);
            break;
        case jet::PageType::indexNode:
        case jet::PageType::indexLeaf: {
            constexpr std::size_t links[] = {index_page::owner.begin, index_page::previous.begin,
                                             index_page::next.begin, index_page::tail.begin};
            if (below(3) > 0)
                jet::putU32(bytes + links[below(4)], target.number());
            else
                jet::putU32(bytes + index_page::area.begin + below(600), target.number() << 8);
            break;
        }
        default: {
            const std::size_t at = 200 + below(pageSize - 210);
            if (isPartOfLongValues(bytes) && below(4) > 0)
                chainElsewhere(bytes);
            else if (isPartOfLongValues(bytes) || below(4) > 0)
                jet::putU24(bytes + at, target.number());
            else
                longValueElsewhere(bytes);
        }
        }
    }
    static bool isPartOfLongValues(const std::uint8_t* bytes)
    {
        return row_page::owner.get(bytes) == row_page::longValueOwner;
    }
    /// Where the row of one of the first slots begins; the page's end where it would lie behind that.
    std::size_t someRow(const std::uint8_t* bytes)
    {
        const std::size_t slots = std::clamp<std::size_t>(row_page::slotCount.get(bytes), 1, 300);
        const std::size_t at = jet::getU16(bytes + row_page::slotAt(jet::SlotNo(below(slots)))) & row_page::offsetMask;
        return std::min(at, pageSize);
    }
    std::vector<std::size_t> longValuePages()
    {
        std::vector<std::size_t> found;
        for (std::size_t each = 1; each < pages(); ++each)
            if (isPartOfLongValues(page(each))) found.push_back(each);
        return found;
    }
    /// Where a part of a long value says that the next one stands: another such page, often its own.
    void chainElsewhere(std::uint8_t* bytes)
    {
        const std::vector<std::size_t> parts = longValuePages();
        const std::size_t at = someRow(bytes);
        if (at + long_value::piece > pageSize || parts.empty()) return;
        long_value::nextPiece.slot.put(bytes + at, jet::SlotNo(below(4) == 0 ? below(5) : 0));
        long_value::nextPiece.page.put(bytes + at, jet::PageNo(parts[below(parts.size())]));
    }
    /// What a row says of its long value: another length or kind, or a place that may be another value's.
    void longValueElsewhere(std::uint8_t* bytes)
    {
        const std::vector<std::size_t> parts = longValuePages();
        const std::size_t row = someRow(bytes);
        const std::size_t at = row + below(40);
        if (at + long_value::reference > pageSize || parts.empty()) return;
        if (below(2) == 0)
            long_value::lengthAndKind.put(bytes + at, static_cast<std::uint32_t>(random_()));
        else
            long_value::place.page.put(bytes + at, jet::PageNo(parts[below(parts.size())]));
    }
    void wrongSlot()
    {
        std::uint8_t* const bytes = page(somePage());
        std::uint8_t* const slot = bytes + row_page::slotAt(jet::SlotNo(below(40)));
        jet::putU16(slot, below(2) == 0 ? static_cast<std::uint32_t>(random_())
                                        : jet::getU16(slot) ^ (unsigned{row_page::pointerFlag} << below(2)));
    }
    void wrongNumber()
    {
        std::uint8_t* const bytes = page(somePage());
        jet::putU32(bytes + below(70), static_cast<std::uint32_t>(below(2) == 0 ? random_() : below(300)));
    }

    /// In the block that says what a table demands of its rows.
    void wrongProperties()
    {
        const auto& signature = jet::properties_layout::signature;
        const auto block = std::search(bytes_.begin(), bytes_.end(), signature.begin(), signature.end());
        const auto room = static_cast<std::size_t>(bytes_.end() - block);
        if (room == 0) return;
        std::uint8_t& byte = block[static_cast<std::ptrdiff_t>(below(std::min<std::size_t>(room, 300)))];
        byte = below(2) == 0 ? static_cast<std::uint8_t>(random_()) : static_cast<std::uint8_t>(byte ^ 1U << below(8));
    }

    Content& bytes_;
    std::mt19937& random_;
};

/// What a trial came to; counted, so that a round that never gets past opening is seen.
struct Counts {
    unsigned long covered = 0;
    unsigned long locked = 0; ///< with a damaged lock file beside them
    unsigned long opened = 0;
    unsigned long sound = 0;
    unsigned long written = 0;
    unsigned long rescued = 0;
    unsigned long compacted = 0;
};

/// A refusal is an answer. Anything else that is thrown ends the program.
template <class Action> bool attempt(Action&& action)
{
    try {
        action();
        return true;
    } catch (const files::Error&) {
        return false;
    }
}

void readTable(jet::Database& database, const std::u16string& name)
{
    const jet::Table& table = database.table(name);
    std::size_t seen = 0;
    table.scan(
        [&](jet::RowId id, const jet::RowView& row) {
            for (std::size_t column = 0; column < table.columns().size(); ++column) attempt([&] { row.value(column); });
            attempt([&] { table.row(id); });
            ++seen;
            return true;
        },
        [](jet::RowId, const std::string&) {});
    for (const jet::Index& index : table.indexes())
        attempt([&] {
            for (const jet::RowId id : table.range(index, {}, {})) attempt([&] { table.row(id); });
        });
    attempt(
        [&] { jet::select(database, u"Select * From [" + name + u"] Order By [" + table.columns()[0].name + u"]"); });
}

void writeTable(jet::Database& database, const std::u16string& name, std::mt19937& random, bool& wrote)
{
    jet::Table& table = database.table(name);
    std::vector<jet::RowId> rows;
    attempt([&] {
        table.scan(
            [&](jet::RowId id, const jet::RowView&) {
                rows.push_back(id);
                return rows.size() < 200;
            },
            [](jet::RowId, const std::string&) {});
    });
    const auto some = [&] { return rows[random() % rows.size()]; };
    for (std::size_t column = 0; column < table.columns().size(); ++column) {
        if (table.columns()[column].type != jet::ColumnType::text) continue;
        const std::u16string text(random() % 30, static_cast<char16_t>(u'a' + random() % 26));
        wrote |= attempt([&] { table.insert({{column, text}}); });
        if (!rows.empty()) wrote |= attempt([&] { table.update(some(), {{column, text}}); });
    }
    if (!rows.empty()) wrote |= attempt([&] { table.erase(some()); });
    if (random() % 8 == 0) wrote |= attempt([&] { table.eraseAll(); });
    if (random() % 8 == 0 && !table.indexes().empty())
        wrote |= attempt([&] { database.dropIndex(name, table.indexes()[0].names.at(0)); });
}

using Rows = std::map<std::u16string, std::uint64_t>;

Rows rowsOf(jet::Database& database)
{
    Rows rows;
    for (const std::u16string& name : database.tableNames()) rows[name] = allRows(database.table(name)).size();
    return rows;
}

/// Whatever is saved of a damaged file is a sound file, and of a file that was sound to the check (`all`) it is
/// every row. More only where rescue says that something speaks against them: a row that nothing leads to any more is
/// what it looks for.
bool rescueHolds(const Content& damaged, unsigned long seed, const Rows* all, Counts& counts)
{
    files::MemoryDisk disk;
    disk.content(file) = damaged;
    const std::filesystem::path to = "Kurtarilan.mdb";
    try {
        const jet::RescueResult result = jet::rescue(disk, file, to, jet::DateTime{45000});
        ++counts.rescued;
        const auto database = jet::Database::open(disk, to, jet::Pager::Mode::readOnly);
        Rows saved = rowsOf(*database);
        for (const auto& table : result.tables)
            if (saved[table.name] != table.rows) throw std::runtime_error("another number of rows than was told");
        if (!all) return true;
        // All together: a table whose name cannot be written got another one.
        const auto sum = [](const Rows& tables) {
            std::uint64_t count = 0;
            for (const auto& [name, rows] : tables) count += rows;
            return count;
        };
        if (sum(saved) < sum(*all)) throw std::runtime_error("rows of a sound file were lost");
        if (sum(saved) > sum(*all) && result.whole())
            throw std::runtime_error("more rows than a sound file had, without a word");
        return true;
    } catch (const files::Error& error) {
        // A header that seems to be that of another kind of file, or nothing left: those are answers too.
        using files::Fault;
        for (const Fault answer : {Fault::notADatabase, Fault::oldFormat, Fault::newFormat})
            if (error.fault() == answer) return true;
        std::fprintf(stderr, "seed %lu: rescue: %s\n", seed, error.what());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "seed %lu: rescue: %s\n", seed, error.what());
    }
    return false;
}

/// A file that was sound to the check is compacted, or what it cannot carry is named; every row is in the new file.
bool compactHolds(const Content& damaged, unsigned long seed, const Rows* all, Counts& counts)
{
    files::MemoryDisk disk;
    disk.content(file) = damaged;
    const std::filesystem::path to = "Yogun.mdb";
    try {
        jet::compact(disk, *jet::Database::open(disk, file, jet::Pager::Mode::readOnly), to);
        ++counts.compacted;
        if (!all || rowsOf(*jet::Database::open(disk, to, jet::Pager::Mode::readOnly)) == *all) return true;
        std::fprintf(stderr, "seed %lu: compacted to other rows\n", seed);
    } catch (const files::Error& error) {
        if (!all || error.fault() == files::Fault::unsupported) return !disk.exists(to);
        std::fprintf(stderr, "seed %lu: sound, but not compacted: %s\n", seed, error.what());
    }
    return false;
}

bool trial(const Content& original, unsigned long seed, Counts& counts)
{
    std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
    files::MemoryDisk disk;
    Content& bytes = disk.content(file);
    bytes = original;
    Damage(bytes, random).inflict();
    // Damage under covered pages, and upon them; the first page may be gone.
    const bool isCovered = random() % 8 == 0 && bytes.size() >= pageSize;
    if (isCovered) protection::cover(bytes, static_cast<std::uint32_t>(random()) | 1);
    if (isCovered && random() % 2 == 0) Damage(bytes, random).inflict();
    if (random() % 8 == 0) {
        // What a crash left of a lock file, or something else by its name.
        Content& lock = disk.content(lockFile);
        lock.resize(random() % 1200);
        for (std::uint8_t& byte : lock) byte = static_cast<std::uint8_t>(random());
        ++counts.locked;
    }

    const Content damaged = bytes;
    bool sound = false;
    bool wrote = false;
    Rows rows;
    const bool opened = attempt([&] {
        const auto database = jet::Database::open(disk, file);
        ++counts.opened;
        const jet::CheckResult check = jet::checkDatabase(*database);
        sound = check.ok();
        if (sound) ++counts.sound;
        if (sound) rows = rowsOf(*database);
        for (const auto& entry : database->allTables()) attempt([&] { readTable(*database, entry.first); });
        for (const std::u16string& name : database->tableNames())
            attempt([&] { writeTable(*database, name, random, wrote); });
        if (random() % 4 == 0)
            wrote |= attempt([&] {
                database->createTable(u"Yeni", {{u"Ad", jet::ColumnType::text, 20}}, {}, jet::DateTime{45000});
            });
    });
    if (wrote) ++counts.written;
    if (isCovered) ++counts.covered;
    if (isCovered && bytes != damaged && jet::pageKeyOf(std::span(damaged).first<pageSize>()) != 0) {
        std::fprintf(stderr, "seed %lu: covered pages were written\n", seed);
        return false;
    }
    if (!rescueHolds(damaged, seed, opened && sound ? &rows : nullptr, counts)) return false;
    if (!compactHolds(damaged, seed, opened && sound ? &rows : nullptr, counts)) return false;
    if (!opened || !wrote || !sound) return true;
    std::string what;
    const bool reopened = attempt([&] {
        const auto database = jet::Database::open(disk, file);
        const auto result = jet::checkDatabase(*database);
        if (!result.ok()) what = result.faults.front();
    });
    if (reopened && what.empty()) return true;
    std::fprintf(stderr, "seed %lu: sound before it was written, not after: %s\n", seed, what.c_str());
    return false;
}

Content contentOf(const char* name)
{
    std::ifstream stream(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

// What escapes main ends the program with a message, which is what a fuzz is for.
int main(int argc, char** argv) // NOLINT(bugprone-exception-escape) a failure of the fuzz itself must stop it
{
    unsigned long count = 1000;
    unsigned long seed = 1;
    std::vector<Content> originals = homemade();
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const auto number = [&] { return i + 1 < argc ? std::strtoul(argv[++i], nullptr, 10) : 0; };
        if (argument == "--count")
            count = number();
        else if (argument == "--seed")
            seed = number();
        else if (argument == "--limit")
            limitMs = static_cast<std::sig_atomic_t>(number());
        else if (originals.push_back(contentOf(argv[i])); originals.back().size() < pageSize) {
            std::fprintf(stderr,
                         "%s: no database. usage: database_fuzz [--count N] [--seed N] [--limit MS] [FILE ...]\n",
                         argv[i]);
            return 2;
        }
    }
    std::signal(SIGPROF, outOfTime);
    Counts counts;
    int failures = 0;
    double longest = 0;
    for (unsigned long i = 0; i < count; ++i, ++seed) {
        currentSeed = seed;
        const auto begun = std::chrono::steady_clock::now();
        startClock(limitMs);
        try {
            if (!trial(originals[seed % originals.size()], seed, counts)) ++failures;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "seed %lu: %s\n", seed, error.what());
            ++failures;
        }
        startClock(0);
        longest = std::max(longest, std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count());
    }
    std::printf("%lu damaged files, %lu of them covered, %lu beside a damaged lock file: %lu opened, %lu of them sound "
                "to the check, %lu written, %lu rescued, %lu compacted; longest %.0f ms; %d failures\n",
                count, counts.covered, counts.locked, counts.opened, counts.sound, counts.written, counts.rescued,
                counts.compacted, longest * 1000, failures);
    return failures == 0 ? 0 : 1;
}
