#include "pressing/station_screen.h"

using namespace Qt::StringLiterals;

namespace pressing {

QString nameOf(Field field)
{
    switch (field) {
    case Field::TxtLbl:
        return u"TxtLbl"_s;
    case Field::Label2:
        return u"Label2"_s;
    case Field::Label3:
        return u"Label3"_s;
    case Field::Label4:
        return u"Label4"_s;
    case Field::Haklbl:
        return u"Haklbl"_s;
    case Field::HakTut:
        return u"HakTut"_s;
    case Field::Verilen:
        return u"Verilen"_s;
    case Field::NakitLbl:
        return u"NakitLbl"_s;
    }
    return {};
}

} // namespace pressing
