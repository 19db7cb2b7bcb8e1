#include "seasons/journal.h"

#include "mill/names.h"
#include "mill/season.h"
#include "store/jet/table/table.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <thread>

namespace seasons {
namespace {

using mill::Cari, mill::Hareket;

/// Where the mill's fields stand in a table that may have been made, and widened, by another program.
std::size_t positionOf(const jet::Table& table, std::u16string_view field)
{
    const auto position = table.columnNamed(field);
    if (position) return *position;
    throw jet::Error(jet::Fault::noSuchTable, "'" + jet::toUtf8(table.name()) + "' tablosunda '" + jet::toUtf8(field) +
                                                  "' alanı yok; bu bir Mendrik Presva veritabanı değil.");
}

std::optional<double> numberOf(const jet::RowView& row, std::size_t position)
{
    const auto number = row.number(position);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

/// A text field; empty where there is none.
void textOf(const jet::RowView& row, std::size_t position, std::u16string& into)
{
    if (!row.text(position, into)) into.clear();
}

/// Every row that can be read, in passing: a journal may be larger than memory.
void walk(const jet::Table& table, std::uint64_t& damaged, const std::function<void(const jet::RowView&)>& visit)
{
    jet::RowCursor cursor(table, table.dataPages(), jet::PageUse::pass);
    for (;;) {
        try {
            if (!cursor.next()) break;
            visit(cursor.row());
        } catch (const jet::Error& error) {
            if (error.fault() != jet::Fault::damaged) throw;
            ++damaged;
        }
    }
    try {
        cursor.requireEveryPage();
    } catch (const jet::Error&) {
        ++damaged;
    }
}

ContainerKinds kindsOf(const jet::Table& customers)
{
    const std::size_t name = positionOf(customers, Cari::fields[Cari::Unvan]);
    const std::size_t container = positionOf(customers, Cari::fields[Cari::Kap]);
    ContainerKinds kinds;
    std::u16string text;
    std::uint64_t damaged = 0; // a register with a hole still tells the others' containers
    walk(customers, damaged, [&](const jet::RowView& row) {
        textOf(row, container, text);
        for (std::size_t kind = 0; kind < mill::containers.size(); ++kind) {
            if (mill::containers[kind].name != text) continue;
            textOf(row, name, text);
            kinds.try_emplace(text, kind);
            return;
        }
    });
    return kinds;
}

/// The journal's pressings: the rows that a report adds up, which are those of `CariHar<>'Toplamlar'`, letter for
/// letter. A row without a customer answers neither yes nor no.
class Journal {
public:
    explicit Journal(const jet::Table& table)
        : table_(table), moment_(positionOf(table, Hareket::fields[Hareket::Tarih])),
          olives_(positionOf(table, Hareket::fields[Hareket::Zeytin])),
          oil_(positionOf(table, Hareket::fields[Hareket::Yağ])),
          share_(positionOf(table, Hareket::fields[Hareket::HakTut])),
          fee_(positionOf(table, Hareket::fields[Hareket::Nakit])),
          customer_(positionOf(table, Hareket::fields[Hareket::CariHar]))
    {
    }

    /// The moments alone, which is several times as quick.
    void walkMoments(const std::function<void(double)>& visit) const
    {
        std::uint64_t damaged = 0;
        std::u16string customer;
        walk(table_, damaged, [&](const jet::RowView& row) {
            const auto moment = momentOf(row);
            if (moment && row.text(customer_, customer) && !isTotals(customer)) visit(*moment);
        });
    }

    void walkPressings(Reading& reading, const std::function<void(const Pressing&)>& visit) const
    {
        std::u16string customer;
        walk(table_, reading.damaged, [&](const jet::RowView& row) {
            if (!row.text(customer_, customer)) {
                ++reading.nobodys;
                return;
            }
            if (isTotals(customer)) return;
            const auto moment = momentOf(row);
            if (!moment) {
                ++reading.undated;
                return;
            }
            visit({*moment, numberOf(row, olives_), numberOf(row, oil_), numberOf(row, share_), numberOf(row, fee_),
                   customer});
        });
    }

private:
    static bool isTotals(std::u16string_view customer) { return customer == mill::reserved::totals; }

    std::optional<double> momentOf(const jet::RowView& row) const
    {
        constexpr double first = -657434; // 0100-01-01
        constexpr double end = 2958466;   // the day behind 9999-12-31
        const auto moment = numberOf(row, moment_);
        return moment && *moment >= first && *moment < end ? moment : std::nullopt;
    }

    const jet::Table& table_;
    std::size_t moment_, olives_, oil_, share_, fee_, customer_;
};

int newestSeason(const Journal& journal, double now)
{
    const int running = mill::seasonOf(now);
    std::optional<int> newest;
    std::optional<int> oldest;
    journal.walkMoments([&](double moment) {
        const int year = mill::seasonOf(moment);
        if (year <= running && (!newest || year > *newest)) newest = year;
        if (!oldest || year < *oldest) oldest = year;
    });
    return newest.value_or(oldest.value_or(running));
}

} // namespace

std::unique_ptr<jet::Database> openToRead(files::Disk& disk, const std::filesystem::path& path)
{
    using namespace std::chrono_literals;
    for (int attempt = 0;; ++attempt) {
        try {
            return jet::Database::open(disk, path, jet::Pager::Mode::readOnly);
        } catch (const jet::Error& error) {
            constexpr int attempts = 20;
            if (error.fault() != jet::Fault::inUse || attempt == attempts) throw;
            std::this_thread::sleep_for(100ms);
        }
    }
}

Reading readSeason(jet::Database& database, std::optional<int> year, double now)
{
    const Journal journal(database.table(Hareket::table));
    Reading reading;
    Sums sums(year ? *year : newestSeason(journal, now), kindsOf(database.table(Cari::table)));
    const double today = std::floor(now);
    journal.walkPressings(reading, [&](const Pressing& pressing) {
        sums.add(pressing);
        if (std::floor(pressing.moment) != today) return;
        reading.today.push_back({pressing.moment, std::u16string(pressing.customer), {}});
        reading.today.back().amounts.add(pressing);
    });
    std::ranges::stable_sort(reading.today, {}, &Booked::moment);
    reading.figures = sums.figures();
    return reading;
}

} // namespace seasons
