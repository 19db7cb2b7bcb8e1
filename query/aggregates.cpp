#include "query/aggregates.h"

#include "files/language.h"
#include "query/arguments.h"

#include <cmath>
#include <cstdint>
#include <exception>
#include <memory>

namespace query {

namespace {

/// Sums numbers of up to four decimals exactly, as money and weights have them; others with the error of the sum
/// carried along. So a sum of decimals shows the decimals that it should.
class ExactSum {
public:
    void add(double number)
    {
        constexpr double units = 10000;
        constexpr double limit = 1e14;
        if (exact_ && std::abs(number) < limit) {
            const double scaled = std::round(number * units);
            if (scaled / units == number) {
                sum_ += static_cast<std::int64_t>(scaled);
                return;
            }
        }
        if (exact_) {
            exact_ = false;
            floating_ = exactly();
        }
        const double next = floating_ + number;
        error_ += std::abs(floating_) >= std::abs(number) ? (floating_ - next) + number : (number - next) + floating_;
        floating_ = next;
    }
    double result() const { return exact_ ? exactly() : floating_ + error_; }

private:
    double exactly() const
    {
        // Whole and rest apart: the first may be too large for a double to hold both.
        return static_cast<double>(static_cast<long double>(sum_) / 10000.0L);
    }
    bool exact_ = true;
    __extension__ __int128 sum_ = 0; ///< ten-thousandths
    double floating_ = 0, error_ = 0;
};

struct Numbers {
    ExactSum sum;
    std::int64_t count = 0;
    double mean = 0, squares = 0; ///< of the differences from the mean
};

/// The state of a group; made when `make`. Null when there is none.
template <class State> State* stateOf(sqlite3_context* context, bool make)
{
    auto** place = static_cast<State**>(sqlite3_aggregate_context(context, make ? sizeof(State*) : 0));
    if (place == nullptr) return nullptr;
    if (*place == nullptr && make) *place = new State;
    return *place;
}

void addNumber(sqlite3_context* context, int count, sqlite3_value** given)
{
    try {
        const Arguments values(context, count, given);
        Numbers* const numbers = stateOf<Numbers>(context, true);
        if (numbers == nullptr || values.isNull(0)) return;
        const double number = values.number(0);
        numbers->sum.add(number);
        ++numbers->count;
        const double off = number - numbers->mean;
        numbers->mean += off / static_cast<double>(numbers->count);
        numbers->squares += off * (number - numbers->mean);
    } catch (const std::exception& error) {
        sqlite3_result_error(context, error.what(), -1);
    }
}

enum class Figure { sum, mean, variance, wholeVariance, deviation, wholeDeviation };

template <Figure figure> void endNumbers(sqlite3_context* context)
{
    const std::unique_ptr<Numbers> numbers(stateOf<Numbers>(context, false));
    if (!numbers || numbers->count == 0) return sqlite3_result_null(context);
    const auto count = static_cast<double>(numbers->count);
    constexpr bool ofAll = figure == Figure::wholeVariance || figure == Figure::wholeDeviation;
    const double by = ofAll ? count : count - 1;
    if (figure == Figure::sum) return sqlite3_result_double(context, numbers->sum.result());
    if (figure == Figure::mean) return sqlite3_result_double(context, numbers->sum.result() / count);
    if (by == 0) return sqlite3_result_null(context);
    const double variance = numbers->squares / by;
    const bool root = figure == Figure::deviation || figure == Figure::wholeDeviation;
    sqlite3_result_double(context, root ? std::sqrt(variance) : variance);
}

struct OneValue {
    sqlite3_value* value = nullptr;
    ~OneValue() { sqlite3_value_free(value); }
};

template <bool last> void addValue(sqlite3_context* context, int, sqlite3_value** given)
{
    OneValue* const one = stateOf<OneValue>(context, true);
    if (one == nullptr || (!last && one->value != nullptr)) return;
    sqlite3_value_free(one->value);
    one->value = sqlite3_value_dup(given[0]);
}

void endValue(sqlite3_context* context)
{
    const std::unique_ptr<OneValue> one(stateOf<OneValue>(context, false));
    if (!one || one->value == nullptr) return sqlite3_result_null(context);
    sqlite3_result_value(context, one->value);
}

/// The value of a query that stands for one value.
void addOnlyValue(sqlite3_context* context, int count, sqlite3_value** given)
{
    OneValue* const one = stateOf<OneValue>(context, true);
    if (one != nullptr && one->value != nullptr) {
        constexpr int wholeText = -1;
        return sqlite3_result_error(
            context,
            files::said("Bir değer yerine yazılan (Select ...) birden çok satır verdi; hangisinin alınacağı belli "
                        "değil. Select Top 1, Max ya da Min ile birini seçin; hepsiyle karşılaştırmak için In "
                        "(Select ...) yazın.",
                        "A (Select ...) that stands for a value gave several rows; nobody knows which to take. "
                        "Choose one by Select Top 1, Max or Min; to compare with all of them write In (Select ...)."),
            wholeText);
    }
    addValue<false>(context, count, given);
}

} // namespace

int addAggregates(sqlite3* database)
{
    using Callback = void (*)(sqlite3_context*, int, sqlite3_value**);
    struct Aggregate {
        const char* name;
        Callback step;
        void (*end)(sqlite3_context*);
    };
    static constexpr Aggregate aggregates[] = {
        {"acc_sum", addNumber, endNumbers<Figure::sum>},
        {"acc_avg", addNumber, endNumbers<Figure::mean>},
        {"acc_var", addNumber, endNumbers<Figure::variance>},
        {"acc_varp", addNumber, endNumbers<Figure::wholeVariance>},
        {"acc_stdev", addNumber, endNumbers<Figure::deviation>},
        {"acc_stdevp", addNumber, endNumbers<Figure::wholeDeviation>},
        {"acc_first", addValue<false>, endValue},
        {"acc_last", addValue<true>, endValue},
        {"acc_only", addOnlyValue, endValue},
    };
    for (const Aggregate& each : aggregates)
        if (const int result = sqlite3_create_function_v2(database, each.name, 1, SQLITE_UTF8, nullptr, nullptr,
                                                          each.step, each.end, nullptr);
            result != SQLITE_OK)
            return result;
    return SQLITE_OK;
}

} // namespace query
