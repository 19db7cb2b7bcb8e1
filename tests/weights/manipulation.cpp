// Every manipulation of the book and of the journal is found, and the first line that is not as it was is named.
//
//     PRESVA_MANIPULATIONS=10000 build/test/tests/tests_weights manipulation
#include "files/memory_disk.h"
#include "mill/tables.h"
#include "store/jet/database/database.h"
#include "tests/support/text.h"
#include "tests/weights/season.h"
#include "weights/verification.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>

using namespace weights;
using files::MemoryDisk;

namespace {

const std::filesystem::path folder = "degirmen";
const std::filesystem::path database = folder / "Yag.mdb";

/// The book's lines as texts, and which file each stands in.
struct Book {
    std::vector<std::pair<std::filesystem::path, std::string>> lines;

    void read(MemoryDisk& disk)
    {
        lines.clear();
        for (const PlacedLine& each : allLines(disk, folder)) lines.emplace_back(each.file, each.text);
    }
    void write(MemoryDisk& disk) const
    {
        for (const auto& file : bookFiles(disk, folder)) disk.content(file).clear();
        for (const auto& [file, text] : lines) {
            auto& content = disk.content(file);
            content.insert(content.end(), text.begin(), text.end());
            content.push_back('\n');
        }
    }
};

/// Two seasons of a mill: its book, its journal, and what its log saw of the book.
class Mill {
public:
    Mill()
    {
        mill::createDatabase(disk, database, jet::turkish, jet::DateTime{45000});
        const auto file = jet::Database::open(disk, database);
        for (int i = 0; i < older; ++i) add(*file, season::pressing(season::day(2025, 1, 5 + i), "Eski", 500, i));
        WeightBook book(disk, folder);
        std::mt19937 luck(7);
        std::uint64_t veli = 0;
        const std::array<std::string, 5> names = {"Ali", "Veli", "Işıl", "O'Hara", "Şükrü Öz"};
        for (int job = 1; job <= pressings; ++job) {
            const double moment =
                job <= pressings / 2 ? season::day(2025, 2, 1) + job / 100.0 : season::day(2025, 11, 1) + job / 100.0;
            Pressing made =
                season::pressing(jet::DateTime{std::round(moment * 86400) / 86400}.days, names[luck() % names.size()],
                                 200 + static_cast<double>(luck() % 3000), job);
            if (job == 1) made.before = older;
            season::write(book, made);
            add(*file, made);
            if (made.customer == "Veli") ++veli;
            if (job == 40) {
                season::write(book, Deletion{made.moment, "Veli", veli, older});
                erase(*file, u"Veli");
            }
            if (job == 1 || job == 40 || book.head().number % linesToALoggedHead == 0 || job == pressings)
                seen.push_back({"", book.head().number, book.head().seal});
        }
    }

    static void add(jet::Database& to, const Pressing& made)
    {
        to.table(u"Hareket")
            .insert({{0, jet::DateTime{made.moment}},
                     {1, made.olives},
                     {2, made.oil},
                     {3, made.percentage},
                     {4, made.entitlement},
                     {5, made.fee},
                     {6, jet::fromUtf8(made.customer)}});
    }
    static void erase(jet::Database& from, std::u16string_view customer)
    {
        std::vector<jet::RowId> gone;
        from.table(u"Hareket").forEachRow([&](jet::RowId id, const jet::RowView& row) {
            if (row.textIs(6, customer)) gone.push_back(id);
            return true;
        });
        for (const jet::RowId id : gone) from.table(u"Hareket").erase(id);
    }

    static constexpr int older = 4;
    static constexpr int pressings = 70;
    MemoryDisk disk;
    std::vector<LoggedHead> seen;
};

/// What a verification says.
struct Verdict {
    std::optional<ChainFault> chain, log;
    std::vector<std::string> rows;
    bool clean() const { return !chain && !log && rows.empty(); }
};

Verdict verify(MemoryDisk& disk, const std::vector<LoggedHead>& seen)
{
    const auto lines = allLines(disk, folder);
    const auto file = jet::Database::open(disk, database, jet::Pager::Mode::readOnly);
    return {firstFault(lines), firstFault(lines, seen), differences(lines, seen, file->table(u"Hareket")).faults};
}

/// One manipulation after the other, each of a mill that nobody has touched yet.
class Forger {
public:
    Forger(const Mill& mill, unsigned seed) : mill_(mill), luck_(seed) {}

    MemoryDisk disk;
    /// The place in the whole book at which the first line is not as it was; nothing where only the journal changed.
    std::optional<std::size_t> place;
    /// The chain fits together, so that only log or journal can tell.
    bool chainFits = false;
    /// What a sentence about the journal must hold; empty where the journal is as it was.
    std::string row;

