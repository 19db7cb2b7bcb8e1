// Every manipulation of the book and of the journal is found, and the first line that is not as it was is named.
//
//     PRESVA_MANIPULATIONS=10000 build/test/tests/tests_weights manipulation
#include "files/memory_disk.h"
#include "mill/tables.h"
#include "store/jet/database/database.h"
#include "tests/jet/chosen_rows.h"
#include "tests/support/text.h"
#include "tests/weights/season.h"
#include "weights/verification.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <random>

using namespace weights;
using files::MemoryDisk;

namespace {

const std::filesystem::path folder = "degirmen";
const std::filesystem::path database = folder / "Yag.mdb";

/// The book's lines as texts, and which file each stands in.
struct Book {
    using Placed = std::pair<std::filesystem::path, std::string>;
    std::vector<Placed> lines;

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
        for (int i = 0; i < older; ++i)
            season::store(*file, season::pressing(season::day(2026, 1, 5 + i), "Eski", 500, i));
        WeightBook book(disk, folder);
        std::mt19937 luck(7);
        std::uint64_t veli = 0;
        const std::array<std::string, 5> names = {"Ali", "Veli", "Işıl", "O'Hara", "Şükrü Öz"};
        for (int job = 1; job <= pressings; ++job) {
            const double moment =
                job <= pressings / 2 ? season::day(2027, 2, 1) + job / 100.0 : season::day(2027, 11, 1) + job / 100.0;
            Pressing made =
                season::pressing(jet::DateTime{std::round(moment * 86400) / 86400}.days, names[luck() % names.size()],
                                 200 + static_cast<double>(luck() % 3000), job);
            if (job == 1) made.before = older;
            season::write(book, made);
            season::store(*file, made);
            if (made.customer == "Veli") ++veli;
            if (job == 40) {
                season::write(book, Deletion{made.moment, "Veli", veli, older});
                season::erase(*file, u"Veli");
            }
            if (job == 1 || job == 40 || book.head().number % linesToALoggedHead == 0 || job == pressings)
                seen.push_back({"", book.head().number, book.head().seal});
        }
    }

