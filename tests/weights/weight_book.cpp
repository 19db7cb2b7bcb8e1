#include "weights/weight_book.h"
#include "files/error.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"
#include "tests/weights/season.h"
#include "weights/verification.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace weights;

namespace {

const std::filesystem::path folder = "degirmen";
const std::filesystem::path current = folder / "Tartim.jsonl";

std::string textOf(const PowerCutDisk& disk, const std::filesystem::path& file)
{
    const auto& bytes = disk.content(file);
    return {bytes.begin(), bytes.end()};
}

std::vector<int> jobs(PowerCutDisk& disk)
{
    std::vector<int> found;
    for (const PlacedLine& each : allLines(disk, folder))
        found.push_back(!each.line                                           ? -1
                        : !std::holds_alternative<Pressing>(each.line->fact) ? 0
                                                                             : std::get<Pressing>(each.line->fact).job);
    return found;
}

Pressing pressing(int job)
{
    return season::pressing(season::day(2025, 11, 20) + job / 1440.0, "Ali", 1000 + job, job);
}

struct OpenBook : testing::Test {
    PowerCutDisk disk;
    WeightBook book{disk, folder};
};

TEST_F(OpenBook, tiesEachLineToTheOneBefore)
{
    EXPECT_EQ(book.head().number, 0U);
    EXPECT_EQ(book.head().seal, noSeal);
    for (int job = 1; job <= 3; ++job) season::write(book, pressing(job));
    season::write(book, Deletion{season::day(2025, 11, 21), "Ali"});
    season::write(book, pressing(4));
    const auto lines = allLines(disk, folder);
    ASSERT_EQ(jobs(disk), (std::vector<int>{1, 2, 3, 0, 4}));
    std::string seal = noSeal;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].line->number, i + 1);
        EXPECT_EQ(lines[i].line->previous, seal);
        seal = lines[i].line->seal;
    }
    EXPECT_EQ(book.head().number, 5U);
    EXPECT_EQ(book.head().seal, seal);
    EXPECT_FALSE(firstFault(lines));
}

TEST_F(OpenBook, writesAFactOnceHoweverOftenItIsAsked)
{
    season::write(book, pressing(1));
    const Place place = book.place(pressing(2).moment).place;
    for (int time = 0; time < 3; ++time) {
        book.write(pressing(2), place);
        if (time == 0) season::write(book, Deletion{season::day(2025, 11, 21), {}});
    }
    EXPECT_EQ(jobs(disk), (std::vector<int>{1, 2, 0}));
    // Another slip of the same customer in the same second is another one.
    Pressing twin = pressing(2);
    twin.job = 9;
    season::write(book, twin);
    EXPECT_EQ(jobs(disk), (std::vector<int>{1, 2, 0, 9}));
}

TEST(WeightBook, makesALineWholeThatWasCutAnywhere)
{
    PowerCutDisk whole;
    WeightBook first(whole, folder);
    season::write(first, pressing(1));
    const Place place = first.place(pressing(2).moment).place;
    ASSERT_EQ(place.offset, whole.content(current).size());
    season::write(first, pressing(2));
    const PowerCutDisk::Image all = whole.content(current);
    for (std::size_t size = place.offset; size <= all.size(); ++size)
        for (const bool zeros : {false, true}) {
            PowerCutDisk disk;
            PowerCutDisk::Image cut(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(size));
            if (zeros) cut.resize(all.size());
            disk.put(current, cut);
            const WrittenLine written = WeightBook(disk, folder).write(pressing(2), place);
            ASSERT_FALSE(written.isAnotherBook);
            ASSERT_EQ(written.replaced, "");
            ASSERT_EQ(disk.content(current), all) << size;
        }
}

