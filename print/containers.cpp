#include "print/containers.h"

#include "base/error.h"
#include "base/numbers.h"
#include <array>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace print {

Containers containers(const QString& oilCaption, int listPosition, const base::Regional& regional)
{
    static constexpr std::array litresByPosition = {5, 10, 15, 20};
    if (listPosition < 0 || listPosition >= static_cast<int>(litresByPosition.size()))
        throw base::runtimeError(base::errors::typeMismatch);

    Containers result;
    result.litres = litresByPosition[static_cast<std::size_t>(listPosition)];
    const double count = base::truncate(base::displayValue(oilCaption, regional) / result.litres);
    if (std::abs(count) > std::numeric_limits<float>::max()) throw base::runtimeError(base::errors::overflow);
    result.count = static_cast<float>(count);
    result.display = base::numberToText(result.count, regional) + " Kap"_L1;
    return result;
}

} // namespace print
