#pragma once

#include "store/jet/values/value.h"

#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace query {

/// The arguments of a function that SQLite calls, and the place for its result: Null unless one is given.
class Arguments {
public:
    Arguments(sqlite3_context* context, int count, sqlite3_value** values)
        : context_(context), count_(count), values_(values)
    {
    }

    int count() const { return count_; }
    bool isNull(int at) const { return sqlite3_value_type(values_[at]) == SQLITE_NULL; }
    bool isText(int at) const { return sqlite3_value_type(values_[at]) == SQLITE_TEXT; }
    bool isWhole(int at) const { return sqlite3_value_type(values_[at]) == SQLITE_INTEGER; }
    bool isMoment(int at) const;  ///< a text that stands for one
    bool isNumeric(int at) const; ///< a number, or a text that is one

    /// A moment counts as its days. Throws files::Error (badValue) for a text that is no number.
    double number(int at) const;
    std::int64_t whole(int at) const { return sqlite3_value_int64(values_[at]); }
    /// A moment in days, or a number of them, or a text that is a date as people write it. Throws as number(), for a
    /// date whose day and month nobody can tell apart, and for what lies outside of the years 100 to 9999.
    double days(int at) const;
    /// Of a number, and of a text that is one, with all its digits; halves of the fourth decimal go to the even
    /// neighbour. Nothing where money has no room for it. Throws as number().
    std::optional<jet::Currency> money(int at) const;
    /// Also of a number, as exchange::numberText() writes it.
    std::u16string units(int at) const;

    void giveNumber(double number) { sqlite3_result_double(context_, number); }
    void giveWhole(std::int64_t number) { sqlite3_result_int64(context_, number); }
    void giveText(const std::u16string& text);
    /// Throws files::Error (badValue) for one that no calendar has.
    void giveMoment(jet::DateTime moment);
    [[noreturn]] void fail(const std::string& sentence) const;

    /// What was said when the function was added.
    void* setting() const { return sqlite3_user_data(context_); }
    /// What a former call has kept for an argument that is the same for all rows; null when there is nothing.
    void* kept(int at) const { return sqlite3_get_auxdata(context_, at); }
    void keep(int at, void* object, void (*release)(void*)) { sqlite3_set_auxdata(context_, at, object, release); }

private:
    std::string_view bytes(int at) const;

    sqlite3_context* context_;
    int count_;
    sqlite3_value** values_;
};

/// The number that a text is, blanks around it passed over, or the days of the moment that it is. Throws files::Error
/// (badValue).
double numberIn(std::string_view text);
/// The number, when the calendar has that many days. Throws files::Error (badValue).
double daysOf(double number);
[[noreturn]] void failBeyondCalendar();

/// The number that a text begins with, blanks passed over; 0 where there is none.
double leadingNumberOf(std::string_view text);

} // namespace query
