#pragma once

#include "store/jet/database/database.h"

#include <map>
#include <random>
#include <string>
#include <vector>

/// Work of every kind on one table, with a model beside it that says what the table must hold: rows that grow until
/// they move to another page, rows that shrink, deletions, keys that split index pages, values outside their rows.
class MixedWork {
public:
    struct Row {
        std::u16string name;
        std::u16string code;
        double day = 0;
        double amount = 0;
        std::u16string note;
        bool operator==(const Row&) const = default;
    };
    using Rows = std::map<std::int32_t, Row>; ///< by number

    static constexpr const char16_t* table = u"Kayıt";

    /// The same seed on the same database does the same work.
    explicit MixedWork(unsigned seed) : random_(seed), seed_(seed) {}

    static void create(files::Disk& disk, const std::filesystem::path& path)
    {
        const jet::DateTime now{45000.5};
        jet::Database::create(disk, path, jet::turkish, now);
        const auto database = jet::Database::open(disk, path);
        std::vector<jet::NewColumn> columns(6);
        columns[number] = {u"No", jet::ColumnType::longInteger};
        columns[number].autoNumber = true;
        columns[name] = {u"Ad", jet::ColumnType::text, 255};
        columns[code] = {u"Kod", jet::ColumnType::text, 40};
        columns[day] = {u"Gün", jet::ColumnType::dateTime};
        columns[amount] = {u"Tutar", jet::ColumnType::doubleFloat};
        columns[note] = {u"Not", jet::ColumnType::memo};
        std::vector<jet::NewIndex> indexes(4);
        indexes[0].name = u"PrimaryKey";
        indexes[0].columns = {{u"No", true}};
        indexes[0].primaryKey = indexes[0].unique = indexes[0].required = true;
        indexes[1].name = u"Ad";
        indexes[1].columns = {{u"Ad", true}};
        indexes[2].name = u"Kod";
        indexes[2].columns = {{u"Kod", false}};
        indexes[2].unique = true;
        indexes[3].name = u"GünAd";
        indexes[3].columns = {{u"Gün", true}, {u"Kod", true}};
        database->createTable(table, columns, indexes, now);
    }

    static Rows read(const jet::Database& database)
    {
        Rows rows;
        const jet::Table& from = const_cast<jet::Database&>(database).table(table);
        from.forEachRow([&](jet::RowId, const jet::RowView& view) {
            Row row;
            view.text(name, row.name);
            view.text(code, row.code);
            row.day = view.number(day).value_or(-1);
            row.amount = view.number(amount).value_or(-1);
            view.text(note, row.note);
            rows[static_cast<std::int32_t>(view.number(number).value_or(0))] = std::move(row);
            return true;
        });
        return rows;
    }

    /// One to four changes, in the caller's transaction. `rows` follows.
    void change(jet::Database& database, Rows& rows)
    {
        jet::Table& to = database.table(table);
        for (auto n = 1 + random_() % 4; n > 0; --n) {
            const auto kind = random_() % 100;
            if (kind < 50 || rows.size() < 20)
                insert(to, rows);
            else if (kind < 78)
                update(to, rows);
            else if (kind < 99)
                erase(to, rows, someRow(rows));
            else
                eraseRun(to, rows);
        }
    }
    void insert(jet::Table& to, Rows& rows)
    {
        const Row row = newRow();
        const jet::RowId place = to.insert(assignments(row));
        const auto given = static_cast<std::int32_t>(to.row(place)->number(number).value());
        places_[given] = place;
        rows[given] = row;
    }
    void forgetPlaces(const jet::Database& database)
    {
        places_.clear();
        const_cast<jet::Database&>(database).table(table).forEachRow([&](jet::RowId id, const jet::RowView& view) {
            places_[static_cast<std::int32_t>(view.number(number).value_or(0))] = id;
            return true;
        });
    }
    std::mt19937& random() { return random_; }

private:
    enum : std::size_t { number, name, code, day, amount, note };

    std::u16string letters(std::size_t longest)
    {
        static constexpr std::u16string_view alphabet = u"aAbcçÇdefgğhıIiİjklmnoöprsştuüvyz -'0123456789";
        std::u16string text(random_() % (longest + 1), u' ');
        for (char16_t& letter : text) letter = alphabet[random_() % alphabet.size()];
        return text;
    }
    static std::u16string digits(std::uint32_t number)
    {
        const std::string text = std::to_string(number);
        return {text.begin(), text.end()};
    }
    /// Mostly in its row; else on a page outside, or in a chain of pages.
    std::u16string noteText()
    {
        const auto chance = random_() % 24;
        return letters(chance == 0 ? 15000 : chance < 4 ? 900 : 20);
    }
    Row newRow()
    {
        Row row;
        row.name = letters(random_() % 6 == 0 ? 200 : 30);
        row.code = u"K" + letters(6) + u"." + digits(++codes_) + u"." + digits(seed_);
        row.day = 40000 + static_cast<double>(random_() % 50000) / 8;
        row.amount = static_cast<double>(random_() % 100000) / 100;
        row.note = noteText();
        return row;
    }
    static std::vector<jet::Assignment> assignments(const Row& row)
    {
        return {
            {name, row.name}, {code, row.code}, {day, jet::DateTime{row.day}}, {amount, row.amount}, {note, row.note}};
    }
    Rows::iterator someRow(Rows& rows)
    {
        return std::next(rows.begin(), static_cast<std::ptrdiff_t>(random_() % rows.size()));
    }
    void update(jet::Table& to, Rows& rows)
    {
        const auto chosen = someRow(rows);
        Row row = chosen->second;
        switch (random_() % 4) {
        case 0:
            row.amount += 1;
            to.update(places_.at(chosen->first), {{amount, row.amount}});
            break;
        case 1:
            row.name = letters(200);
            to.update(places_.at(chosen->first), {{name, row.name}});
            break;
        case 2:
            row.note = noteText();
            to.update(places_.at(chosen->first), {{note, row.note}});
            break;
        default:
            row = newRow();
            to.update(places_.at(chosen->first), std::span<const jet::Assignment>(assignments(row)));
        }
        chosen->second = row;
    }
    /// The row behind it.
    Rows::iterator erase(jet::Table& to, Rows& rows, Rows::iterator chosen)
    {
        to.erase(places_.at(chosen->first));
        places_.erase(chosen->first);
        return rows.erase(chosen);
    }
    /// Neighbours, until whole pages are empty.
    void eraseRun(jet::Table& to, Rows& rows)
    {
        auto row = someRow(rows);
        for (int n = 40; n > 0 && row != rows.end(); --n) row = erase(to, rows, row);
    }

    std::mt19937 random_;
    unsigned seed_;
    std::uint32_t codes_ = 0;
    std::map<std::int32_t, jet::RowId> places_;
};
