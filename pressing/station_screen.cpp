#include "pressing/station_screen.h"

namespace pressing {

QString nameOf(Field field)
{
    switch (field) {
    case Field::TxtLbl:
        return QStringLiteral("TxtLbl");
    case Field::Label2:
        return QStringLiteral("Label2");
    case Field::Label3:
        return QStringLiteral("Label3");
    case Field::Label4:
        return QStringLiteral("Label4");
    case Field::Haklbl:
        return QStringLiteral("Haklbl");
    case Field::HakTut:
        return QStringLiteral("HakTut");
    case Field::Verilen:
        return QStringLiteral("Verilen");
    case Field::NakitLbl:
        return QStringLiteral("NakitLbl");
    }
    return {};
}

} // namespace pressing