    static constexpr int ways = 18;
    void manipulate(int way)
    {
        copy();
        book_.read(disk);
        const std::size_t count = book_.lines.size();
        const std::size_t at = upTo(count - 1);
        if (way < 12) {
            place = at;
            inTheBook(way, at);
            book_.write(disk);
        } else {
            inTheJournal(way);
        }
    }

private:
    std::size_t upTo(std::size_t last) { return std::uniform_int_distribution<std::size_t>(0, last)(luck_); }

    void copy()
    {
        auto& from = const_cast<MemoryDisk&>(mill_.disk);
        for (const auto& file : from.names(folder)) disk.content(folder / file) = from.content(folder / file);
    }

    /// The line with a figure or a word changed, and a seal that fits it.
    std::string forged(const std::string& text, const std::string& previous)
    {
        Line line = *read(text);
        if (auto* pressing = std::get_if<Pressing>(&line.fact)) {
            switch (upTo(5)) {
            case 0:
                pressing->olives += 10;
                break;
            case 1:
                pressing->oil -= 1;
                break;
            case 2:
                pressing->customer += "x";
                break;
            case 3:
                pressing->olivesFrom = pressing->olivesFrom.source == mill::WeightSource::scale
                                           ? mill::Weighing{}
                                           : mill::Weighing{mill::WeightSource::scale, "1kg\r", pressing->moment};
                break;
            case 4:
                pressing->station = 3 - pressing->station;
                break;
            default:
                pressing->job += 1;
                break;
            }
        } else {
            auto& deletion = std::get<Deletion>(line.fact);
            deletion.customer = *deletion.customer + "x";
        }
        return written(line.number, line.fact, previous.empty() ? line.previous : previous);
    }

    void reseal(std::size_t from)
    {
        std::string previous = read(book_.lines[from - 1].second)->seal;
        for (std::size_t i = from; i < book_.lines.size(); ++i) {
            const Line line = *read(book_.lines[i].second);
            book_.lines[i].second = written(i + 1, line.fact, previous);
            previous = read(book_.lines[i].second)->seal;
        }
    }

    auto iterator(std::size_t at) { return book_.lines.begin() + static_cast<std::ptrdiff_t>(at); }

    void inTheBook(int way, std::size_t at)
    {
        auto& lines = book_.lines;
        switch (way) {
        case 0: { // one byte
            char& byte = lines[at].second[upTo(lines[at].second.size() - 1)];
            byte = static_cast<char>(byte + 1 + static_cast<char>(upTo(254)));
            break;
        }
        case 1: // a figure, and the line's own seal
            lines[at].second = forged(lines[at].second, {});
            chainFits = at + 1 == lines.size();
            break;
        case 2: // a figure, and every seal from there on
            lines[at].second = forged(lines[at].second, {});
            if (at + 1 < lines.size()) reseal(at + 1);
            chainFits = true;
            break;
        case 3: // one line out
            lines.erase(iterator(at));
            chainFits = at == lines.size();
            break;
        case 4: { // some lines out
            const std::size_t end = std::min(lines.size(), at + 2 + upTo(8));
            lines.erase(iterator(at), iterator(end));
            chainFits = at == lines.size();
            break;
        }
        case 5: // a line twice
            lines.insert(iterator(at + 1), lines[at]);
            place = at + 1;
            break;
        case 6: { // a line again, somewhere behind
            const std::size_t to = at + 1 + upTo(lines.size() - at - 1);
            lines.insert(iterator(to), {lines[to - 1].first, lines[at].second});
            place = to;
            break;
        }
        case 7: { // an invented line that follows on the one before it
            const Line line = *read(lines[at].second);
            Pressing invented = season::pressing(momentOf(line.fact), "Uydurma", 5000, 999);
            lines.insert(iterator(at + 1), {lines[at].first, written(at + 2, invented, line.seal)});
            place = at + 1;
            chainFits = at + 2 == lines.size();
            if (chainFits) row = "Uydurma";
            break;
        }
        case 8: { // something that is no line
            lines.insert(iterator(at), {lines[at].first, std::string(upTo(30), 'x')});
            break;
        }
        case 9: { // two lines changed over
            const std::size_t other = at + 1 == lines.size() ? at - 1 : at + 1;
            std::swap(lines[at].second, lines[other].second);
            place = std::min(at, other);
            break;
        }
        case 10: // the end cut off, in the middle of a line
            lines.resize(at + 1);
            lines[at].second.resize(upTo(lines[at].second.size() - 1));
            if (lines[at].second.empty()) lines[at].second = "{";
            break;
        default: { // a line put somewhere else
            const std::string moved = lines[at].second;
            std::size_t to = upTo(lines.size() - 2);
            if (to >= at) ++to;
            lines.erase(iterator(at));
            lines.insert(iterator(to), {lines[std::min(to, lines.size() - 1)].first, moved});
            place = std::min(at, to);
            break;
        }
        }
    }

