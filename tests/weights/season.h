#pragma once

#include "store/jet/database/database.h"
#include "store/jet/values/calendar.h"
#include "tests/jet/chosen_rows.h"
#include "weights/weight_book.h"

#include <string>
#include <vector>

/// Facts as a counter has them.
namespace season {

inline double day(int year, int month, int day, int hour = 12, int minute = 0)
{
    return jet::dateTime(year, month, day, hour, minute).value().days;
}

inline weights::Pressing pressing(double moment, const std::string& customer, double olives, int job)
{
    weights::Pressing made;
    made.moment = moment;
    made.station = 1 + job % 2;
    made.customer = customer;
    made.olives = olives;
    if (job % 3 != 0) made.olivesFrom = {mill::WeightSource::scale, "  " + std::to_string(job) + "kg\r", moment};
    made.oil = olives * 0.9;
    if (job % 2 == 0) made.oilFrom.source = mill::WeightSource::computed;
    made.percentage = 12.75;
    made.entitlement = 108;
    made.job = job;
    return made;
}

inline void write(weights::WeightBook& book, const weights::Fact& fact)
{
    book.write(fact, book.place(weights::momentOf(fact)).place);
}

/// The row of a pressing in the journal.
inline void store(jet::Database& mill, const weights::Pressing& made)
{
    mill.table(u"Hareket")
        .insert({{0, jet::DateTime{made.moment}},
                 {1, made.olives},
                 {2, made.oil},
                 {3, made.percentage},
                 {4, made.entitlement},
                 {5, made.fee},
                 {6, jet::fromUtf8(made.customer)}});
}

/// Takes the rows of a customer out of the journal, those from that moment on.
inline void erase(jet::Database& mill, std::u16string_view customer, double from = 0)
{
    jet::Table& journal = mill.table(u"Hareket");
    const auto isGone = [&](const auto& row) { return row.textIs(6, customer) && *row.number(0) >= from; };
    for (const jet::RowId id : rowsWhere(journal, isGone)) journal.erase(id);
}

} // namespace season
