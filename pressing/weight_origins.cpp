#include "pressing/weight_origins.h"

#include "base/numbers.h"

using namespace Qt::StringLiterals;

namespace pressing {

using mill::WeightSource;

void WeightOrigins::oilChanged(int station)
{
    at(station).oil = {rulesOfOlives_ > 0 ? WeightSource::computed : WeightSource::typed, {}, 0};
}

void WeightOrigins::weighed(int station, const std::string& bytes, double moment)
{
    at(station).olives = {WeightSource::scale, bytes, moment};
}

mill::Provenance WeightOrigins::of(int station) const
{
    const Station& kept = stations_.at(static_cast<std::size_t>(station));
    return {station + 1, kept.olives, kept.oil};
}

QString typedMark(const StationScreen& screen, const WeightOrigins& origins, int station)
{
    const mill::Provenance from = origins.of(station);
    QStringList typed;
    const auto look = [&](const mill::Weighing& weighing, Field field, const QString& name) {
        const QString shown = screen.caption(field, station);
        const bool isWeight =
            base::isNumeric(shown, screen.regional()) && base::displayValue(shown, screen.regional()) != 0;
        if (weighing.source == WeightSource::typed && isWeight) typed << name;
    };
    look(from.olives, Field::Label2, u"zeytin"_s);
    look(from.oil, Field::Label3, u"yağ"_s);
    return typed.isEmpty() ? QString() : u"✎ elle: "_s + typed.join(u", "_s);
}

} // namespace pressing