    void inTheJournal(int way)
    {
        const auto file = jet::Database::open(disk, database);
        jet::Table& journal = file->table(u"Hareket");
        std::vector<jet::RowId> rows;
        journal.forEachRow([&](jet::RowId id, const jet::RowView& each) {
            if (!each.textIs(6, u"Eski")) rows.push_back(id);
            return true;
        });
        const jet::RowId id = rows[upTo(rows.size() - 1)];
        const jet::RowView found = *journal.row(id);
        Pressing told;
        told.moment = *found.number(0);
        told.olives = *found.number(1);
        told.oil = *found.number(2);
        std::u16string customer;
        found.text(6, customer);
        row = shownMoment(told.moment) + " " + jet::toUtf8(customer);
        switch (way) {
        case 12: { // a figure
            const std::size_t field = 1 + upTo(4);
            const double figure = *found.number(field);
            journal.update(id, {{field, figure + (upTo(1) == 0 ? 1 : -0.01)}});
            break;
        }
        case 13: // a moment
            journal.update(id, {{0, jet::DateTime{told.moment + (upTo(1) == 0 ? 1 : -300)}}});
            break;
        case 14: // a customer
            journal.update(id, {{6, std::u16string(customer + u"x")}});
            break;
        case 15: // a row out
            journal.erase(id);
            break;
        case 16: // a row twice
            told.percentage = *found.number(3);
            told.entitlement = *found.number(4);
            told.fee = *found.number(5);
            told.customer = jet::toUtf8(customer);
            Mill::add(*file, told);
            break;
        default: { // a row that never was, in the book's time or before it
            const bool before = upTo(1) == 0;
            const Pressing invented =
                season::pressing(before ? season::day(2024, 3, 3) : told.moment + 0.001, "Uydurma", 700, 1);
            Mill::add(*file, invented);
            row = before ? "5 var" : "Uydurma";
            break;
        }
        }
    }

    const Mill& mill_;
    std::mt19937 luck_;
    Book book_;
};

TEST(Manipulation, isFoundAndTheFirstLineNamed)
{
    Mill mill;
    const Verdict untouched = verify(mill.disk, mill.seen);
    ASSERT_TRUE(untouched.clean()) << (untouched.chain ? sentence(*untouched.chain) : "")
                                   << (untouched.log ? sentence(*untouched.log) : "")
                                   << testing::PrintToString(untouched.rows);
    const int count = numberFromEnvironment("PRESVA_MANIPULATIONS", 360);
    std::map<int, int> byChain, byLog, byJournal;
    for (int i = 0; i < count; ++i) {
        const int way = i % Forger::ways;
        Forger forger(mill, static_cast<unsigned>(i));
        forger.manipulate(way);
        const Verdict verdict = verify(forger.disk, mill.seen);
        const std::string what = "manipulation " + std::to_string(i) + ", way " + std::to_string(way);
        ASSERT_FALSE(verdict.clean()) << what;
        if (!forger.row.empty()) {
            ASSERT_TRUE(std::ranges::any_of(
                verdict.rows,
                [&](const std::string& sentence) { return sentence.find(forger.row) != std::string::npos; }))
                << what << testing::PrintToString(verdict.rows);
            ++byJournal[way];
        }
        if (!forger.place) {
            ASSERT_FALSE(verdict.chain) << what;
            continue;
        }
        if (!forger.chainFits) {
            ASSERT_TRUE(verdict.chain) << what;
            const auto lines = allLines(forger.disk, folder);
            const auto named = std::ranges::find_if(lines, [&](const PlacedLine& each) {
                return each.file == verdict.chain->file && each.row == verdict.chain->row;
            });
            ASSERT_EQ(static_cast<std::size_t>(named - lines.begin()), *forger.place)
                << what << sentence(*verdict.chain);
            ++byChain[way];
            continue;
        }
        ASSERT_FALSE(verdict.chain) << what;
        if (!forger.row.empty()) continue;
        ASSERT_TRUE(verdict.log) << what;
        ASSERT_LE(verdict.log->first, *forger.place + 1) << what << sentence(*verdict.log);
        ASSERT_GE(verdict.log->last, *forger.place + 1) << what << sentence(*verdict.log);
        ++byLog[way];
    }
    std::string said;
    for (int way = 0; way < Forger::ways; ++way)
        said += " " + std::to_string(way) + ":" + std::to_string(byChain[way]) + "/" + std::to_string(byLog[way]) +
                "/" + std::to_string(byJournal[way]);
    std::printf("%d manipulations found; by way, seen by the chain/the log alone/the journal:%s\n", count,
                said.c_str());
}

} // namespace
