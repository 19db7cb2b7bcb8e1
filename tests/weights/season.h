#pragma once

#include "store/jet/values/calendar.h"
#include "weights/weight_book.h"

#include <string>

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

} // namespace season