    /// Another weight on the first line, in book, journal and log.
    void rewrite()
    {
        Book book;
        book.read(disk);
        std::string previous = noSeal;
        for (auto& [path, text] : book.lines) {
            Line line = *read(text);
            if (line.number == 1) std::get<Pressing>(line.fact).olives += 100;
            text = written(line.number, line.fact, previous);
            previous = read(text)->seal;
            for (LoggedHead& head : seen)
                if (head.number == line.number) head.seal = previous;
        }
        book.write(disk);
        const auto first = std::get<Pressing>(read(book.lines.front().second)->fact);
        const auto file = jet::Database::open(disk, database);
        jet::Table& journal = file->table(u"Hareket");
        const auto found =
            rowsWhere(journal, [&](const auto& each) { return isoMoment(*each.number(0)) == isoMoment(first.moment); });
        if (!found.empty()) journal.update(found.front(), {{1, first.olives}});
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
    std::vector<std::string> all; ///< the sentences that somebody gets to see
    bool clean() const { return all.empty(); }
};

Verdict verify(MemoryDisk& disk, const std::vector<LoggedHead>& seen)
{
    const auto lines = allLines(disk, folder);
    const auto file = jet::Database::open(disk, database, jet::Pager::Mode::readOnly);
    const jet::Table& journal = file->table(u"Hareket");
    return {firstFault(lines), firstFault(lines, seen), differences(lines, seen, journal).faults,
            weights::verify(lines, seen, journal).faults};
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

    /// What the log has seen; a forger may have it changed, too.
    std::vector<LoggedHead> seen;
    /// What a sentence of all must hold; empty where the place says it.
    std::string said;

    static constexpr std::array names = {
        "a byte of the book",
        "a figure of a line, its own seal fitting",
        "a figure of a line, all seals fitting",
        "a line taken out",
        "lines taken out",
        "a line twice in a row",
        "a line again, further on",
        "an invented line",
        "something that is no line, put between",
        "two lines changed over",
        "the end cut off in a line",
        "a line put somewhere else",
        "a figure of a row",
        "the moment of a row",
        "the customer of a row",
        "a row taken out",
        "a row twice",
        "an invented row",
        "a file of the book deleted",
        "every file of the book deleted",
        "a file of the book emptied",
        "the book exchanged by that of the season before",
        "an older copy of the book",
        "the last line end cut off",
        "zeros as of a broken disk",
        "the log missing, and one of all the others",
        "a figure of a line, and every digest from there on taken out of the log",
        "a digest in the log",
        "a row taken out, under a forged deletion",
        "rows taken out, under a forged copy put back",
        "an older row taken out, under a deletion of somebody else's",
        "a weight in line and row alike, all seals fitting",
    };
    static constexpr int ways = static_cast<int>(names.size());
    static constexpr int inTheBookAlone = 12, inBookOrJournal = 18, inOneFile = 25; ///< the first ways that are not
    void manipulate(int way)
    {
        copy();
        seen = mill_.seen;
        book_.read(disk);
        if (way < inTheBookAlone) {
            place = upTo(book_.lines.size() - 1);
            inTheBook(way, *place);
            book_.write(disk);
        } else if (way < inBookOrJournal) {
            inTheJournal(way);
        } else if (way < inOneFile) {
            withTheFiles(way);
        } else {
            beyondTheBook(way);
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
        const auto rows = rowsWhere(journal, [](const auto& each) { return !each.textIs(6, u"Eski"); });
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
            season::store(*file, told);
            break;
        default: { // a row that never was, in the book's time or before it
            const bool before = upTo(1) == 0;
            const Pressing invented =
                season::pressing(before ? season::day(2025, 3, 3) : told.moment + 0.001, "Uydurma", 700, 1);
            season::store(*file, invented);
            row = before ? "5 var" : "Uydurma";
            break;
        }
        }
    }

    std::size_t inFile(const std::filesystem::path& file)
    {
        return static_cast<std::size_t>(std::ranges::count(book_.lines, file, &Book::Placed::first));
    }

    void withTheFiles(int way)
    {
        const std::filesystem::path old = folder / "Tartim-2026-2027.jsonl", current = folder / "Tartim.jsonl";
        const bool ofTheOldOne = upTo(1) == 0;
        const std::filesystem::path file = ofTheOldOne ? old : current;
        switch (way) {
        case 18:
        case 20:
            place = ofTheOldOne ? 0 : inFile(old);
            chainFits = !ofTheOldOne;
            if (way == 18)
                disk.remove(file);
            else
                disk.content(file).clear();
            break;
        case 19:
            disk.remove(old);
            disk.remove(current);
            place = 0;
            chainFits = true;
            break;
        case 21:
            disk.content(current) = disk.content(old);
            place = inFile(old);
            break;
        case 22:
            place = 1 + upTo(book_.lines.size() - 2);
            book_.lines.resize(*place);
            book_.write(disk);
            chainFits = true;
            break;
        case 23:
            disk.content(file).pop_back();
            place = (ofTheOldOne ? 0 : inFile(old)) + inFile(file) - 1;
            break;
        default: { // zeros
            auto& bytes = disk.content(file);
            const std::size_t begin = upTo(bytes.size() - 1), end = std::min(bytes.size(), begin + 1 + upTo(600));
            std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                      bytes.begin() + static_cast<std::ptrdiff_t>(end), std::uint8_t{0});
            const auto& whole = mill_.disk;
            const auto& before = const_cast<MemoryDisk&>(whole).content(file);
            place = (ofTheOldOne ? 0 : inFile(old)) +
                    static_cast<std::size_t>(
                        std::count(before.begin(), before.begin() + static_cast<std::ptrdiff_t>(begin), '\n'));
            break;
        }
        }
    }

    void beyondTheBook(int way)
    {
        auto& lines = book_.lines;
        switch (way) {
        case 25: { // the log, too
            const int other = static_cast<int>(upTo(inOneFile - 1));
            manipulate(other);
            seen.clear();
            // Of a book that is gone with it the journal's own days tell.
            said = other == 19 ? "silinmiş ya da boşaltılmış" : "presva.log yok";
            break;
        }
        case 26: {
            const std::size_t at = 1 + upTo(lines.size() - 2 * linesUnseenAtMost);
            lines[at].second = forged(lines[at].second, {});
            reseal(at + 1);
            std::erase_if(seen, [&](const LoggedHead& head) { return head.number > at; });
            book_.write(disk);
            said = "presva.log ";
            break;
        }
        case 27: {
            LoggedHead& head = seen[upTo(seen.size() - 1)];
            char& digit = head.seal[upTo(head.seal.size() - 1)];
            digit = digit == 'a' ? 'b' : 'a';
            place = head.number - 1;
            chainFits = true;
            break;
        }
        case 28:
        case 29:
            underCover(way == 28);
            break;
        case 30: {
            const auto file = jet::Database::open(disk, database);
            jet::Table& journal = file->table(u"Hareket");
            const auto rows = rowsWhere(journal, [](const auto& each) { return each.textIs(6, u"Eski"); });
            const std::size_t gone = 1 + upTo(rows.size() - 1);
            for (std::size_t i = 0; i < gone; ++i) journal.erase(rows[i]);
            row = "4 olmalı, " + std::to_string(rows.size() - gone) + " var";
            break;
        }
        default:
            inLineAndRow();
            break;
        }
    }

