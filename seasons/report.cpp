#include "seasons/report.h"

#include "seasons/texts.h"

#include <algorithm>
#include <cmath>

namespace seasons {
namespace {

constexpr std::size_t customersDrawn = 15;

Cell percentOf(std::optional<double> share) { return share ? Cell(*share * 100) : Cell(); }

std::string yieldText(const Amounts& amounts)
{
    const auto yield = amounts.yield();
    return yield ? "%" + numberText(*yield * 100, 1) : "—";
}

std::string whole(double number) { return numberText(number, 0); }

std::string liraText(double lira) { return numberText(lira, lira == std::round(lira) ? 0 : 2); }

std::string nameOf(const std::u16string& customer)
{
    return customer.empty() ? "(adsız)" : showable(jet::toUtf8(customer));
}

/// Columns of amounts get their digits behind the comma: two where any figure needs them.
void chooseDecimals(Section& section)
{
    for (std::size_t i = 0; i < section.columns.size(); ++i) {
        Column& column = section.columns[i];
        if (column.kind == Kind::percent) column.decimals = 1;
        if (column.kind != Kind::amount) continue;
        const auto isBroken = [i](const std::vector<Cell>& row) {
            const auto* number = i < row.size() ? std::get_if<double>(&row[i]) : nullptr;
            // Whole to half a hundredth is whole.
            return number && std::isfinite(*number) && std::abs(*number - std::round(*number)) >= 0.005;
        };
        column.decimals = std::ranges::any_of(section.rows, isBroken) || isBroken(section.sum) ? 2 : 0;
    }
}

Section days(const Figures& figures)
{
    Section section{"gunler", "Günlere göre zeytin ve yağ", "", {}, {}, {}, true, true};
    section.columns = {{"Gün", Kind::day}, {"Sıkım"}, {"Zeytin kg", Kind::amount}, {"Yağ kg", Kind::amount}};
    for (const auto& [day, amounts] : figures.days)
        section.rows.push_back({double(day), double(amounts.pressings), amounts.olives, amounts.oil});
    const auto busiest =
        std::ranges::max_element(figures.days, {}, [](const DayAmounts& day) { return day.amounts.olives; });
    if (busiest != figures.days.end())
        section.summary = "En yoğun gün " + dayText(busiest->day) + ": " + whole(busiest->amounts.olives) +
                          " kg zeytin, " + whole(busiest->amounts.oil) + " kg yağ.";
    return section;
}

Section yieldByDay(const Figures& figures)
{
    Section section{"verim", "Sezon boyunca verim", "", {}, {}, {}, true, true};
    section.columns = {{"Gün", Kind::day}, {"Verim %", Kind::percent}, {"Son yedi gün %", Kind::percent}};
    const auto seven = yieldsOfSevenDays(figures.days);
    for (std::size_t i = 0; i < seven.size(); ++i)
        section.rows.push_back(
            {double(figures.days[i].day), percentOf(figures.days[i].amounts.yield()), percentOf(seven[i])});
    section.summary =
        "Verim, 100 kg zeytinden çıkan yağdır. Sezonun verimi " + yieldText(figures.total) +
        (seven.empty() || !seven.back() ? "." : "; son yedi günde %" + numberText(*seven.back() * 100, 1) + ".");
    return section;
}

Section yieldCounts(const YieldCounts& yields)
{
    Section section{"dagilim", "Verimin dağılımı", "", {{"Verim %", Kind::text}, {"Sıkım"}}, {}, {}};
    const auto& counts = yields.pressings;
    const auto isSome = [](std::uint64_t count) { return count > 0; };
    const auto first = std::ranges::find_if(counts, isSome);
    const auto end = std::find_if(counts.rbegin(), counts.rend(), isSome).base();
    std::uint64_t known = 0;
    const auto name = [&](auto bin) {
        const auto from = bin - counts.begin();
        return std::to_string(from) + (bin + 1 == counts.end() ? " ve üstü" : "–" + std::to_string(from + 1));
    };
    for (auto bin = first; bin < end; ++bin) {
        known += *bin;
        // Between the olives' yields and what nobody weighed may lie dozens of percents without a pressing.
        const bool isGap = std::none_of(bin, counts.end() - 1, isSome) && bin + 1 < counts.end();
        if (!isGap) section.rows.push_back({name(bin), double(*bin)});
    }
    if (known > 0) {
        section.summary = "En sık görülen verim: " + name(std::ranges::max_element(counts)) + ".";
        // Oil that nobody weighed stands in the journal as nine tenths of the olives.
        if (counts.back() > 0)
            section.summary +=
                " " + whole(double(counts.back())) +
                " sıkımda yağ, zeytinin %60'ı ya da daha çoğu görünüyor: yağı tartılmadan yazılmış olabilir.";
    }
    if (yields.unknown > 0)
        section.summary += (section.summary.empty() ? "" : " ") + whole(double(yields.unknown)) +
                           " sıkımda zeytin ya da yağ yazılı değil.";
    return section;
}

enum class Pay { oil, money };

Section weeks(const Figures& figures, Pay pay)
{
    const bool oil = pay == Pay::oil;
    Section section{oil ? "hakedis" : "nakit", oil ? "Haftalara göre hak ediş (yağ)" : "Haftalara göre nakit (TL)"};
    section.columns = {{"Haftanın ilk günü", Kind::day}, {oil ? "Hak ediş kg" : "Nakit TL", Kind::amount}};
    const double total = oil ? figures.total.share : figures.total.fee;
    for (const auto& [day, amounts] : weeksOf(figures.days))
        section.rows.push_back({double(day), oil ? amounts.share : amounts.fee});
    section.sum = {std::string("Toplam"), total};
    section.summary = "Sezonda " + (oil ? whole(total) + " kg yağ" : liraText(total) + " TL") + ".";
    return section;
}

Section hours(const Figures& figures)
{
    Section section{"saatler", "Günün saatleri"};
    section.columns = {{"Saat", Kind::text}, {"Sıkım"}, {"Zeytin kg", Kind::amount}};
    const auto isSome = [](const Amounts& amounts) { return amounts.pressings > 0; };
    const auto& all = figures.hours;
    const auto first = std::ranges::find_if(all, isSome);
    const auto end = std::find_if(all.rbegin(), all.rend(), isSome).base();
    const auto name = [&](auto hour) {
        const auto digits = [](auto number) { return (number < 10 ? "0" : "") + std::to_string(number); };
        return digits(hour - all.begin()) + "–" + digits(hour + 1 - all.begin());
    };
    for (auto hour = first; hour < end; ++hour)
        section.rows.push_back({name(hour), double(hour->pressings), hour->olives});
    const auto busiest = std::ranges::max_element(all, {}, &Amounts::pressings);
    if (isSome(*busiest))
        section.summary = "Fişlerin yazıldığı saatler. En yoğunu " + name(busiest) + ": " +
                          whole(double(busiest->pressings)) + " sıkım.";
    return section;
}

Section largest(const Figures& figures)
{
    Section section{"buyukler", "En çok zeytin getirenler"};
    section.columns = {{"Müşteri", Kind::text}, {"Zeytin kg", Kind::amount}};
    double together = 0;
    for (const CustomerAmounts& customer : figures.customers) {
        if (section.rows.size() == customersDrawn) break;
        section.rows.push_back({nameOf(customer.name), customer.amounts.olives});
        together += customer.amounts.olives;
    }
    if (figures.total.olives > 0)
        section.summary = std::to_string(section.rows.size()) + " müşteri zeytinin yüzde " +
                          whole(together * 100 / figures.total.olives) + " kadarını getirdi.";
    return section;
}

Section containers(const ContainerCounts& counts)
{
    Section section{"kaplar", "Dolan kaplar", "", {{"Kap", Kind::text}, {"Adet", Kind::count}}, {}, {}};
    double all = 0;
    for (std::size_t kind = 0; kind < counts.filled.size(); ++kind) {
        section.rows.push_back({whole(mill::containers[kind].litres) + " litre", counts.filled[kind]});
        all += counts.filled[kind];
    }
    section.sum = {std::string("Toplam"), all};
    section.summary = "Yağın doldurduğu tam kaplar; kabın boyu müşterinin kayıtta duran son kabıdır.";
    if (counts.unknown > 0) section.summary += " " + whole(double(counts.unknown)) + " sıkımın kabı bilinmiyor.";
    return section;
}

Section customers(const Figures& figures)
{
    Section section{"musteriler", "Müşteriler", "", {}, {}, {}, false, true};
    section.columns = {{"Müşteri", Kind::text},     {"Sıkım"},
                       {"Zeytin kg", Kind::amount}, {"Yağ kg", Kind::amount},
                       {"Verim %", Kind::percent},  {"Hak ediş kg", Kind::amount},
                       {"Nakit TL", Kind::amount},  {"Son gün", Kind::day}};
    const auto cells = [](std::string name, const Amounts& of, Cell day) {
        return std::vector<Cell>{std::move(name), double(of.pressings),  of.olives,
                                 of.oil,          percentOf(of.yield()), of.share,
                                 of.fee,          std::move(day)};
    };
    for (const CustomerAmounts& customer : figures.customers)
        section.rows.push_back(cells(nameOf(customer.name), customer.amounts, double(customer.lastDay)));
    section.sum = cells("Toplam", figures.total, {});
    return section;
}

Section seasons(const Figures& figures)
{
    Section section{"sezonlar", "Bütün sezonlar", "", {}, {}, {}, false, true};
    section.columns = {{"Sezon", Kind::text},       {"Sıkım"},
                       {"Zeytin kg", Kind::amount}, {"Yağ kg", Kind::amount},
                       {"Verim %", Kind::percent},  {"Hak ediş kg", Kind::amount},
                       {"Nakit TL", Kind::amount}};
    for (const auto& [year, of] : figures.seasons)
        section.rows.push_back(
            {seasonText(year), double(of.pressings), of.olives, of.oil, percentOf(of.yield()), of.share, of.fee});
    return section;
}

std::string timeText(double moment)
{
    const std::string text = momentText(moment);
    return text.substr(text.find(' ') + 1);
}

/// Beside the headline: what of its yield nobody has weighed, and what it is without that. Nothing where that makes no
/// difference that is seen.
std::string yieldWarning(const Figures& figures)
{
    const YieldCounts& yields = figures.yields;
    const std::uint64_t unweighed = yields.pressings.back() + yields.unknown;
    if (unweighed == 0 || yieldText(yields.weighed) == yieldText(figures.total)) return {};
    return "Verim " + yieldText(figures.total) + ", ama " + whole(double(unweighed)) +
           " sıkımın yağı ya da zeytini tartılmadan yazılmış görünüyor (boş, ya da yağı zeytinin %60'ı ve üstü); " +
           (yields.weighed.pressings > 0 ? "onlar sayılmadan verim " + yieldText(yields.weighed) + "."
                                         : "bu sezonda tartılmış yağ görünmüyor.");
}

std::vector<Headline> headlines(const Figures& figures)
{
    const Amounts& total = figures.total;
    return {{"Zeytin", whole(total.olives), "kg"},
            {"Yağ", whole(total.oil), "kg"},
            {"Verim", total.yield() ? numberText(*total.yield() * 100, 1) : "—", "%"},
            {"Hak ediş", whole(total.share), "kg yağ"},
            {"Nakit", liraText(total.fee), "TL"},
            {"Sıkım", whole(double(total.pressings)), ""},
            {"Müşteri", whole(double(figures.customers.size())), ""},
            {"Çalışılan gün", whole(double(figures.days.size())), ""}};
}

} // namespace

Section describeToday(const Reading& reading, double now)
{
    Section section{"bugun", "Bugün, " + dayText(static_cast<int>(std::floor(now))), "", {}, {}, {}, false, true};
    section.columns = {{"Saat", Kind::text},      {"Müşteri", Kind::text},    {"Zeytin kg", Kind::amount},
                       {"Yağ kg", Kind::amount},  {"Verim %", Kind::percent}, {"Hak ediş kg", Kind::amount},
                       {"Nakit TL", Kind::amount}};
    const auto cells = [](std::string time, std::string customer, const Amounts& of) {
        return std::vector<Cell>{
            std::move(time), std::move(customer), of.olives, of.oil, percentOf(of.yield()), of.share, of.fee};
    };
    Amounts total;
    for (auto each = reading.today.rbegin(); each != reading.today.rend(); ++each) {
        section.rows.push_back(cells(timeText(each->moment), nameOf(each->customer), each->amounts));
        total.add(each->amounts);
    }
    if (section.rows.empty()) {
        section.summary = "Bugün henüz sıkım yok.";
        return section;
    }
    section.summary =
        whole(double(total.pressings)) + " sıkım; sonuncusu " + timeText(reading.today.back().moment) + ".";
    section.sum = cells("Toplam", "", total);
    chooseDecimals(section);
    return section;
}

Report describe(const Reading& reading, const std::string& source, double now)
{
    const Figures& figures = reading.figures;
    Report report;
    report.title = "Zeytin sezonu " + seasonText(figures.year);
    if (figures.days.empty())
        report.warnings.push_back("Bu sezonda hiç sıkım yok.");
    else
        report.period = dayText(figures.days.front().day) + " – " + dayText(figures.days.back().day);
    report.source = showable(source) + ", " + momentText(now);
    if (reading.damaged > 0)
        report.warnings.push_back(whole(double(reading.damaged)) +
                                  " yer (satır ya da sayfa) okunamadı ve buradaki hiçbir sayıya girmedi. Dosyayı "
                                  "denetleyin: presva-mdb check");
    if (reading.undated > 0)
        report.warnings.push_back(whole(double(reading.undated)) +
                                  " sıkımın tarihi yok ya da takvimde olmayan bir gün; hiçbir sezona girmedi.");
    if (reading.nobodys > 0)
        report.warnings.push_back(whole(double(reading.nobodys)) +
                                  " satırda müşteri alanı boş; rapor toplamlarına da girmez, burada da sayılmadı.");
    if (const std::string warning = yieldWarning(figures); !warning.empty()) report.warnings.push_back(warning);
    if (!figures.days.empty()) {
        report.headlines = headlines(figures);
        report.sections = {days(figures),
                           yieldByDay(figures),
                           yieldCounts(figures.yields),
                           hours(figures),
                           weeks(figures, Pay::oil),
                           weeks(figures, Pay::money),
                           largest(figures),
                           containers(figures.containers),
                           customers(figures)};
    }
    if (figures.seasons.size() > 1 || (figures.days.empty() && !figures.seasons.empty()))
        report.sections.push_back(seasons(figures));
    for (Section& section : report.sections) chooseDecimals(section);
    return report;
}

std::string cellText(const Cell& cell, const Column& column)
{
    if (const auto* text = std::get_if<std::string>(&cell)) return *text;
    const auto* number = std::get_if<double>(&cell);
    if (!number) return {};
    if (column.kind == Kind::day) return dayText(static_cast<int>(*number));
    return numberText(*number, column.decimals);
}

} // namespace seasons
