#include "print/slip.h"

#include "base/numbers.h"
#include "base/patterns.h"
#include "print/head.h"
#include "print/placement.h"
#include "print/vendor.h"
#include <algorithm>

using namespace Qt::StringLiterals;

namespace print {

namespace {

/// In points: how much larger the amount and how much smaller the last lines are than the rest.
constexpr float amountEnlargement = 6;
constexpr float footerReduction = 5;
constexpr float smallestSize = 1;

/// A section: its name between two rules.
void printSection(Printer& printer, const QString& name, const QString& rule)
{
    gap(printer);
    printLeft(printer, rule);
    gap(printer);
    printCentred(printer, name);
    gap(printer);
    printLeft(printer, rule);
}

void printCustomer(Printer& printer, const QString& customer)
{
    const QString greeting = u"Sayın; "_s;
    const NarrowLetters narrow(printer, greeting + customer, printer.pageWidth() - leftMargin);
    printer.setCurrentX(leftMargin);
    printer.printStay(greeting);
    printer.print(customer);
}

void printAmount(Printer& printer, const QString& amount)
{
    printer.setFontUnderline(true);
    printer.setFontSize(printer.fontSize() + amountEnlargement);
    printCentred(printer, amount);
    printer.setFontSize(printer.fontSize() - amountEnlargement);
    printer.setFontUnderline(false);
}

} // namespace

void composeSlip(Printer& printer, const Slip& slip, const base::Regional& regional)
{
    printer.setTitle(u"Bilgi Fişi"_s);
    printHead(printer, slip.font, slip.headerItems, regional);
    applyBold(printer, slip.font);

    gap(printer, dateGap);
    printCentred(printer, base::formatDate(slip.now, u"dd mmmm yyyy dddd hh:mm", regional));
    printCustomer(printer, slip.pressing.customer);
    gap(printer);
    printLeft(printer, ruleOf(printer, u'='));

    gap(printer);
    printCentred(printer, u"SIKIM AŞAMASI"_s);
    gap(printer);
    const QString rule = ruleOf(printer, u'-');
    printLeft(printer, rule);
    printLabelAndValue(printer, u"Sıkılacak Zeytin KG"_s,
                       base::formatQuantity(slip.pressing.olives, u"#,##0.00 KG", regional));
    gap(printer);
    // The label says KG and the value LT: that is how the mills know this line.
    const QString oil = base::formatQuantity(slip.pressing.oil, u"#,##0.00 LT", regional);
    printLabelAndValue(printer, u"Sıkılan Zeytin Yağı KG"_s, oil, true);

    printSection(printer, u"HAK EDİŞ"_s, rule);
    gap(printer);
    printCentred(printer, slip.shareInOil ? "%"_L1 + slip.pressing.percentage + u" Sıkılan Zeytin Yağı Miktarı"_s
                                          : u"Sıkılan Zetin Yağı Bedeli"_s); // spelled so on every slip
    printAmount(printer, slip.shareInOil ? base::formatQuantity(slip.pressing.entitlement, u"#,##0 KG", regional)
                                         : base::formatQuantity(slip.pressing.fee, u"#,##0 TL", regional));

    printSection(printer, u"TESLİMAT"_s, rule);
    gap(printer);
    // The count on the screen comes from all the oil and is cut; the one on paper comes from the filled litres and is
    // rounded. They may differ.
    const mill::Litre container = slip.countContainers();
    printLabelAndValue(printer, u"Dolan Kap Boyutu"_s, base::numberToText(container.value, regional) + " LT"_L1);
    gap(printer);
    const auto shown = [&](const QString& text) { return base::displayValue(text, regional); };
    const mill::Litre filled = slip.shareInOil ? mill::Litre{shown(slip.handedOver)}
                                               : mill::handedOutFor(mill::Kilogram{shown(slip.pressing.oil)});
    printLabelAndValue(printer, u"Yaklaşık Dolum Miktarı"_s, base::formatNumber(filled.value, u"#,##0 LT", regional));
    gap(printer);
    printLabelAndValue(printer, u"DOLDURULAN KAP"_s, base::formatNumber(filled / container, u"#,##0 AD", regional));
    gap(printer);
    printLeft(printer, rule);

    gap(printer);
    printCentred(printer, u"TEŞEKKÜR EDERİZ"_s);
    printCentred(printer, u"YİNE BEKLERİZ"_s);
    printer.printLine();
    printer.printLine();

    printer.setFontSize(std::max(smallestSize, printer.fontSize() - footerReduction));
    printCentred(printer, u"Bilgi Fişidir Mali Değer Taşımaz"_s);
    printer.printLine();
    for (const QString& line : vendorLines()) printCentred(printer, line);
}

} // namespace print
