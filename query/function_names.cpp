#include "query/function_names.h"

#include "exchange/ascii.h"

#include <algorithm>
#include <iterator>

namespace query {

namespace {

using Kind = Function::Kind;

// clang-format off
constexpr Function functions[] = {
    {"Count", "count", Kind::aggregate, Type::number},
    {"Sum", "acc_sum", Kind::aggregate, Type::number, 1, 1, true},
    {"Avg", "acc_avg", Kind::aggregate, Type::number, 1, 1, true},
    {"StDev", "acc_stdev", Kind::aggregate, Type::number, 1, 1, true},
    {"StDevP", "acc_stdevp", Kind::aggregate, Type::number, 1, 1, true},
    {"Var", "acc_var", Kind::aggregate, Type::number, 1, 1, true},
    {"VarP", "acc_varp", Kind::aggregate, Type::number, 1, 1, true},
    {"Min", "min", Kind::aggregate, Type::unknown},
    {"Max", "max", Kind::aggregate, Type::unknown},
    {"First", "acc_first", Kind::aggregate, Type::unknown},
    {"Last", "acc_last", Kind::aggregate, Type::unknown},

    {"IIf", {}, Kind::special},
    {"Nz", {}, Kind::special},
    {"IsNull", {}, Kind::special},

    {"Len", "acc_len", Kind::plain, Type::number, 1, 1, false, true},
    {"Left", "acc_left", Kind::plain, Type::text, 2, 2, false, true},
    {"Right", "acc_right", Kind::plain, Type::text, 2, 2, false, true},
    {"Mid", "acc_mid", Kind::plain, Type::text, 2, 3, false, true},
    {"UCase", "acc_ucase", Kind::plain, Type::text, 1, 1, false, true},
    {"LCase", "acc_lcase", Kind::plain, Type::text, 1, 1, false, true},
    {"Trim", "acc_trim", Kind::plain, Type::text, 1, 1, false, true},
    {"LTrim", "acc_ltrim", Kind::plain, Type::text, 1, 1, false, true},
    {"RTrim", "acc_rtrim", Kind::plain, Type::text, 1, 1, false, true},
    {"InStr", "acc_instr", Kind::plain, Type::number, 2, 3, false, true},
    {"Replace", "acc_replace", Kind::plain, Type::text, 3, 3, false, true},
    {"StrComp", "acc_strcomp", Kind::plain, Type::number, 2, 3, false, true},
    {"Val", "acc_val", Kind::plain, Type::number, 1, 1, false, true},
    {"CStr", "acc_cstr", Kind::plain, Type::text, 1, 1, false, true},
    {"Format", "acc_format", Kind::plain, Type::text, 2, 2},

    {"Abs", "acc_abs", Kind::plain, Type::number},
    {"Int", "acc_int", Kind::plain, Type::number},
    {"Fix", "acc_fix", Kind::plain, Type::number},
    {"Round", "acc_round", Kind::plain, Type::number, 1, 2},
    {"Sgn", "acc_sgn", Kind::plain, Type::number},
    {"Sqr", "acc_sqr", Kind::plain, Type::number},
    {"CInt", "acc_cint", Kind::plain, Type::number},
    {"CLng", "acc_clng", Kind::plain, Type::number},
    {"CDbl", "acc_cdbl", Kind::plain, Type::number},
    {"CSng", "acc_csng", Kind::plain, Type::number},
    {"CCur", "acc_ccur", Kind::plain, Type::number, 1, 1, false, false, "acc_ccur_exact"},

    {"Now", "acc_now", Kind::plain, Type::date, 0, 0},
    {"Date", "acc_today", Kind::plain, Type::date, 0, 0},
    {"Time", "acc_time", Kind::plain, Type::date, 0, 0},
    {"Year", "acc_year", Kind::plain, Type::number},
    {"Month", "acc_month", Kind::plain, Type::number},
    {"Day", "acc_day", Kind::plain, Type::number},
    {"Hour", "acc_hour", Kind::plain, Type::number},
    {"Minute", "acc_minute", Kind::plain, Type::number},
    {"Second", "acc_second", Kind::plain, Type::number},
    {"Weekday", "acc_weekday", Kind::plain, Type::number, 1, 2},
    {"DateValue", "acc_datevalue", Kind::plain, Type::date},
    {"CDate", "acc_date", Kind::plain, Type::date},
    {"DateSerial", "acc_dateserial", Kind::plain, Type::date, 3, 3},
    {"TimeSerial", "acc_timeserial", Kind::plain, Type::date, 3, 3},
    {"DateAdd", "acc_dateadd", Kind::plain, Type::date, 3, 3},
    {"DateDiff", "acc_datediff", Kind::plain, Type::number, 3, 3},
    {"DatePart", "acc_datepart", Kind::plain, Type::number, 2, 4},
};
// clang-format on

using exchange::lower;

} // namespace

const Function* functionNamed(std::string_view name)
{
    const auto found = std::ranges::find_if(functions, [&](const Function& function) {
        return std::ranges::equal(function.name, name, [](char a, char b) { return lower(a) == lower(b); });
    });
    return found == std::end(functions) ? nullptr : &*found;
}

} // namespace query