    /// A line that has its row, and that row.
    std::pair<std::size_t, jet::RowId> linesAndRow(jet::Table& journal)
    {
        for (;;) {
            const std::size_t at = upTo(book_.lines.size() - 1);
            const auto line = read(book_.lines[at].second);
            const auto* pressing = std::get_if<Pressing>(&line->fact);
            if (!pressing) continue;
            const auto found = rowsWhere(journal, [&](const auto& each) {
                return each.textIs(6, jet::fromUtf8(pressing->customer)) &&
                       isoMoment(*each.number(0)) == isoMoment(pressing->moment);
            });
            if (!found.empty()) return {at, found.front()};
        }
    }

    void underCover(bool ofADeletion)
    {
        const auto file = jet::Database::open(disk, database);
        jet::Table& journal = file->table(u"Hareket");
        const auto [at, id] = linesAndRow(journal);
        const Line line = *read(book_.lines[at].second), last = *read(book_.lines.back().second);
        const auto& gone = std::get<Pressing>(line.fact);
        const double now = momentOf(last.fact) + 0.01;
        row = shownMoment(gone.moment) + " " + gone.customer;
        Fact cover = Restore{now, "Yag-2025-11-02.mdb", at, Mill::older};
        if (ofADeletion) {
            Deletion deletion{now, gone.customer, 0, Mill::older};
            const auto whose = [&](const auto& each) { return each.textIs(6, jet::fromUtf8(gone.customer)); };
            deletion.pressings = static_cast<decltype(deletion.pressings)>(rowsWhere(journal, whose).size());
            // Some forgers know that the program leaves nothing.
            if (upTo(1) == 0)
                season::erase(*file, jet::fromUtf8(gone.customer));
            else
                journal.erase(id);
            cover = deletion;
        } else {
            journal.erase(id);
        }
        book_.lines.emplace_back(book_.lines.back().first, written(last.number + 1, cover, last.seal));
        book_.write(disk);
    }

    void inLineAndRow()
    {
        const auto file = jet::Database::open(disk, database);
        jet::Table& journal = file->table(u"Hareket");
        const auto [at, id] = linesAndRow(journal);
        Line line = *read(book_.lines[at].second);
        auto& pressing = std::get<Pressing>(line.fact);
        pressing.olives += 100;
        journal.update(id, {{1, pressing.olives}});
        book_.lines[at].second = written(line.number, line.fact, line.previous);
        if (at + 1 < book_.lines.size()) reseal(at + 1);
        book_.write(disk);
        place = at;
        chainFits = true;
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
    const int count = numberFromEnvironment("PRESVA_MANIPULATIONS", 10 * Forger::ways);
    struct Figures {
        int byChain = 0, byLog = 0, byJournal = 0, byWords = 0;
    };
    std::array<Figures, Forger::names.size()> figures{};
    for (int i = 0; i < count; ++i) {
        const int way = i % Forger::ways;
        Figures& found = figures.at(static_cast<std::size_t>(way));
        Forger forger(mill, static_cast<unsigned>(i));
        forger.manipulate(way);
        const Verdict verdict = verify(forger.disk, forger.seen);
        const std::string what = "manipulation " + std::to_string(i) + ", " +
                                 Forger::names.at(static_cast<std::size_t>(way)) + ": " +
                                 testing::PrintToString(verdict.all);
        ASSERT_FALSE(verdict.clean()) << what;
        const auto says = [](const std::vector<std::string>& sentences, const std::string& part) {
            return std::ranges::any_of(sentences,
                                       [&](const std::string& each) { return each.find(part) != std::string::npos; });
        };
        if (!forger.row.empty()) {
            ASSERT_TRUE(says(verdict.rows, forger.row)) << what;
            ++found.byJournal;
        }
        if (!forger.said.empty()) {
            ASSERT_TRUE(says(verdict.all, forger.said)) << what;
            ++found.byWords;
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
            ASSERT_EQ(static_cast<std::size_t>(named - lines.begin()), *forger.place) << what;
            ++found.byChain;
            continue;
        }
        ASSERT_FALSE(verdict.chain) << what;
        if (!forger.row.empty() || !forger.said.empty()) continue;
        ASSERT_TRUE(verdict.log) << what;
        ASSERT_LE(verdict.log->first, *forger.place + 1) << what;
        ASSERT_GE(verdict.log->last, *forger.place + 1) << what;
        ++found.byLog;
    }
    std::printf(
        "%d manipulations found; line named by the chain, bounded by the log alone, by the journal, told of the "
        "log:\n",
        count);
    for (std::size_t way = 0; way < figures.size(); ++way)
        std::printf("%6d %6d %6d %6d  %s\n", figures[way].byChain, figures[way].byLog, figures[way].byJournal,
                    figures[way].byWords, Forger::names[way]);
}

/// What docs/decisions.md says no file of one's own can prove.
TEST(Manipulation, ofEverythingTogetherIsSeenByAKeptLogAlone)
{
    Mill mill;
    Mill other;
    other.rewrite();
    EXPECT_TRUE(verify(other.disk, other.seen).clean());
    EXPECT_FALSE(verify(other.disk, mill.seen).clean());
}

} // namespace
