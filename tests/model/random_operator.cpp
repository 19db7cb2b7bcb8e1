#include "tests/model/random_operator.h"
#include "tests/support/chances.h"

#include <array>

namespace model {
namespace {

/// Names that begin one another, differ by a letter's dot or by capitals only, hold the search's own sign, find the
/// customers whose names no key can type, or read as numbers.
const std::array<Text, 21> names = {u"ali", u"ali veli", u"ali can", u"ayşe", u"ışık",      u"ismail", u"ömer öz",
                                    u"a*",  u"çelik",    u"alii",    u"bb 5", u"toplamlar", u"o",      u"can",
                                    u"bü",  u"1000",     u"10",      u"5,",   u"12,75",     u"053",    u"1e3"};
const std::array<Text, 10> weights = {u"1000", u"1", u"5", u"350", u"0", u"1235", u"12345", u"77", u"1005", u"999999"};
const std::array<Text, 9> percentages = {u"12", u"12,5", u"12,75", u"12,345", u"123", u"0,05", u"9,999", u"1e", u"10,"};
const std::array<Text, 9> fees = {u"100", u"1250,50", u"1250,05", u"12,5", u"0", u"125t", u"7,", u"1e3", u"0,001"};

} // namespace

void RandomOperator::type(const Text& text)
{
    planned_.push_back({Act::key, clear, 0, {}});
    for (const char16_t c : text) {
        int index = c == u' ' ? space : -1;
        for (int key = 0; index < 0 && key < keyCount; ++key)
            if (keyText(key, false) == Text(1, c)) index = key;
        planned_.push_back({Act::key, index, 0, {}});
    }
}

Touch RandomOperator::slip(int station)
{
    Touch slip{Act::slip, station, any(10) < 7 ? 0 : 1 + any(8), {}};
    for (int taps = any(4) ? 0 : 1 + any(2); taps > 0; --taps) slip.meanwhile.push_back(meanwhile(station));
    return slip;
}

/// A finger that does not wait for the printer.
Touch RandomOperator::meanwhile(int station)
{
    switch (any(6)) {
    case 0:
    case 1:
        return {Act::slip, station, 0, {}};
    case 2:
        return {Act::newCustomer, any(2), 0, {}};
    case 3:
        return {Act::name, station, 0, {}};
    case 4:
        return {Act::olives, station, 0, {}};
    default:
        return {Act::key, any(3) ? clear : any(32), 0, {}};
    }
}

Text RandomOperator::burst()
{
    static const std::array<Text, 12> bursts = {
        u"  1234kg\r", u"   500kg\r   510kg\r", u"  1234 kg\r\n", u"0kg\r",    u"   -20kg\r",      u"  12,5kg\r",
        u"1234KG\r",   u"Net 12kg\r",           u"1234.5kg\r",    u"1kgkg2\r", u"00123456789kg\r", u"9e308kg\r"};
    if (any(40) == 0) return u"  12"; // the rest of the line never comes
    return any(3) ? bursts[static_cast<std::size_t>(any(5))] : bursts[static_cast<std::size_t>(any(12))];
}

/// A pressing as it should be done, or another piece of work that takes several touches.
void RandomOperator::plan(const Counter& seen)
{
    const int station = any(2);
    const auto one = [this](const auto& texts) {
        return texts[static_cast<std::size_t>(any(static_cast<int>(texts.size())))];
    };
    if (seen.panel) {
        if (any(3)) type(one(names));
        planned_.push_back({Act::pick, any(3), 0, {}});
        if (any(2)) planned_.push_back({Act::closePanel, 0, 0, {}});
        return;
    }
    planned_.push_back({Act::newCustomer, station, 0, {}});
    if (any(6)) {
        type(one(names));
        if (any(2)) planned_.push_back({Act::pick, any(3), 0, {}});
        if (any(3) == 0) planned_.push_back({Act::save, any(4) ? 0 : 1, any(2), {}});
    }
    if (any(4)) {
        planned_.push_back({Act::olives, station, 0, {}});
        type(one(weights));
    } else {
        planned_.push_back({Act::line, 0, 0, burst()});
    }
    if (any(2)) {
        planned_.push_back({Act::oil, station, 0, {}});
        type(one(weights));
    }
    const bool share = any(2) == 0;
    if (share != seen.stations[static_cast<std::size_t>(station)].share && any(4))
        planned_.push_back({Act::share, station, 0, {}});
    planned_.push_back({share ? Act::percentage : Act::fee, station, 0, {}});
    if (any(3)) type(share ? one(percentages) : one(fees));
    if (any(4) == 0) planned_.push_back({Act::newCustomer, any(2), 0, {}});
    planned_.push_back(slip(station));
}

Touch RandomOperator::anything(const Counter& seen)
{
    const int station = any(4) ? seen.working : any(2);
    const auto touch = [](Act act, int at = 0) { return Touch{act, at, 0, {}}; };
    const auto of = [&](Act act, int at = 0) { return [=] { return touch(act, at); }; };
    const auto save = [&] { return Touch{Act::save, any(4) ? 0 : 1, any(2), {}}; };
    const auto day = [&] { return Touch{any(2) ? Act::firstDay : Act::lastDay, any(5) - 2, 0, {}}; };
    const auto deleteAll = [&] {
        return Touch{any(3) ? Act::deletePressings : Act::deleteEverybody, any(3) ? 0 : 1, 0, {}};
    };
    const auto kind = [&] { return Touch{Act::container, station, any(9) - 1 < 0 ? -1 : any(4), {}}; };
    const auto restart = [&] { return Touch{Act::restart, 0, any(2) ? 0 : any(notesFound), {}}; };
    const auto dialog = [&] {
        if (any(3)) return touch(Act::key, letterCase);
        if (any(3)) return touch(Act::fontDialog);
        if (any(2)) return touch(Act::portDialog);
        planned_.push_front(touch(Act::connection));
        return planned_.front();
    };
    const auto seldom = [&] {
        if (any(8) == 0) return deleteAll();
        return any(3) ? touch(Act::key, clear) : touch(Act::statusLine);
    };
    return drawn<Touch>(any(64),
                        {
                            {3, [&] { return touch(Act::newCustomer, any(2)); }},
                            {1, of(Act::name, station)},
                            {3, of(Act::olives, station)},
                            {2, of(Act::oil, station)},
                            {2, of(Act::percentage, station)},
                            {2, of(Act::fee, station)},
                            {2, of(Act::share, station)},
                            {1, [&] { return touch(any(2) ? Act::entitlement : Act::left, station); }},
                            {3, [&] { return touch(Act::pick, any(4)); }},
                            {2, save},
                            {4, [&] { return slip(station); }},
                            {1, [&] { return touch(any(2) ? Act::containerFilled : Act::containersDropped, station); }},
                            {1, kind},
                            {1, of(Act::panel)},
                            {2, of(Act::closePanel)},
                            {1, [&] { return touch(Act::option, any(2)); }},
                            {1, of(Act::filter)},
                            {1, day},
                            {1, of(Act::statement)},
                            {1, seldom},
                            {1, of(Act::counts)},
                            {1, dialog},
                            {1, [&] { return any(12) == 0 ? restart() : touch(Act::key, letterCase); }},
                            {2,
                             [&] {
                                 return Touch{Act::line, 0, 0, burst()};
                             }},
                            {1, of(Act::key, clear)},
                            {2, of(Act::key, backspace)},
                            {21, [&] { return touch(Act::key, any(keyCount)); }},
                        });
}

Touch RandomOperator::next(const Counter& seen)
{
    const bool atName = seen.active == Field::name || seen.active == Field::filter;
    if (planned_.empty() && any(6) == 0) plan(seen);
    Touch touch;
    if (!planned_.empty() && any(12)) {
        touch = planned_.front();
        planned_.pop_front();
    } else {
        touch = anything(seen);
    }
    if (atName && touch.act == Act::key && seen.activeText().size() > 40) touch.at = clear;
    if (!atName && touch.act == Act::key && seen.activeText().size() > 14) touch.at = clear;
    return touch;
}

std::string described(const Touch& touch)
{
    static const std::array<const char*, 32> words = {"Yeni Müşteri",   "tap name",    "tap olives",   "tap oil",
                                                      "tap percentage", "tap fee",     "tap switch",   "tap share",
                                                      "tap left",       "key",         "pick row",     "Kaydet",
                                                      "Fiş Yaz",        "container -", "containers x", "container kind",
                                                      "Günlük",         "Kapat",       "option",       "tap filter",
                                                      "first day",      "last day",    "Yazdır",       "Carileri Sil",
                                                      "Hesapları Sil",  "Sayac",       "font dialog",  "port dialog",
                                                      "Bağlantı",       "line",        "status line",  "restart"};
    std::string text = words.at(static_cast<std::size_t>(touch.act));
    for (const Touch& tap : touch.meanwhile) text += " [" + described(tap) + "]";
    if (touch.act == Act::key) {
        const Text key = keyText(touch.at, true);
        text += " " + (touch.at == backspace    ? "Geri Sil"
                       : touch.at == space      ? "Boşluk"
                       : touch.at == clear      ? "Sil"
                       : touch.at == letterCase ? "AB"
                                                : utf8(key));
    } else if (touch.act == Act::line) {
        text += " '" + utf8(touch.burst) + "'";
    } else {
        text += " " + std::to_string(touch.at) + "/" + std::to_string(touch.chance);
    }
    return text;
}

} // namespace model
