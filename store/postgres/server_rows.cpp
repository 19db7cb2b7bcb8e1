#include "store/postgres/server_rows.h"

#include "files/language.h"
#include "mill/names.h"
#include "store/jet/values/order_key.h"
#include "store/jet/values/value.h"

#include <array>
#include <charconv>

namespace postgres {

namespace {

using files::said;

constexpr std::size_t longestName = 100; // as mill::createTables() makes them
constexpr std::size_t longestContainer = 50;

using mill::Cari, mill::Hareket;

constexpr FieldShape customerFields[] = {
    {Cari::fields[Cari::Unvan], "unvan", Kind::text, longestName},
    {Cari::fields[Cari::Yuzde], "yuzde", Kind::number, 0},
    {Cari::fields[Cari::Kap], "kap", Kind::text, longestContainer},
    {Cari::fields[Cari::Nakit], "nakit", Kind::number, 0},
};

constexpr FieldShape pressingFields[] = {
    {Hareket::fields[Hareket::Tarih], "tarih", Kind::moment, 0},
    {Hareket::fields[Hareket::Zeytin], "zeytin", Kind::number, 0},
    {Hareket::fields[Hareket::Yağ], "yag", Kind::number, 0},
    {Hareket::fields[Hareket::Yuzde], "yuzde", Kind::number, 0},
    {Hareket::fields[Hareket::HakTut], "haktut", Kind::number, 0},
    {Hareket::fields[Hareket::Nakit], "nakit", Kind::number, 0},
    {Hareket::fields[Hareket::CariHar], "carihar", Kind::text, longestName},
};

/// A line of the server, written as this program writes it.
std::string asWrittenHere(std::string_view line, const TableShape& shape)
{
    const auto fields = fieldsOf(line);
    std::string written;
    for (std::size_t i = 0; i < shape.fields.size(); ++i) {
        if (i > 0) written += '\t';
        const bool number = shape.fields[i].kind != Kind::text && fields.at(i);
        written += number ? writtenNumber(numberIn(*fields[i])) : writtenField(fields.at(i));
    }
    return written;
}

/// What that COPY gives.
std::vector<std::string> written(Connection& connection, const std::string& question, const TableShape& shape)
{
    std::vector<std::string> lines;
    connection.copyOut(question.c_str(), [&](std::string_view line) { lines.push_back(asWrittenHere(line, shape)); });
    return lines;
}

} // namespace

const TableShape& customers()
{
    static constexpr TableShape shape{Cari::table, "presva.cari", "unvan_sira", customerFields};
    return shape;
}

const TableShape& pressings()
{
    static constexpr TableShape shape{Hareket::table, "presva.hareket", nullptr, pressingFields};
    return shape;
}

std::string columnsOf(const TableShape& shape)
{
    std::string columns;
    for (const FieldShape& each : shape.fields) columns += (columns.empty() ? "" : ", ") + std::string(each.column);
    return columns;
}

std::string writtenField(const std::optional<std::string>& field)
{
    if (!field) return "\\N";
    std::string written;
    for (const char c : *field) {
        switch (c) {
        case '\\':
            written += "\\\\";
            break;
        case '\t':
            written += "\\t";
            break;
        case '\n':
            written += "\\n";
            break;
        case '\r':
            written += "\\r";
            break;
        default:
            written += c;
        }
    }
    return written;
}

std::string writtenNumber(double number)
{
    std::array<char, 32> digits{};
    return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr};
}

std::vector<std::optional<std::string>> fieldsOf(std::string_view line)
{
    std::vector<std::optional<std::string>> fields;
    for (;;) {
        const std::size_t end = std::min(line.find('\t'), line.size());
        const std::string_view written = line.substr(0, end);
        if (written == "\\N") {
            fields.emplace_back();
        } else {
            std::string& text = *fields.emplace_back(std::in_place);
            for (std::size_t i = 0; i < written.size(); ++i) {
                if (written[i] != '\\' || i + 1 == written.size()) {
                    text += written[i];
                    continue;
                }
                constexpr std::string_view letters = "bfnrtv";
                constexpr std::string_view meant = "\b\f\n\r\t\v";
                const std::size_t which = letters.find(written[++i]);
                text += which == std::string_view::npos ? written[i] : meant[which];
            }
        }
        if (end == line.size()) return fields;
        line.remove_prefix(end + 1);
    }
}

double numberIn(const std::string& field)
{
    double number = 0;
    const auto end = std::from_chars(field.data(), field.data() + field.size(), number);
    if (end.ec != std::errc() || end.ptr != field.data() + field.size())
        throw ServerError(files::said("Sunucudan sayı olmayan bir alan geldi: ", "The server sent a field that is no "
                                                                                 "number: ") +
                          field);
    return number;
}

std::string orderKeyInHex(const std::string& name)
{
    std::vector<std::uint8_t> key;
    jet::appendOrderKey(key, jet::fromUtf8(name));
    std::string written;
    for (const std::uint8_t byte : key) {
        constexpr std::string_view digits = "0123456789abcdef";
        written += {digits[byte >> 4U], digits[byte & 15U]};
    }
    return written;
}

std::string writtenOrder(std::string_view line)
{
    const auto name = fieldsOf(line.substr(0, line.find('\t'))).front();
    return name ? "\\\\x" + orderKeyInHex(*name) : writtenField({});
}

std::vector<std::string> goneLinesOn(Connection& connection, const TableShape& shape)
{
    std::string question = "copy (select ";
    for (const FieldShape& each : shape.fields) {
        if (&each != shape.fields.data()) question += ", ";
        question += std::string("(eski ->> '") + each.column + "')" + (each.kind == Kind::text ? "" : "::float8");
    }
    question += std::string(" from presva.gecmis where sayac = current_setting('presva.sayac') and eski is not null "
                            "and 'presva.' || tablo = '") +
                shape.table + "') to stdout";
    return written(connection, question, shape);
}

std::vector<std::string> linesOfRegister(Connection& connection, const TableShape& shape, const std::string& name,
                                         double from, double to)
{
    const std::string moment = shape.fields.front().column;
    connection.ask("select set_config('presva.bakilan', $1, false)", {name}); // COPY takes no values
    return written(connection,
                   "copy (select " + columnsOf(shape) + " from " + shape.table +
                       " where sayac = current_setting('presva.bakilan') and " + moment + " between '" +
                       writtenNumber(from) + "'::float8 and '" + writtenNumber(to) + "'::float8) to stdout",
                   shape);
}

void requireNoRegisterOf(Connection& connection, const std::string& counter)
{
    if (connection.ask("select from presva.sayaclar where sayac = $1 and ortak", {counter}).empty()) return;
    throw ServerError(said("Sunucuda bu adda ortak bir defter var; sayaca başka bir ad verin (Sunucu.ini, Sayac). "
                           "Hiçbir şey değiştirilmedi.",
                           "The server has a shared register of that name; give the counter another one "
                           "(Sunucu.ini, Sayac). Nothing was changed."));
}

std::vector<ServerLine> linesOn(Connection& connection, const TableShape& shape)
{
    const std::string question = "copy (select satir, " + columnsOf(shape) + " from " + shape.table +
                                 " where sayac = current_setting('presva.sayac') order by satir) to stdout";
    std::vector<ServerLine> lines;
    connection.copyOut(question.c_str(), [&](std::string_view line) {
        const std::size_t end = std::min(line.find('\t'), line.size());
        const auto row = static_cast<int>(numberIn(std::string(line.substr(0, end))));
        lines.push_back({row, asWrittenHere(line.substr(std::min(end + 1, line.size())), shape)});
    });
    return lines;
}

} // namespace postgres
