#include "pressing/fraction.h"

#include "base/numbers.h"
#include "base/patterns.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace pressing {
namespace {

bool isMark(QChar c) { return c == u'.' || c == u','; }

} // namespace

std::optional<UnfinishedFraction> unfinishedFraction(const QString& text, int decimals, QStringView wholePattern,
                                                     const base::Regional& regional)
{
    qsizetype zeros = 0;
    while (zeros < text.size() && text[text.size() - 1 - zeros] == u'0') ++zeros;
    const qsizetype mark = text.size() - 1 - zeros;
    if (mark < 0 || zeros >= decimals) return std::nullopt;
    if (zeros == 0 ? !isMark(text[mark]) : text[mark] != regional.decimal) return std::nullopt;

    const QString before = mark == 0 ? u"0"_s : text.left(mark);
    const bool digits = std::all_of(before.begin(), before.end(),
                                    [&](QChar c) { return (c >= u'0' && c <= u'9') || c == regional.group; });
    if (!digits || !base::isNumeric(before, regional)) return std::nullopt;
    const QString whole = base::formatNumber(before, wholePattern, regional);
    return UnfinishedFraction{whole, whole + regional.decimal + QString(zeros, u'0')};
}

QString formatWithoutMark(const QString& text, QStringView pattern, const base::Regional& regional)
{
    const bool isNumber = base::isNumeric(text, regional);
    QString formatted = base::formatNumber(text, pattern, regional);
    if (isNumber && formatted.endsWith(regional.decimal)) formatted.chop(1);
    return formatted;
}

void finishFraction(StationScreen& screen)
{
    const bool percentage = screen.activeName() == nameOf(Field::Haklbl);
    if (!percentage && screen.activeName() != nameOf(Field::NakitLbl)) return;
    const auto unfinished = unfinishedFraction(screen.activeCaption(), percentage ? percentageDecimals : feeDecimals,
                                               percentage ? percentPattern : base::wholePattern, screen.regional());
    if (unfinished) screen.setActiveCaption(unfinished->whole);
}

} // namespace pressing
