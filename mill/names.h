#pragma once

#include <array>
#include <string_view>

/// What the books of a mill are made of. Whatever names a table, a field or a reserved name takes it from here.
///
/// Fields are addressed by their position far more often than by name: the order is part of the file, never reorder.
namespace mill {

/// The database of a mill, in the program's directory.
inline constexpr std::u16string_view databaseFile = u"Yag.mdb";
/// The note of a slip on its way, beside the database and under this name whatever the case of the database's own.
inline constexpr std::u16string_view slipNoteFile = u"Yag.mdb-slip";

/// The customer register: one row for each customer, with the terms last used.
struct Cari {
    static constexpr std::u16string_view table = u"Cari";
    enum Field {
        Unvan, ///< the customer's name
        Yuzde, ///< the mill's share, percent
        Kap,   ///< container kind, as the list shows it
        Nakit, ///< pressing fee, TL
    };
    static constexpr std::array<std::u16string_view, 4> fields = {u"Unvan", u"Yuzde", u"Kap", u"Nakit"};
};

/// The journal: one row for each pressing, and at most one with the sums of the last report.
struct Hareket {
    static constexpr std::u16string_view table = u"Hareket";
    enum Field {
        Tarih,   ///< moment of the pressing
        Zeytin,  ///< olives brought, kg
        Yağ,     ///< oil pressed, kg
        Yuzde,   ///< the mill's share, percent
        HakTut,  ///< the mill's share, kg of oil
        Nakit,   ///< pressing fee, TL
        CariHar, ///< the customer's name, as in the register
    };
    static constexpr std::array<std::u16string_view, 7> fields = {u"Tarih",  u"Zeytin", u"Yağ",    u"Yuzde",
                                                                  u"HakTut", u"Nakit",  u"CariHar"};
    /// What the totals of a report sum up, in the order in which mill::sumsWhere() asks for it.
    static constexpr std::array summed = {Zeytin, Yağ, HakTut, Nakit};
};

/// Only in a file whose register several counters share: the changes of this counter that the server has not
/// confirmed, in the order of `Sira`.
struct Giden {
    static constexpr std::u16string_view table = u"PresvaGiden";
    enum Field {
        Sira,
        Kimlik, ///< of the change, the same on every try
        Ne,     ///< what presva.islet calls it
        Unvan,  ///< the customer whom it is about
        Veri,   ///< the change, as presva.islet takes it
    };
    static constexpr std::array<std::u16string_view, 5> fields = {u"Sira", u"Kimlik", u"Ne", u"Unvan", u"Veri"};
    static constexpr std::u16string_view pressingComes = u"sikim"; ///< in Ne
};

/// Only there, one row: up to where the file knows the register's history.
struct Durum {
    static constexpr std::u16string_view table = u"PresvaDurum";
    enum Field {
        Defter, ///< the register's name
        Kimlik, ///< its identity: one that was filled anew is another
        Sira,   ///< number of the last line of its history that is in the file
        Iz,     ///< when that line was written: a history from an old dump has another one there
    };
    static constexpr std::array<std::u16string_view, 4> fields = {u"Defter", u"Kimlik", u"Sira", u"Iz"};
};

/// Names that no customer may have.
namespace reserved {
inline constexpr std::u16string_view totals = u"Toplamlar";     ///< the journal's row with the sums of the last report
inline constexpr std::u16string_view prompt = u"Müşteri Seçin"; ///< what a station shows before a name is typed
} // namespace reserved

} // namespace mill
