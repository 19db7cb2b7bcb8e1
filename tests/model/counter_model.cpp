#include "tests/model/counter_model.h"

#include <algorithm>
#include <cmath>

namespace model {
namespace {

const Text zero = u"0";
const std::array<Text, 4> containerKinds = {u" 5 Litrelik Kap", u"10 Litrelik Kap", u"15 Litrelik Kap",
                                            u"20 Litrelik Kap"};

bool isWhole(double value) { return value == std::floor(value); }

/// A number, a mark without decimals or with zeros that wait for a digit behind them: the whole number and the zeros.
struct Unfinished {
    Text number, zeros;
};

std::optional<Unfinished> unfinished(const Text& text, std::size_t decimals)
{
    const auto mark = text.find(u',');
    if (mark == Text::npos || text.size() - mark - 1 >= decimals) return std::nullopt;
    if (text.find_first_not_of(u'0', mark + 1) != Text::npos) return std::nullopt;
    const Text before = mark == 0 ? zero : text.substr(0, mark);
    if (before.find_first_not_of(u"0123456789.") != Text::npos || !numberIn(before)) return std::nullopt;
    return Unfinished{before, text.substr(mark + 1)};
}

/// As typed in a percentage: what is not a number stays.
Text asPercentage(const Text& text)
{
    const auto value = numberIn(text);
    if (!value) return text;
    return text.find_first_of(u".,") == Text::npos ? written(*value, 0, 0, false) : written(*value, 0, 2, false);
}

} // namespace

Text keyText(int index, bool capitals)
{
    static const Text letters = u"abcçdefgğhıijklmnoöprsştuüvyzwqx", capital = u"ABCÇDEFGĞHIİJKLMNOÖPRSŞTUÜVYZWQX";
    const auto at = static_cast<std::size_t>(index);
    if (index < 32) return Text(1, (capitals ? capital : letters)[at]);
    if (index == 32) return u",";
    if (index == doubleZero) return u"00";
    if (index >= 36 && index <= 45) return Text(1, u"0987654321"[at - 36]);
    return index == 48 ? u"*" : u"";
}

bool isNoCustomer(const Text& name)
{
    const Text words = trimmed(name);
    return words.empty() || words == prompt || std::ranges::equal(words, totals, {}, lower, lower);
}

Text& Counter::text(Field field)
{
    switch (field) {
    case Field::name:
        return now().name;
    case Field::olives:
        return now().olives;
    case Field::oil:
        return now().oil;
    case Field::percentage:
        return now().percentage;
    case Field::fee:
        return now().fee;
    case Field::filter:
        break;
    }
    return filter;
}

const Text& Counter::activeText() const { return const_cast<Counter*>(this)->text(active); }

void Counter::put(Field field, const Text& written)
{
    if (text(field) == written) return;
    text(field) = written;
    switch (field) {
    case Field::name:
        return nameChanged();
    case Field::olives:
        now().olivesFrom = Source::hand;
        return olivesChanged();
    case Field::oil:
        now().oilFrom = inOlives_ ? Source::rule : Source::hand;
        return oilChanged();
    case Field::percentage:
        return percentageChanged();
    case Field::fee:
        return feeChanged();
    case Field::filter:
        return filterChanged();
    }
}

/// What is handed over is always the oil without the mill's share.
void Counter::put(Caption caption, const Text& written)
{
    now().*caption = written;
    now().left = whole(valueOf(now().oil) - valueOf(now().entitlement));
}

Customer* Counter::named(const Text& name)
{
    const auto at = std::find_if(customers.begin(), customers.end(), [&](const Customer& c) { return c.name == name; });
    return at == customers.end() ? nullptr : &*at;
}

// ---- Fields ----

void Counter::finishFraction()
{
    const bool percentage = active == Field::percentage;
    if (!percentage && active != Field::fee) return;
    if (const auto open = unfinished(text(active), percentage ? 2 : 3))
        put(active, written(*numberIn(open->number), 0, 0, !percentage));
}

void Counter::leaveField()
{
    try {
        finishFraction();
    } catch (const Error&) {
        // It was told when it was typed.
    }
}

void Counter::choose(Field field)
{
    if (field != active) leaveField();
    active = field;
    if (field != Field::name) listOpen = false;
}

void Counter::endTyping() { listOpen = saveShown = false; }

void Counter::newCustomer(int station)
{
    leaveField();
    working = station;
    active = Field::name;
    endTyping();
}

void Counter::tapName(int station)
{
    if (station == working && !panel) choose(Field::name);
}

void Counter::tapWeight(int station, Field weight)
{
    if (station != working || panel) return;
    choose(weight);
    if (!now().name.empty() && now().name != prompt) return;
    put(Field::name, prompt);
    endTyping();
    active = Field::name;
}

void Counter::tapPay(int station, Field pay)
{
    if (station != working || panel || (pay == Field::percentage && !now().share)) return;
    choose(pay);
}

void Counter::tapSwitch(int station)
{
    if (station != working || panel) return;
    if (now().share) {
        shareOff();
        return;
    }
    now().share = true;
    put(Field::fee, zero);
    put(&Station::entitlement, whole(product(valueOf(now().oil), valueOf(now().percentage)) / 100));
}

void Counter::shareOff()
{
    if (!now().share) return;
    put(&Station::entitlement, zero);
    now().share = false;
    // The percentage is not seen any more: the fee is edited in its place.
    if (active == Field::percentage) choose(Field::fee);
}

// ---- What follows from a change ----

void Counter::olivesChanged()
{
    if (now().olives.empty()) put(Field::olives, zero);
    const double olives = valueOf(now().olives);
    put(Field::olives, isWhole(olives) ? whole(olives) : written(olives, 2, 2, true));
    if (olives > 0) {
        const bool outer = inOlives_;
        inOlives_ = true;
        try {
            put(Field::oil, whole(olives * 0.9));
        } catch (const Error&) {
            inOlives_ = outer;
            throw;
        }
        inOlives_ = outer;
    }
    now().mayPrint = olives != 0;
}

void Counter::oilChanged()
{
    if (now().oil.empty()) put(Field::oil, zero);
    const double oil = valueOf(now().oil);
    put(Field::oil, written(oil, 0, 3, true));
    if (isWhole(oil)) put(&Station::entitlement, zero);
    put(&Station::entitlement, now().entitlement);
    if (!now().share) return;
    const bool nothing = valueOf(now().olives) <= 0;
    put(&Station::entitlement, nothing ? zero : whole(product(oil, valueOf(now().percentage)) / 100));
}

void Counter::percentageChanged()
{
    if (active != Field::percentage) return;
    if (now().percentage.empty()) put(Field::percentage, zero);
    if (now().percentage.size() > 5) put(Field::percentage, now().percentage.substr(0, 5));
    const auto open = unfinished(now().percentage, 2);
    if (open && written(*numberIn(open->number), 0, 0, false).size() <= 2) {
        put(Field::percentage, written(*numberIn(open->number), 0, 0, false) + u',' + open->zeros);
    } else {
        if (isWhole(valueOf(now().percentage)) && now().percentage.size() > 2)
            put(Field::percentage, now().percentage.substr(0, 2));
        put(Field::percentage, asPercentage(now().percentage));
    }
    const double oil = valueOf(now().oil);
    const double share = oil <= 0 || !now().share ? 0 : product(oil, valueOf(now().percentage)) / 100;
    put(&Station::entitlement, whole(share));
}

void Counter::feeChanged()
{
    if (now().fee.empty() || now().share) put(Field::fee, zero);
    if (recalling_) return; // a name is edited, which is no amount
    if (active == Field::fee)
        if (const auto open = unfinished(now().fee, 3)) {
            put(Field::fee, whole(*numberIn(open->number)) + u',' + open->zeros);
            return;
        }
    const bool fraction = !isWhole(valueOf(now().fee));
    // Whatever is being edited is written anew; a name like 1e345, which no number can hold, stays as it is.
    std::optional<double> value;
    try {
        value = numberIn(activeText());
    } catch (const Error&) {
        return;
    }
    if (value) put(active, written(*value, 0, fraction ? 3 : 0, true));
}

void Counter::nameChanged()
{
    // The prompt comes back while a weight is edited; nobody has typed it.
    if (active != Field::name || now().name == prompt) return endTyping();
    if (now().name.empty()) return reset();
    search(now().name);
    saveDeletes = !found.empty() && found.front() == now().name;
    saveShown = true;
}

void Counter::reset()
{
    put(Field::olives, Text());
    shareOff();
    put(&Station::entitlement, zero);
    put(Field::fee, zero);
    now().mayPrint = false;
    now().countFrame = false;
    now().count = 0;
    now().countShown = u"0 Kap";
    endTyping();
}

void Counter::filterChanged()
{
    if (filter.empty()) {
        showGrid();
        return report();
    }
    // A name that is typed is seen.
    if (!reportChosen) chooseOption(1);
    gridShown = false;
    search(filter);
}

void Counter::search(const Text& typed)
{
    if (typed.find(u'\'') != Text::npos) throw Error{3075};
    std::vector<const Customer*> matches;
    for (const Customer& customer : customers)
        if (beginsWith(customer.name, typed)) matches.push_back(&customer);
    std::stable_sort(matches.begin(), matches.end(),
                     [](const Customer* a, const Customer* b) { return compareNames(a->name, b->name) < 0; });
    found.clear();
    for (const Customer* customer : matches) found.push_back(customer->name);
    // The search goes to the last row and back to the first; both leave their terms.
    if (!matches.empty()) {
        recall(*matches.back());
        recall(*matches.front());
    }
    listOpen = !matches.empty();
}

void Counter::recall(const Customer& customer)
{
    if (customer.percentage) now().percentage = plain(*customer.percentage);
    if (customer.container) {
        const auto kind = std::find(containerKinds.begin(), containerKinds.end(), *customer.container);
        if (kind != containerKinds.end()) now().container = static_cast<int>(kind - containerKinds.begin());
    }
    recalling_ = true;
    if (customer.fee) put(Field::fee, plain(*customer.fee));
    recalling_ = false;
}

// ---- Keypad, list, register ----

void Counter::key(int index)
{
    if (trimmed(activeText()) == prompt && !panel) put(active, Text());
    const bool weight = active == Field::olives || active == Field::oil;
    const bool figure = index >= doubleZero && index <= 45;
    if (weight && !figure && index != clear && index != backspace) return;

    if (index == clear)
        put(active, Text());
    else if (index == letterCase)
        capitals = !capitals;
    else if (index == backspace)
        put(active, activeText().substr(0, activeText().empty() ? 0 : activeText().size() - 1));
    else if (index == space)
        put(active, activeText() + u' ');
    else
        put(active, activeText() + keyText(index, capitals));
    if (!capitals) put(active, titled(activeText()));
}

void Counter::pick(int row)
{
    if (!listOpen || row >= static_cast<int>(found.size())) return;
    const Text picked = found.at(static_cast<std::size_t>(row));
    if (panel) {
        put(active, picked);
        listOpen = false;
        report();
        return showGrid();
    }
    std::optional<Error> failed;
    try {
        put(active, picked);
    } catch (const Error& error) {
        failed = error;
    }
    endTyping();
    // Whoever was found first, the terms are the picked one's, and 0 where none are known.
    const Customer* customer = named(picked);
    Customer known = customer ? *customer : Customer{};
    known.percentage = known.percentage.value_or(0);
    known.fee = known.fee.value_or(0);
    recall(known);
    if (failed) throw Error(*failed);
    tapWeight(working, Field::oil);
}

void Counter::save(bool yes, bool answers)
{
    if (!saveShown) return;
    const Text name = now().name;
    if (!saveDeletes) {
        listOpen = false;
        if (isNoCustomer(name)) throw Error{5};
        if (!named(name)) customers.push_back({name, {}, {}, {}});
        saveDeletes = true;
        return;
    }
    if (!yes || !settled(answers)) return;
    if (!named(name)) throw Error{3167};
    choose(Field::name);
    put(Field::name, Text());
    std::erase_if(journal, [&](const Pressing& pressing) { return pressing.name == name; });
    std::erase_if(customers, [&](const Customer& customer) { return customer.name == name; });
}

bool Counter::settled(bool answers)
{
    if (!waiting) return true;
    if (!answers) return false;
    if (waiting->arrived) book(waiting->pressing, waiting->container);
    waiting.reset();
    return true;
}

void Counter::deletePressings(bool answers)
{
    if (settled(answers)) journal.clear();
}

void Counter::deleteEverybody(bool answers)
{
    if (!settled(answers)) return;
    customers.clear();
    journal.clear();
    found.clear();
    listOpen = saveDeletes = false;
}

// ---- Slip and containers ----

void Counter::showCount(Station& at)
{
    const Text shown = plain(at.count, 7) + u" Kap";
    const bool changed = at.countShown != shown;
    at.countShown = shown;
    if (changed && at.count == 0) at.countFrame = false;
}

void Counter::slip(int station, PrinterFault fault)
{
    if (station != working || !now().mayPrint) return;
    listOpen = false;
    leaveField();
    Station& at = now();
    const bool silent = fault == PrinterFault::silent || fault == PrinterFault::silentTaken;
    const bool forgotten = fault == PrinterFault::forgotten || fault == PrinterFault::forgottenTaken;
    if (isNoCustomer(at.name)) return;
    if (forgotten && waiting) {
        waiting.reset();
        keptAsFile();
    }
    if (!settled(!silent) || fault == PrinterFault::paper) return;
    try {
        Slip slip;
        slip.customer = at.name;
        slip.olives = written(valueOf(at.olives), 2, 2, true) + u" KG";
        slip.oil = written(valueOf(at.oil), 2, 2, true) + u" LT";
        slip.pay = at.share ? whole(valueOf(at.entitlement)) + u" KG" : whole(valueOf(at.fee)) + u" TL";
        slip.terms = at.share ? u'%' + at.percentage + u" Sıkılan Zeytin Yağı Miktarı" : u"Sıkılan Zetin Yağı Bedeli";
        if (at.container < 0) return;
        const double size = 5 * (at.container + 1);
        at.count = static_cast<float>(std::trunc(valueOf(at.oil) / size));
        showCount(at);
        const double litres = valueOf(at.share ? at.left : at.oil);
        slip.size = plain(size) + u" LT";
        slip.litres = whole(litres) + u" LT";
        slip.containers = whole(litres / size) + u" AD";
        const Pressing pressing{at.name,
                                valueOf(at.olives),
                                valueOf(at.oil),
                                valueOf(at.percentage),
                                valueOf(at.entitlement),
                                valueOf(at.fee),
                                today};
        const Text& container = containerKinds.at(static_cast<std::size_t>(at.container));
        const bool arrived = fault == PrinterFault::silentTaken || fault == PrinterFault::forgottenTaken;
        if (arrived) slips.push_back(slip);
        if (silent) waiting = Waiting{pressing, container, arrived};
        if (forgotten) keptAsFile();
        if (fault != PrinterFault::none && fault != PrinterFault::answerLost) return;

        slips.push_back(slip);
        book(pressing, container);
        at.countFrame = countsShown;
        saveDeletes = true;
    } catch (const Error&) {
        // What is no number is neither printed nor stored, and said in the status line alone.
    }
}

void Counter::book(const Pressing& pressing, const Text& container)
{
    journal.push_back(pressing);
    if (!named(pressing.name)) customers.push_back({pressing.name, {}, {}, {}});
    Customer& customer = *named(pressing.name);
    customer.percentage = pressing.percentage;
    customer.container = container;
    customer.fee = pressing.fee;
}

void Counter::keptAsFile()
{
    ++setAside;
    ++unseen;
}

void Counter::noteTaken(const Pressing& pressing, const Text& container) { book(pressing, container); }

void Counter::containerFilled(int station)
{
    Station& at = stations.at(static_cast<std::size_t>(station));
    if (at.count == 0) return;
    --at.count;
    showCount(at);
}

void Counter::containersDropped(int station)
{
    Station& at = stations.at(static_cast<std::size_t>(station));
    at.count = 0;
    at.countFrame = false;
}

// ---- Report panel, dialogs, the line ----

void Counter::openPanel()
{
    leaveField();
    if (!panel) {
        kept_.emplace();
        for (std::size_t i = 0; i < 2; ++i)
            (*kept_)[i] = {stations[i].percentage,  stations[i].fee,  stations[i].oil,
                           stations[i].entitlement, stations[i].left, stations[i].container};
    }
    panel = true;
    active = Field::filter;
    endTyping();
    put(Field::filter, Text());
    chooseOption(0);
}

void Counter::closePanel()
{
    if (!panel) return;
    panel = false;
    active = Field::name;
    endTyping();
    for (std::size_t i = 0; i < 2; ++i) {
        Station& at = stations[i];
        const Kept& was = (*kept_)[i];
        at.percentage = was.percentage;
        at.fee = was.fee;
        at.container = was.container;
        // What stood there stands there again, also where the weight went to and fro meanwhile.
        if (at.oil == was.oil) {
            at.entitlement = was.entitlement;
            at.left = was.left;
            continue;
        }
        if (!at.share) continue;
        // Another weight has come meanwhile: its share is that of these terms. What is no number was told before.
        try {
            at.entitlement = whole(product(valueOf(at.oil), valueOf(at.percentage)) / 100);
            at.left = whole(valueOf(at.oil) - valueOf(at.entitlement));
        } catch (const Error&) {
        }
    }
    kept_.reset();
}

void Counter::showGrid()
{
    gridShown = true;
    listOpen = false;
}

void Counter::chooseOption(int option)
{
    if (!panel) return;
    reportChosen = option == 1;
    if (option == 0) put(Field::filter, Text());
    listing = {reportChosen ? Listing::Of::journal : Listing::Of::customers, 0, 0, {}};
    showGrid();
}

void Counter::changeDay(bool first, int day)
{
    int& changed = first ? firstDay : lastDay;
    if (changed == day) return;
    changed = day;
    if (firstDay > lastDay) (first ? lastDay : firstDay) = day;
    report();
    showGrid();
}

void Counter::report()
{
    const bool named = !panel || !reportChosen || !filter.empty();
    if (named && activeText().find(u'\'') != Text::npos) throw Error{3075};
    if (panel && !reportChosen)
        listing = {};
    else
        listing = {Listing::Of::report, firstDay, lastDay, filter};
}

void Counter::statement()
{
    // A name that was typed and not picked is reported first, where the names found lie.
    if (!panel || filter.empty() || !named(filter)) return;
    if (gridShown && listing == Listing{Listing::Of::report, firstDay, lastDay, filter}) return;
    listOpen = false;
    report();
    showGrid();
}

std::vector<Text> Counter::gridRows() const
{
    std::vector<Text> rows;
    const auto bars = [](const Text& row, const Text& cell) { return row + u'|' + cell; };
    if (listing.of == Listing::Of::customers) {
        for (const Customer& customer : customers)
            rows.push_back(bars(bars(bars(customer.name, customer.percentage ? plain(*customer.percentage) : Text()),
                                     customer.container.value_or(Text())),
                                customer.fee ? plain(*customer.fee) : Text()));
        return rows;
    }
    const auto amount = [](double value) { return written(value, 2, 2, true); };
    Pressing sums{.name = totals};
    for (const Pressing& pressing : journal) {
        const bool inside = pressing.day >= listing.firstDay && pressing.day <= listing.lastDay &&
                            (listing.name.empty() || pressing.name == listing.name);
        if (listing.of == Listing::Of::report && !inside) continue;
        rows.push_back(
            bars(bars(bars(bars(bars(amount(pressing.olives), amount(pressing.oil)), plain(pressing.percentage)),
                           amount(pressing.entitlement)),
                      amount(pressing.fee)),
                 pressing.name));
        sums.olives += pressing.olives;
        sums.oil += pressing.oil;
        sums.entitlement += pressing.entitlement;
        sums.fee += pressing.fee;
    }
    if (listing.of == Listing::Of::report && !rows.empty())
        rows.push_back(
            bars(bars(bars(bars(bars(amount(sums.olives), amount(sums.oil)), Text()), amount(sums.entitlement)),
                      amount(sums.fee)),
                 totals));
    return rows;
}

void Counter::dialogClosed()
{
    // The days first, while the label that was edited is still the one whose name is asked for.
    std::optional<Error> failed;
    for (const bool first : {true, false}) {
        try {
            changeDay(first, today);
        } catch (const Error& error) {
            if (!failed) failed = error;
        }
    }
    leaveField();
    working = 0;
    active = panel ? Field::filter : Field::name;
    endTyping();
    gridShown = true;
    for (Station& station : stations) station.container = 0;
    if (failed) throw Error(*failed);
}

void Counter::restarted()
{
    settled(true);
    unseen = setAside; // a start tells of all that lie there
    stations = {};
    for (Station& station : stations) station.olives = station.oil = zero;
    working = 0;
    active = Field::name;
    panel = listOpen = saveShown = saveDeletes = false;
    reportChosen = false;
    firstDay = lastDay = today;
    listing = {};
    gridShown = true;
    filter.clear();
    found.clear();
    kept_.reset();
}

void Counter::line(const Text& burst)
{
    if (now().name.empty()) return;
    const auto end = burst.find(u'\r');
    Text weight = end == Text::npos ? Text() : burst.substr(0, end + 1);
    for (auto at = weight.find(u"kg"); at != Text::npos; at = weight.find(u"kg", at)) weight.erase(at, 2);
    if (weight.size() > 8) weight.erase(0, weight.size() - 8);
    if (weight == now().olives) return;
    const auto value = numberIn(weight);
    put(Field::olives, value ? whole(*value) : weight);
    if (end != Text::npos) now().olivesFrom = Source::scale;
}

} // namespace model
