#include "pressing/station_screen.h"

using namespace Qt::StringLiterals;

namespace pressing {

QString nameOf(Field field)
{
    static const QString names[] = {u"TxtLbl"_s, u"Label2"_s, u"Label3"_s,  u"Label4"_s,
                                    u"Haklbl"_s, u"HakTut"_s, u"Verilen"_s, u"NakitLbl"_s};
    static_assert(std::size(names) == allFields.size());
    return names[static_cast<std::size_t>(field)];
}

} // namespace pressing
