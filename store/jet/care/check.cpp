#include "store/jet/care/check.h"

#include "store/jet/care/check_report.h"
#include "store/jet/database/header.h"
#include "store/jet/format/limits.h"
#include "store/jet/format/system_objects.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/rows/table_definition.h"
#include "store/jet/table/catalogue.h"
#include "store/jet/table/table_rules.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace jet {

namespace {

class DatabaseCheck {
public:
    DatabaseCheck(Database& database, CheckReport& report)
        : database_(database), pager_(database.pager()), report_(report), owners_(pager_.pageCount(), report)
    {
    }

    void run()
    {
        report_.result().pages = pager_.pageCount();
        report_.attempt([&] { checkGlobalMaps(); });
        const auto tables = database_.allTables();
        auto properties = propertiesByTable();
        for (const auto& [name, definition] : tables)
            checkTable(pager_, name, definition, std::move(properties[definition]), owners_, report_);
        report_.attempt([&] { checkCatalogue(); });
        report_.attempt([&] { checkProperties(); });
        report_.attempt([&] { checkRights(); });
        report_.attempt([&] { owners_.compareWithFree(mapPages(pager_, freeMap)); });
    }

private:
    void checkGlobalMaps()
    {
        owners_.claim(owners_.add("dosyanın başlığı"), PageNo{0});
        const auto owner = owners_.add("boş sayfaların haritası");
        owners_.claim(owner, freeMap.page);
        const Header header = readHeader(pager_);
        if (header.freePages != freeMap) report_.fault("Başlık, boş sayfaların haritasını başka bir yerde gösteriyor.");
        const PageView page = pager_.read(freeMap.page);
        const std::string wrong = rowPageFault(page);
        if (!wrong.empty()) report_.fault("1. sayfa: " + wrong + ".");
        if (rowPageOwner(page) != 1) report_.fault("1. sayfa: sahibi yanlış yazılı.");
        for (const PageNo bitmap : mapBitmapPages(pager_, freeMap)) owners_.claim(owner, bitmap);
        const auto second = slotAt(page, secondGlobalMap.slot);
        if (!second)
            report_.fault("1. sayfa: ikinci harita yok.");
        else if (!std::ranges::all_of(slotBytes(page, *second), [](std::uint8_t byte) { return byte == 0; }))
            report_.warning("1. sayfa: her dosyada boş duran ikinci haritada bitler var.");
    }

    /// By where the definitions begin; none where the list of objects cannot be read, which is said elsewhere.
    std::map<PageNo, TableProperties> propertiesByTable()
    {
        std::map<PageNo, TableProperties> properties;
        try {
            for (const CatalogueEntry& entry : readCatalogue(database_.table(msysObjects)))
                properties.emplace(entry.definition, propertiesOf(entry));
        } catch (const Error& error) {
            if (error.fault() == Fault::disk || error.fault() == Fault::inUse) throw;
        }
        return properties;
    }

    /// Every local table is listed once, under a name, with a definition of its own.
    void checkCatalogue()
    {
        const Table& objects = database_.table(msysObjects);
        const std::size_t id = systemColumn(objects, object_columns::id, ColumnType::longInteger);
        const std::size_t name = systemColumn(objects, object_columns::name, ColumnType::text);
        const std::size_t type = systemColumn(objects, object_columns::type, ColumnType::integer);
        bool hasContainer = false;
        std::vector<std::u16string> names;
        std::u16string text;
        objects.scan(
            [&](RowId, const RowView& row) {
                const double kind = row.number(type).value_or(0);
                const auto number = static_cast<std::int32_t>(row.number(id).value_or(0));
                if (kind == containerObject && number == static_cast<std::int32_t>(tablesContainer))
                    hasContainer = true;
                if (kind != localTable) return true;
                text.clear();
                row.text(name, text);
                if (text.empty() || text.size() > limits::name) {
                    report_.fault("Nesne listesindeki " + std::to_string(number) + ". tablonun adı geçersiz.");
                    return true;
                }
                if (!tables_.insert(number).second)
                    report_.fault("Nesne listesinde " + quotedName(text) +
                                  " tablosu, tanımı başka bir ad altında da "
                                  "geçen bir tablo.");
                if (std::ranges::any_of(names, [&](const auto& other) { return sameName(other, text); }))
                    report_.fault("Nesne listesinde iki " + quotedName(text) + " tablosu var.");
                names.push_back(text);
                return true;
            },
            [](RowId, const std::string&) {}); // reported with the table's rows
        if (!hasContainer) report_.fault("Nesne listesinde tabloların kabı (\"Tables\") yok.");
    }

    /// The data are sound without them, but the table is not written.
    void checkProperties()
    {
        for (const CatalogueEntry& entry : readCatalogue(database_.table(msysObjects))) {
            if (!entry.user) continue;
            TableDefinition definition;
            try {
                definition = readTableDefinition(pager_, entry.definition);
            } catch (const Error& error) {
                if (error.fault() == Fault::disk || error.fault() == Fault::inUse) throw;
                continue; // said where the table was looked at
            }
            if (const auto why = unknownRules(propertiesOf(entry), definition.columns))
                report_.warning(quotedName(entry.name) + " tablosunun " + *why + "; tabloya yazılmaz.");
        }
    }

    /// Access opens no table without an entry of rights.
    void checkRights()
    {
        const Table& rights = database_.table(msysAces);
        const std::size_t object = systemColumn(rights, right_columns::object, ColumnType::longInteger);
        std::set<std::int32_t> known;
        rights.scan(
            [&](RowId, const RowView& row) {
                known.insert(static_cast<std::int32_t>(row.number(object).value_or(0)));
                return true;
            },
            [](RowId, const std::string&) {});
        for (const std::int32_t table : tables_)
            if (!known.contains(table))
                report_.fault("Tanımı " + std::to_string(table) +
                              ". sayfada olan tablonun erişim hakları yok; Access onu açmaz.");
    }

    Database& database_;
    Pager& pager_;
    CheckReport& report_;
    PageOwners owners_;
    std::set<std::int32_t> tables_;
};

} // namespace

CheckResult checkDatabase(Database& database, const std::function<void(int)>& progress)
{
    CheckResult result;
    CheckReport report(result, database.pager().pageCount(), progress);
    DatabaseCheck(database, report).run();
    report.finish();
    return result;
}

} // namespace jet
