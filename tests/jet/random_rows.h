#pragma once

#include "files/error.h"
#include "store/jet/database/database.h"

#include <random>

/// Rows of every type, made from a seed: the same seed, the same rows.
namespace rows {

inline const jet::DateTime created{45000.5};

/// A table with a column of each type.
inline std::vector<jet::NewColumn> everyType()
{
    using jet::ColumnType;
    return {{.name = u"No", .type = ColumnType::longInteger, .autoNumber = true},
            {.name = u"Evet", .type = ColumnType::boolean},
            {.name = u"Bayt", .type = ColumnType::byte},
            {.name = u"Kısa", .type = ColumnType::integer},
            {.name = u"Uzun", .type = ColumnType::longInteger},
            {.name = u"Para", .type = ColumnType::currency},
            {.name = u"Tek", .type = ColumnType::singleFloat},
            {.name = u"Çift", .type = ColumnType::doubleFloat},
            {.name = u"Tarih", .type = ColumnType::dateTime},
            {.name = u"Ad", .type = ColumnType::text, .size = 120},
            {.name = u"Açıklama", .type = ColumnType::memo},
            {.name = u"Veri", .type = ColumnType::ole},
            {.name = u"İkili", .type = ColumnType::binary, .size = 40},
            {.name = u"Kimlik", .type = ColumnType::guid},
            {.name = u"Tutar", .type = ColumnType::numeric, .precision = 18, .scale = 3}};
}

inline std::vector<jet::NewIndex> someIndexes()
{
    return {{.name = u"PrimaryKey", .columns = {{u"No", true}}, .primaryKey = true},
            {.name = u"Tarih", .columns = {{u"Tarih", true}}},
            {.name = u"AdGeri", .columns = {{u"Ad", false}, {u"Uzun", true}}},
            {.name = u"ParaDolu", .columns = {{u"Para", false}}, .ignoreNulls = true},
            {.name = u"Kimlik", .columns = {{u"Kimlik", true}}, .unique = true}};
}

class Maker {
public:
    explicit Maker(unsigned seed) : random_(seed) {}

    int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    bool oneIn(int many) { return below(many) == 0; }

    std::u16string text(int longest)
    {
        static constexpr std::u16string_view letters =
            u"abcçdefgğhıijklmnoöprsştuüvyzABCÇDEFGĞHIİJKLMNOÖPRSŞTUÜVYZ 0123456789";
        std::u16string text;
        const int length = below(longest + 1);
        for (int i = 0; i < length; ++i) text += letters[static_cast<std::size_t>(below(int(letters.size())))];
        return text;
    }
    jet::Bytes bytes(int longest)
    {
        jet::Bytes bytes(static_cast<std::size_t>(below(longest + 1)));
        for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random_());
        return bytes;
    }

    /// A value that the column takes, in its own type.
    jet::Value value(const jet::Column& column)
    {
        using jet::ColumnType;
        if (column.type == ColumnType::boolean) return oneIn(2);
        if (oneIn(6)) return {};
        switch (column.type) {
        case ColumnType::byte:
            return static_cast<std::uint8_t>(random_());
        case ColumnType::integer:
            return static_cast<std::int16_t>(random_());
        case ColumnType::longInteger:
            return static_cast<std::int32_t>(random_());
        case ColumnType::currency:
            return jet::Currency{below(2000000) - 1000000};
        case ColumnType::singleFloat:
            return static_cast<float>(below(100000)) / 8 - 5000;
        case ColumnType::doubleFloat:
            return below(10000000) / 64.0 - 50000;
        case ColumnType::dateTime:
            return jet::DateTime{below(60000) + below(86400) / 86400.0};
        case ColumnType::text:
            return text(std::min(column.length / 2, oneIn(4) ? 120 : 20));
        case ColumnType::memo:
            return text(oneIn(12) ? 25000 : oneIn(3) ? 1500 : 60);
        case ColumnType::ole:
            return bytes(oneIn(12) ? 30000 : oneIn(3) ? 4000 : 80);
        case ColumnType::binary:
            return bytes(column.length);
        case ColumnType::guid: {
            jet::Guid guid;
            for (std::uint8_t& byte : guid.bytes) byte = static_cast<std::uint8_t>(random_());
            return guid;
        }
        case ColumnType::numeric: {
            jet::Numeric number;
            number.negative = oneIn(2);
            number.magnitude[3] = static_cast<std::uint32_t>(random_() | 1);
            number.scale = column.scale;
            return number;
        }
        default:
            return {};
        }
    }

private:
    std::mt19937 random_;
};

/// What a table's own rules refuse a row for: it changes nothing.
inline bool isAgainstTheRules(files::Fault fault)
{
    using files::Fault;
    for (const Fault rule : {Fault::required, Fault::duplicate, Fault::badValue, Fault::emptyText, Fault::ruleBroken,
                             Fault::noParent, Fault::hasChildren})
        if (fault == rule) return true;
    return false;
}

} // namespace rows
