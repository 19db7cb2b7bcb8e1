#pragma once

#include "tests/model/text_and_number.h"

#include <array>
#include <optional>
#include <vector>

/// The counter as plain values: what the operator sees, and the two tables. A second telling of the rules, as simple
/// as they can be told; where it and the screen differ, one of the two is wrong.
namespace model {

inline const Text prompt = u"Müşteri Seçin";
inline const Text totals = u"Toplamlar";

enum class Field { name, olives, oil, percentage, fee, filter };

/// Who has put a weight there.
enum class Source { hand, scale, rule };

/// A row of the register. Nothing recalled from what was never stored.
struct Customer {
    Text name;
    std::optional<double> percentage;
    std::optional<Text> container;
    std::optional<double> fee;
};

/// A row of the journal.
struct Pressing {
    Text name;
    double olives = 0, oil = 0, percentage = 0, entitlement = 0, fee = 0;
    int day = 0;
};

struct Station {
    Text name = prompt;
    Text olives, oil, percentage, entitlement, left, fee;
    Source olivesFrom = Source::hand, oilFrom = Source::hand;
    bool share = false; ///< the mill is paid in oil: the switch is on, its frame shown
    int container = 0;  ///< place in the list, -1 for none
    float count = 0;    ///< containers still to fill
    Text countShown = u"0 Kap";
    bool countFrame = false;
    bool mayPrint = false;
};

/// What a slip says.
struct Slip {
    Text customer, olives, oil, terms, pay, size, litres, containers;
};

/// What the grid of the report panel lists.
struct Listing {
    enum class Of { customers, journal, report };
    Of of = Of::customers;
    int firstDay = 0, lastDay = 0; ///< of a report
    Text name;                     ///< of a report; empty: everybody's
    bool operator==(const Listing&) const = default;
};

/// Where a slip fails, if it does, and what the printer says of it then.
enum class PrinterFault {
    none,
    paper,
    job,
    sending,
    answerLost,     ///< it has the slip, and says so when it is asked
    silentTaken,    ///< it has the slip, and says nothing
    silent,         ///< it does not have it, and says nothing
    forgotten,      ///< it does not have it, and knows nothing of it
    forgottenTaken, ///< it has it, and knows nothing of it
};

/// A slip of which nobody knows yet whether it was printed.
struct Waiting {
    Pressing pressing;
    Text container;
    bool arrived = false;
};

class Counter {
public:
    // What is seen.
    std::array<Station, 2> stations;
    int working = 0;
    Field active = Field::name; ///< of the working station, or the report's filter
    bool capitals = false;
    bool panel = false; ///< the report panel is open
    Text filter;
    bool reportChosen = false; ///< "RAPOR", not "CARİLER"
    int firstDay = 0, lastDay = 0;
    Listing listing;
    bool gridShown = true; ///< in the panel, and no names over it
    bool listOpen = false;
    std::vector<Text> found; ///< what the last search listed
    bool saveShown = false;
    bool saveDeletes = false; ///< the button says "Kaydı Sil"
    bool countsShown = false; ///< the menu's "Sayac"

    // The tables.
    std::vector<Customer> customers;
    std::vector<Pressing> journal; ///< without the report's totals

    std::vector<Slip> slips; ///< since the beginning

    int today = 0;    ///< the clock's day
    int setAside = 0; ///< notes of slips that were kept as files
    int unseen = 0;   ///< of them, those of which the status line still tells
    std::optional<Waiting> waiting;

    // What the operator does. Error for what is reported in a box.
    void newCustomer(int station);
    void tapName(int station);
    void tapWeight(int station, Field weight);
    void tapPay(int station, Field pay);
    void tapSwitch(int station);
    void key(int index);
    void pick(int row);
    /// What deletes asks the printer first, where a slip waits for its answer: `answers` says whether it gives one.
    void save(bool yes, bool answers);
    void slip(int station, PrinterFault fault);
    void containerFilled(int station);
    void containersDropped(int station);
    void chooseContainer(int station, int kind) { stations.at(std::size_t(station)).container = kind; }
    void openPanel();
    void closePanel();
    void chooseOption(int option);
    void changeDay(bool first, int day);
    void statement();
    void deleteEverybody(bool answers);
    void deletePressings(bool answers);
    void dialogClosed(); ///< the activation
    void restarted();
    void line(const Text& burst);
    /// A note that is found at a start: its slip was printed.
    void noteTaken(const Pressing& pressing, const Text& container);
    void keptAsFile();

    /// The rows of the grid as they stand there; of the journal without the sums of the last report.
    std::vector<Text> gridRows() const;

    /// No name is being typed any more.
    void endTyping();

    Station& now() { return stations.at(std::size_t(working)); }
    const Station& now() const { return stations.at(std::size_t(working)); }
    const Text& activeText() const;

private:
    using Caption = Text Station::*;

    Text& text(Field field);
    void put(Field field, const Text& text); ///< into the active station's display, with what follows from it
    void put(Caption caption, const Text& text);
    void choose(Field field);
    void finishFraction();
    void leaveField();
    void search(const Text& typed);
    void recall(const Customer& customer);
    void nameChanged();
    void filterChanged();
    void report();
    void showGrid();
    void book(const Pressing& pressing, const Text& container);
    bool settled(bool answers);
    void olivesChanged();
    void oilChanged();
    void percentageChanged();
    void feeChanged();
    void reset();
    void shareOff();
    static void showCount(Station& at);
    Customer* named(const Text& name);

    struct Kept {
        Text percentage, fee, oil, entitlement, left;
        int container;
    };
    std::optional<std::array<Kept, 2>> kept_; ///< since the panel was opened
    bool recalling_ = false, inOlives_ = false;
};

/// The keypad as it is drawn; capitals or small.
Text keyText(int index, bool capitals);
inline constexpr int backspace = 33, space = 34, doubleZero = 35, clear = 46, letterCase = 47, keyCount = 49;

/// Neither saved nor printed under.
bool isNoCustomer(const Text& name);

} // namespace model
