#include "exchange/linked_tables.h"

#include "files/error.h"
#include "files/language.h"
#include "store/jet/values/names.h"

namespace exchange {

std::string placeOf(const jet::LinkedTable& table)
{
    const std::string name = "'" + jet::toUtf8(table.table) + "'";
    if (table.file.empty())
        return files::said("başka türden bir veritabanındaki ", "in another kind of database, ") + name;
    return "'" + jet::toUtf8(table.file) + files::said("' dosyasındaki ", "', ") + name;
}

void refuseLinkedTable(const jet::Database& database, std::string_view name)
{
    const std::u16string wanted = jet::fromUtf8(name);
    for (const jet::LinkedTable& each : database.linkedTables())
        if (jet::sameName(each.name, wanted))
            throw files::Error(files::Fault::unsupported,
                               "'" + jet::toUtf8(each.name) +
                                   files::said("' bağlı bir tablo, satırları başka yerde: ",
                                               "' is a linked table, its rows are elsewhere: ") +
                                   placeOf(each) + files::said("; orada açın.", "; open it there."));
}

} // namespace exchange
