#pragma once

#include <QString>
#include <array>

namespace print {

/// The supplier of this program, as every slip ends: name, telephone numbers, street address.
inline const std::array<QString, 3>& vendorLines()
{
    static const std::array<QString, 3> lines = {
        QStringLiteral("Mendrik Presva"),
        QStringLiteral("Tel: 0 850 000 00 00 - 0 850 000 00 01"),
        QStringLiteral("Zeytin Sokak No: 1"),
    };
    return lines;
}

} // namespace print