TEST_F(OpenBook, takesAnAnnouncementOutThatWasCutAndSaysSo)
{
    season::write(book, pressing(1));
    const std::string one = textOf(disk, current);
    season::write(book, Deletion{season::day(2025, 11, 21), "Ali"});
    PowerCutDisk::Image cut = disk.content(current);
    cut.resize(cut.size() - 5);
    disk.put(current, cut);
    const NextLine next = book.place(season::day(2025, 11, 21));
    EXPECT_EQ(next.place.offset, one.size());
    EXPECT_EQ(textOf(disk, current), one);
    EXPECT_EQ(one + next.cutOff, std::string(cut.begin(), cut.end()));
}

TEST_F(OpenBook, goesOnBehindALineThatWasTamperedWith)
{
    season::write(book, pressing(1));
    season::write(book, pressing(2));
    std::string text = textOf(disk, current);
    text.replace(text.find("1002"), 4, "1802");
    disk.put(current, {text.begin(), text.end()});
    season::write(book, pressing(3));
    EXPECT_EQ(jobs(disk), (std::vector<int>{1, -1, 3}));
    EXPECT_TRUE(textOf(disk, current).starts_with(text));
    const auto fault = firstFault(allLines(disk, folder));
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->first, 2U);
}

TEST_F(OpenBook, givesEverySeasonItsFileAndGoesOnThroughThem)
{
    int job = 0;
    for (const double moment :
         {season::day(2024, 6, 30, 23), season::day(2024, 7, 1, 0), season::day(2025, 3, 1), season::day(2025, 6, 30),
          season::day(2025, 10, 1), season::day(2025, 5, 1)}) // the clock was put back: no file is opened again
        season::write(book, season::pressing(moment, "Ali", 100, ++job));
    EXPECT_EQ(bookFiles(disk, folder),
              (std::vector{folder / "Tartim-2023-2024.jsonl", folder / "Tartim-2024-2025.jsonl", current}));
    EXPECT_EQ(jobs(disk), (std::vector<int>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(std::ranges::count(textOf(disk, folder / "Tartim-2024-2025.jsonl"), '\n'), 3);
    EXPECT_FALSE(firstFault(allLines(disk, folder)));
    EXPECT_EQ(book.head().number, 6U);
}

TEST(WeightBook, leavesAFileAloneThatHasTheNameOfASeason)
{
    PowerCutDisk disk(folder / "Tartim-2024-2025.jsonl", {'x'});
    WeightBook book(disk, folder);
    season::write(book, season::pressing(season::day(2025, 3, 1), "Ali", 100, 1));
    season::write(book, season::pressing(season::day(2025, 10, 1), "Ali", 100, 2));
    EXPECT_EQ(disk.content(folder / "Tartim-2024-2025.jsonl"), PowerCutDisk::Image{'x'});
    EXPECT_EQ(std::ranges::count(textOf(disk, current), '\n'), 2);
}

TEST_F(OpenBook, goesOnInTheOldFileWhereAnotherSeasonWouldStandBehindIt)
{
    int job = 0;
    for (const double moment :
         {season::day(2099, 3, 1), season::day(2100, 3, 1), season::day(2026, 3, 1), // a wrong clock
          season::day(2026, 9, 1), season::day(2027, 9, 1)})
        season::write(book, season::pressing(moment, "Ali", 100, ++job));
    EXPECT_EQ(jobs(disk), (std::vector<int>{1, 2, 3, 4, 5}));
    EXPECT_FALSE(firstFault(allLines(disk, folder)));
}

TEST(WeightBook, findsTheLineOfAWaitingNoteAcrossTheTurnOfASeason)
{
    for (const bool lineIsWritten : {false, true}) {
        PowerCutDisk disk;
        WeightBook book(disk, folder);
        season::write(book, season::pressing(season::day(2026, 6, 29), "Ali", 100, 1));
        const Pressing last = season::pressing(season::day(2026, 6, 30, 23, 59), "Ali", 100, 2);
        const Place noted = book.place(last.moment).place;
        if (lineIsWritten) book.write(last, noted);
        season::write(book, Deletion{season::day(2026, 7, 1), "Veli"}); // July begins, and the note still waits
        ASSERT_TRUE(disk.has(folder / "Tartim-2025-2026.jsonl"));
        for (int time = 0; time < 2; ++time) EXPECT_FALSE(book.write(last, noted).isAnotherBook);
        EXPECT_EQ(jobs(disk), lineIsWritten ? (std::vector<int>{1, 2, 0}) : (std::vector<int>{1, 0, 2}));
        EXPECT_FALSE(firstFault(allLines(disk, folder)));
    }
}

TEST_F(OpenBook, turnsNoTornLineIntoAnOldSeason)
{
    season::write(book, season::pressing(season::day(2026, 6, 29), "Ali", 100, 1));
    const Pressing last = season::pressing(season::day(2026, 6, 30), "Ali", 100, 2);
    const Place noted = book.place(last.moment).place;
    book.write(last, noted);
    PowerCutDisk::Image cut = disk.content(current);
    cut.resize(cut.size() - 20);
    disk.put(current, cut);
    EXPECT_NE(book.place(season::day(2026, 7, 1)).cutOff, "");
    book.write(last, noted);
    EXPECT_EQ(jobs(disk), (std::vector<int>{1, 2}));
    EXPECT_FALSE(firstFault(allLines(disk, folder)));
}

TEST_F(OpenBook, givesAWholeLastLineItsEndBack)
{
    for (const int job : {1, 2}) season::write(book, pressing(job));
    const std::string whole = textOf(disk, current);
    disk.put(current, {whole.begin(), whole.end() - 1});
    const auto fault = firstFault(allLines(disk, folder));
    ASSERT_TRUE(fault);
    EXPECT_EQ(sentence(*fault), "2. satır (\"Tartim.jsonl\", dosyanın 2. satırı): yarım, satır sonu yok.");
    EXPECT_EQ(book.place(pressing(3).moment).cutOff, "");
    EXPECT_EQ(textOf(disk, current), whole);
}

/// What stands in the book's place then; nothing where it is gone.
using Exchange = std::optional<std::string>;

RowTable<Exchange> exchanges()
{
    PowerCutDisk other;
    WeightBook book(other, folder);
    for (int job = 11; job <= 16; ++job) season::write(book, pressing(job));
    const std::string lines = textOf(other, current);
    return {
        {"nothing", std::nullopt},
        {"an empty file", ""},
        {"another book, longer", lines},
        {"another book without its last line end", lines.substr(0, lines.size() - 1)},
        {"another book, cut in a line", lines.substr(0, lines.size() - 300)},
        {"a text", std::string(5000, 'x') + "\n" + std::string(700, 'y')},
    };
}

TEST(WeightBook, losesNothingOfAFileThatWasExchangedUnderneath)
{
    for (const auto& [name, exchange] : exchanges())
        for (const int before : {0, 1, 3}) {
            PowerCutDisk disk;
            WeightBook book(disk, folder);
            for (int job = 1; job <= before; ++job) season::write(book, pressing(job));
            const Place noted = book.place(pressing(9).moment).place;
            if (disk.has(current)) disk.remove(current);
            if (exchange) disk.put(current, {exchange->begin(), exchange->end()});
            const WrittenLine written = book.write(pressing(9), noted);
            EXPECT_TRUE(written.isAnotherBook || before == 0) << name << before;
            const std::string text = textOf(disk, current);
            if (exchange) {
                EXPECT_TRUE(text.starts_with(*exchange) ||
                            text.starts_with(exchange->substr(0, exchange->size() - written.replaced.size())))
                    << name << before;
                EXPECT_TRUE(written.replaced.empty() || exchange->ends_with(written.replaced)) << name << before;
            }
            const auto found = jobs(disk);
            EXPECT_EQ(std::ranges::count(found, 9), 1) << name << before;
            book.write(pressing(9), noted);
            EXPECT_EQ(jobs(disk), found) << name << before;
        }
}

TEST_F(OpenBook, refusesAPlaceWhereItCouldNotWrite)
{
    season::write(book, pressing(1));
    disk.readOnly = true;
    EXPECT_THROW(book.place(pressing(2).moment), files::Error);
}

/// What the counter does around a pressing, on a disk that may stop anywhere: a note with fact and place, the line,
/// the note struck out. `noted` stands for what survives of the note.
struct Noted {
    Pressing fact;
    Place place;
};

void press(PowerCutDisk& disk, std::optional<Noted>& noted, int job)
{
    WeightBook book(disk, folder);
    Pressing fact = job < 4 ? pressing(job) : season::pressing(season::day(2026, 9, job), "Ali", 1000, job);
    const Place place = book.place(fact.moment).place;
    noted = Noted{fact, place};
    book.write(fact, place);
    noted.reset();
}

TEST(WeightBook, holdsEveryLineOnceWhereverThePowerWent)
{
    for (std::uint32_t luck = 0; luck < 80; ++luck) {
        PowerCutDisk disk;
        std::optional<Noted> noted;
        for (int job = 1; job <= 2; ++job) press(disk, noted, job);
        struct Stop {
            std::unique_ptr<PowerCutDisk> disk;
            std::optional<Noted> noted;
            int done = 0;
        };
        std::vector<Stop> stops;
        int done = 2;
        disk.beforeEachChange = [&] {
            stops.push_back({disk.afterPowerCut(luck * 97 + static_cast<std::uint32_t>(stops.size())), noted, done});
        };
        for (int job = 3; job <= 6; ++job) {
            press(disk, noted, job);
            done = job;
        }
        for (Stop& stop : stops) {
            std::vector<int> wanted;
            for (int job = 1; job <= stop.done; ++job) wanted.push_back(job);
            if (stop.noted) {
                WeightBook(*stop.disk, folder).write(stop.noted->fact, stop.noted->place);
                wanted.push_back(stop.done + 1);
            }
            ASSERT_EQ(jobs(*stop.disk), wanted) << luck;
            ASSERT_FALSE(firstFault(allLines(*stop.disk, folder)));
        }
        ASSERT_GT(stops.size(), 10U);
    }
}

TEST(WeightBook, holdsEveryLineOnceWhateverTheDiskRefuses)
{
    for (int failing = 1;; ++failing) {
        PowerCutDisk disk;
        std::optional<Noted> noted;
        for (int job = 1; job <= 3; ++job) press(disk, noted, job);
        const int before = disk.changes();
        disk.failing = {before + failing};
        const bool refused = faultOf([&] { press(disk, noted, 4); }).has_value();
        disk.failing.clear();
        if (noted) WeightBook(disk, folder).write(noted->fact, noted->place);
        if (refused && !noted) press(disk, noted, 4);
        ASSERT_EQ(jobs(disk), (std::vector<int>{1, 2, 3, 4})) << failing;
        if (!refused) {
            ASSERT_GT(failing, 4);
            return;
        }
    }
}

TEST(WeightBook, holdsEveryLineOnceOnAFullDisk)
{
    PowerCutDisk start;
    std::optional<Noted> none;
    press(start, none, 1);
    const std::size_t used = start.content(current).size();
    std::size_t refusals = 0;
    for (std::size_t room = 0; room < 600; room += 7) {
        PowerCutDisk disk(current, start.content(current));
        disk.capacity = used + room;
        std::optional<Noted> noted;
        if (faultOf([&] { press(disk, noted, 2); })) {
            ++refusals;
            disk.capacity.reset();
            WeightBook(disk, folder).write(noted->fact, noted->place);
        }
        ASSERT_EQ(jobs(disk), (std::vector<int>{1, 2})) << room;
        ASSERT_FALSE(firstFault(allLines(disk, folder)));
    }
    ASSERT_GT(refusals, 10U);
}

} // namespace
