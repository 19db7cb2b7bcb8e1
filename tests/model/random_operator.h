#pragma once

#include "tests/model/counter_model.h"

#include <deque>
#include <random>
#include <string>
#include <vector>

namespace model {

enum class Act {
    newCustomer,
    name,
    olives,
    oil,
    percentage,
    fee,
    share,
    entitlement,
    left,
    key,
    pick,
    save,
    slip,
    containerFilled,
    containersDropped,
    container,
    panel,
    closePanel,
    option,
    filter,
    firstDay,
    lastDay,
    statement,
    deleteEverybody,
    deletePressings,
    counts,
    fontDialog,
    portDialog,
    connection,
    line,
    statusLine,
    restart
};

/// One thing that an operator does.
struct Touch {
    Act act = Act::key;
    int at = 0;                        ///< station, key, row, kind or day, as the act needs
    int chance = 0;                    ///< an answer, a fault of the printer
    Text burst;                        ///< of the scale
    std::vector<Touch> meanwhile = {}; ///< what is tapped while a slip is printed
};

/// What a start may find of a slip, as a restart's chance says: nothing, one of two that were printed, one that was
/// not, one that cannot be read, one that no table takes, and one of which the printer knows nothing.
inline constexpr int notesFound = 7;

std::string described(const Touch& touch);

/// Somebody in a hurry: now and then a pressing from beginning to end, and anything at all in between.
class RandomOperator {
public:
    explicit RandomOperator(unsigned seed) : chance_(seed) {}
    Touch next(const Counter& seen);

private:
    int any(int below) { return static_cast<int>(chance_() % static_cast<unsigned>(below)); }
    Touch anything(const Counter& seen);
    void plan(const Counter& seen);
    void type(const Text& text);
    Touch slip(int station);
    Touch meanwhile(int station);
    Text burst();

    std::mt19937 chance_;
    std::deque<Touch> planned_;
};

} // namespace model
