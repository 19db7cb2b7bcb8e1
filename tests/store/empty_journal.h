#pragma once

#include "store/engine.h"

/// The journal as an engine lists it, without rows.
inline store::Listing emptyJournal()
{
    using namespace Qt::StringLiterals;
    using enum store::FieldKind;
    return {u"Hareket"_s,
            {{u"Tarih"_s, date},
             {u"Zeytin"_s, number},
             {u"Yağ"_s, number},
             {u"Yuzde"_s, number},
             {u"HakTut"_s, number},
             {u"Nakit"_s, money},
             {u"CariHar"_s, text, 50}},
            {}};
}
