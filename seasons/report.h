#pragma once

#include "seasons/journal.h"

#include <string>
#include <variant>
#include <vector>

namespace seasons {

/// How a column is written; each shows the unit in its heading where it has one.
enum class Kind {
    text,
    count,   ///< whole numbers
    amount,  ///< kilograms and lira: two digits behind the comma, or none where the whole column has none
    percent, ///< one digit behind the comma; the value is the percentage
    day,     ///< a day number, days since 1899-12-30
};

struct Column {
    std::string title;
    Kind kind = Kind::count;
    int decimals = 0;
};

/// Nothing, a number, or a text in UTF-8.
using Cell = std::variant<std::monostate, double, std::string>;

/// A table of figures, and as a rule a drawing of it.
struct Section {
    std::string id = {}; ///< names the drawing, too
    std::string title = {};
    std::string summary = {}; ///< what there is to see, in a sentence
    std::vector<Column> columns = {};
    std::vector<std::vector<Cell>> rows = {};
    std::vector<Cell> sum = {}; ///< of the whole table, as its last row; empty where there is none
    bool drawn = true;          ///< otherwise a table alone, to be sorted and searched
    bool wide = false;          ///< the drawing takes the page's whole width
};

/// A figure that is shown large.
struct Headline {
    std::string title;
    std::string figure;
    std::string unit;
};

/// A season in words and figures, however it is shown.
struct Report {
    std::string title;
    std::string period;
    std::string source; ///< where it comes from, and when it was read
    std::vector<std::string> warnings;
    std::vector<Headline> headlines;
    std::vector<Section> sections;
};

/// The pressings of the day of reading, the newest first, and their sum.
Section describeToday(const Reading& reading, double now);

/// `source` names the database; `now` is the moment of reading, days since 1899-12-30.
Report describe(const Reading& reading, const std::string& source, double now);

/// A cell as it is read; empty for nothing.
std::string cellText(const Cell& cell, const Column& column);

} // namespace seasons
