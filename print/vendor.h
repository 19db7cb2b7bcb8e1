#pragma once

#include <QString>
#include <array>

namespace print {

/// The supplier of this program, as every slip ends: name, telephone numbers, street address.
inline const std::array<QString, 3>& vendorLines()
{
    using namespace Qt::StringLiterals;
    static const std::array<QString, 3> lines = {
        u"Mendrik Presva"_s,
        u"Tel: 0 850 000 00 00 - 0 850 000 00 01"_s,
        u"Zeytin Sokak No: 1"_s,
    };
    return lines;
}

} // namespace print
