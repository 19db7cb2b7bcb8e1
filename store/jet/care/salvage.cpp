#include "store/jet/care/salvage.h"

#include "files/journal_name.h"
#include "files/quoted_path.h"
#include "store/jet/care/check_report.h"
#include "store/jet/database/database.h"
#include "store/jet/database/header.h"
#include "store/jet/format/doors.h"
#include "store/jet/format/system_objects.h"
#include "store/jet/pages/journal.h"
#include "store/jet/pages/page_code.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/rows/long_value.h"
#include "store/jet/rows/row_walk.h"
#include "store/jet/table/catalogue.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <optional>

namespace jet {
namespace {

constexpr PageCount smallestFile = 16;
constexpr PageNo usualCatalogue = 2; ///< where every file known so far has it

std::string pageName(PageNo page) { return std::to_string(page.number()) + ". sayfa"; }
std::string rowName(RowId row) { return pageName(row.page) + ", " + std::to_string(row.slot.number()) + ". satır"; }

/// What ends a rescue: not the damage, but the machine.
bool isFatal(const Error& error) { return error.fault() == Fault::disk; }

/// The catalogue's table is the same in every file: that of a new one tells how its rows are read.
TableDefinition catalogueOfANewFile()
{
    files::MemoryDisk disk;
    const std::filesystem::path empty = "empty.mdb";
    Database::create(disk, empty, turkish, DateTime{});
    Pager pager(disk, empty, Pager::Mode::readOnly);
    return readTableDefinition(pager, readHeader(pager).catalogue);
}

bool saysNumber(const Value& value, double& number)
{
    if (const auto* whole = std::get_if<std::int32_t>(&value))
        number = *whole;
    else if (const auto* small = std::get_if<std::int16_t>(&value))
        number = *small;
    else
        return false;
    return true;
}

} // namespace

Salvage::Salvage(Disk& disk, const std::filesystem::path& file, Sentences& losses)
    : losses_(losses), inMemory_(file.filename()), collation_(turkish)
{
    readFile(disk, file);
    pager_ = std::make_unique<Pager>(memory_, inMemory_, Pager::Mode::readWrite);
    bool collationKnown = false;
    try {
        const Header header = readHeader(*pager_);
        catalogue_ = header.catalogue;
        collation_ = header.collation;
        collationKnown = true;
    } catch (const Error& error) {
        if (error.fault() != Fault::damaged && error.fault() != Fault::notADatabase) throw;
        losses_.add(pageName(0) + ": dosyanın başlığı okunamadı.");
    }
    readFreePages();
    findTables();
    if (tables_.empty() && !collationKnown)
        throw Error(Fault::notADatabase,
                    files::quotedPath(file) + " dosyasında bir Access veritabanından kalma hiçbir tablo bulunamadı.");
    if (!collationKnown || (collation_ != turkish && collation_ != general)) {
        collation_ = turkish;
        for (const FoundTable& table : tables_)
            for (const Column& column : table.definition.columns)
                if (column.type == ColumnType::text && column.collation == general) collation_ = general;
    }
}

void Salvage::readFile(Disk& disk, const std::filesystem::path& file)
{
    const auto source = disk.open(file, Disk::Access::readOnly);
    if (!source->lock(File::Lock::reader))
        throw Error(Fault::inUse, files::quotedPath(file) +
                                      " başka bir program tarafından kullanılıyor; onu kapatıp yeniden deneyin.");
    const std::uint64_t size = source->size();
    if (size / pageSize > maxPages)
        throw Error(Fault::unsupported,
                    files::quotedPath(file) + " 2 GB sınırından büyük; bir Access veritabanı olamaz.");
    if (size % pageSize != 0) losses_.add("Dosyanın sonu eksik: " + std::to_string(size) + " bayt, son sayfası yarım.");
    files::MemoryDisk::Content& content = memory_.content(inMemory_);
    const std::uint64_t pages = std::max<std::uint64_t>((size + pageSize - 1) / pageSize, smallestFile);
    content.resize(static_cast<std::size_t>(pages * pageSize));
    constexpr std::size_t atOnce = 256 * pageSize;
    for (std::uint64_t at = 0; at < size; at += atOnce) {
        const auto part = std::span(content).subspan(
            static_cast<std::size_t>(at), static_cast<std::size_t>(std::min<std::uint64_t>(atOnce, size - at)));
        try {
            source->read(at, part);
        } catch (const Error&) {
            // Page by page, so that one bad spot of the disk costs one page.
            for (std::size_t page = 0; page < part.size(); page += pageSize) {
                const auto one = part.subspan(page, std::min(pageSize, part.size() - page));
                try {
                    source->read(at + page, one);
                } catch (const Error&) {
                    std::fill(one.begin(), one.end(), std::uint8_t{0});
                    losses_.add(pageName(static_cast<PageNo>((at + page) / pageSize)) + ": disk onu okuyamıyor.");
                }
            }
        }
    }
    uncoverFile(content);
    readJournalBeside(disk, file);
}

void Salvage::readJournalBeside(Disk& disk, const std::filesystem::path& file)
{
    const auto name = files::journalOf(disk.realPath(file));
    if (!disk.exists(name)) return;
    try {
        const auto journal = disk.open(name, Disk::Access::readOnly);
        if (!readJournal(*journal)) return;
        files::MemoryDisk::Content& content = memory_.content(files::journalOf(inMemory_));
        content.resize(static_cast<std::size_t>(journal->size()));
        journal->read(0, content);
    } catch (const Error& error) {
        losses_.add(std::string("Yarım kalmış değişikliğin günlüğü okunamadı: ") + error.what());
    }
}

void Salvage::readFreePages()
{
    free_.assign(pager_->pageCount(), false);
    try {
        for (const PageNo page : mapPages(*pager_, freeMap)) free_[page.number()] = true;
    } catch (const Error& error) {
        if (isFatal(error)) throw;
        losses_.add("Boş sayfaların haritası okunamadı; silinmiş satırlar geri gelmiş olabilir.");
    }
}

void Salvage::findTables()
{
    if (!pager_->has(catalogue_)) catalogue_ = usualCatalogue;
    readCatalogue(catalogue_);
    // Definitions that the catalogue does not list, in a file that has lost part of it.
    for (PageNo page = 1; pager_->has(page); ++page) {
        if (free_[page.number()] || definitions_.contains(page)) continue;
        if (!isPageOf(pager_->read(page), PageType::tableDefinition)) continue;
        addTable(page, {}, {});
    }
}

/// The names of the tables, as far as the rows of the catalogue can be read.
void Salvage::readCatalogue(PageNo page)
{
    FoundTable objects;
    try {
        // Neither its indexes nor what else may be wrong with it matters here: its rows are read all the same.
        // Without one of its columns the usual layout tells more.
        objects.definition = readTableDefinition(*pager_, page, [](DefinitionPart part, const Error& error) {
            if (part == DefinitionPart::columns) throw error;
        });
        definitions_.insert(objects.definition.chain.begin(), objects.definition.chain.end());
    } catch (const Error& error) {
        if (isFatal(error)) throw;
        losses_.add(pageName(page) + ": nesne listesinin tanımı okunamadı; satırları bilinen düzenine göre okundu.");
        objects.definition = catalogueOfANewFile();
        objects.definition.page = page;
        objects.definition.owned = {}; // its map stands somewhere else in this file
    }
    const auto columnAt = [&](std::u16string_view name) {
        const auto& columns = objects.definition.columns;
        const auto found = std::ranges::find_if(columns, [&](const Column& each) { return each.name == name; });
        return found == columns.end() ? std::optional<std::size_t>()
                                      : std::optional<std::size_t>(found - columns.begin());
    };
    const auto id = columnAt(object_columns::id), name = columnAt(object_columns::name),
               type = columnAt(object_columns::type), flags = columnAt(object_columns::flags),
               properties = columnAt(object_columns::properties);
    if (!id || !name || !type || !flags) {
        losses_.add(pageName(page) + ": nesne listesi tanınmıyor; tablo adları bilinmiyor.");
        return;
    }
    struct Listed {
        PageNo definition;
        std::u16string name;
        TableProperties properties;
    };
    std::vector<Listed> listed;
    const auto propertiesIn = [&](const RowLayout& layout, std::span<const std::uint8_t> bytes) {
        TableProperties read;
        try {
            const Value value = properties ? fieldValue(*pager_, layout, *properties, bytes) : Value();
            if (const auto* block = std::get_if<Bytes>(&value)) read = tableProperties(*block);
        } catch (const Error& error) {
            if (isFatal(error)) throw;
            read.unreadable = true;
        }
        return read;
    };
    forEachRow(objects, "nesne listesi", [&](RowId row, const RowLayout& layout, std::span<const std::uint8_t> bytes) {
        try {
            double number = 0, kind = 0, marks = 0;
            const Value text = fieldValue(*pager_, layout, *name, bytes);
            const auto* title = std::get_if<std::u16string>(&text);
            if (!title || !saysNumber(fieldValue(*pager_, layout, *type, bytes), kind)) return;
            saysNumber(fieldValue(*pager_, layout, *flags, bytes), marks);
            const auto set = static_cast<std::uint32_t>(static_cast<std::int64_t>(marks));
            const char* foreign = foreignKind(static_cast<int>(kind));
            if (foreign && isUserObject(set)) losses_.add(quotedName(*title) + " adlı " + foreign + " aktarılmadı.");
            if (kind != localTable || !saysNumber(fieldValue(*pager_, layout, *id, bytes), number)) return;
            const auto definition = static_cast<PageNo>(static_cast<std::int64_t>(number));
            if (isUserTable(set, definition))
                listed.push_back({definition, *title, propertiesIn(layout, bytes)});
            else
                definitions_.insert(definition);
        } catch (const Error& error) {
            if (isFatal(error)) throw;
            losses_.add("Nesne listesi, " + rowName(row) + ": " + error.what());
        }
    });
    for (Listed& each : listed)
        if (!definitions_.contains(each.definition))
            addTable(each.definition, std::move(each.name), std::move(each.properties));
}

void Salvage::addTable(PageNo page, std::u16string name, TableProperties properties)
{
    const std::string title = name.empty() ? pageName(page) : quotedName(name) + " tablosu";
    if (page == 0 || !pager_->has(page)) {
        losses_.add(title + ": tanımının sayfası dosyada yok; satırları okunamıyor.");
        return;
    }
    FoundTable table;
    std::string lost;
    std::vector<std::string> lostColumns;
    const auto lose = [&](DefinitionPart part, const Error& error) {
        if (part == DefinitionPart::columns) {
            lostColumns.emplace_back(error.what());
            return;
        }
        // A damaged map is told of when it is read.
        if (part == DefinitionPart::pages) lost = ": tanımının bir kısmı okunamadı. ";
        if (part == DefinitionPart::indexes) lost = ": dizinleri okunamadı. ";
        if (part != DefinitionPart::maps) lost += error.what();
    };
    try {
        table.definition = readTableDefinition(*pager_, page, lose);
    } catch (const Error& error) {
        if (isFatal(error)) throw;
        losses_.add(title + ": tanımı okunamadı; satırları okunamıyor. " + error.what());
        definitions_.insert(page); // said once, whoever else leads there
        return;
    }
    definitions_.insert(table.definition.chain.begin(), table.definition.chain.end());
    if (table.definition.system) return;
    for (const std::string& column : lostColumns) losses_.add(std::string(title).append(": ").append(column));
    if (!lost.empty()) losses_.add(title + lost);
    table.name = std::move(name);
    table.properties = std::move(properties);
    table.rowsPromised = definition_layout::head::rowCount.get(pager_->read(page));
    tables_.push_back(std::move(table));
}

FoundPages Salvage::pagesOf(const FoundTable& table, const std::string& title, Sentences& losses)
{
    const PageNo owner = table.definition.page;
    FoundPages pages{std::make_shared<std::vector<PageNo>>(), std::vector<bool>(pager_->pageCount())};
    const auto anothers = [&](PageNo other) {
        return other == row_page_layout::longValueOwner || (other != owner && definitions_.contains(other));
    };
    try {
        if (!table.definition.owned.none()) {
            if (mapLeadsPastTheEnd(*pager_, table.definition.owned)) {
                pages.someLost = true;
                losses.add(title + ": bazı sayfaları dosyada yok, dosyanın sonu eksik; satırları kayıp.");
            }
            for (const PageNo page : mapPages(*pager_, table.definition.owned)) {
                const PageView view = pager_->read(page);
                const bool rows = isPageOf(view, PageType::row);
                if ((rows && !anothers(rowPageOwner(view))) || (!rows && rowPageOwner(view) == owner)) {
                    pages.byMap[page.number()] = true;
                    pages.list->push_back(page);
                } else {
                    pages.someLost = true;
                    losses.add(title + ", " + pageName(page) + ": satır sayfası olmalıydı, değil; satırları kayıp.");
                }
            }
            pages.mapRead = true;
        }
    } catch (const Error& error) {
        if (isFatal(error)) throw;
        losses.add(title + ": sayfalarının haritası okunamadı; satırları bütün dosyada arandı.");
    }
    for (PageNo page = 1; pager_->has(page); ++page)
        if (!pages.byMap[page.number()] && !free_[page.number()] && isRowPage(pager_->read(page), owner))
            pages.list->push_back(page);
    leaveCopiesOut(*pager_, pages, table.rowsPromised);
    return pages;
}

namespace {

/// Says what the walk over a table's rows does not find.
struct LossReceiver : RowReceiver {
    LossReceiver(Sentences& sentences, const std::string& tableTitle) : losses(sentences), title(tableTitle) {}
    void body(RowId place) { bodies.push_back(place); }
    void damagedPage(PageNo page, const char* what)
    {
        pagesLost = true;
        losses.add(title + ", " + pageName(page) + ": " + what + "; satırları kayıp.");
    }
    void damagedRow(RowId head, const char* what) { losses.add(title + ", " + rowName(head) + ": " + what + "."); }

    Sentences& losses;
    const std::string& title;
    bool pagesLost = false;
    std::vector<RowId> bodies;
};

} // namespace

void Salvage::forEachRow(const FoundTable& table, const std::string& title,
                         const std::function<void(RowId, const RowLayout&, std::span<const std::uint8_t>)>& visit)
{
    const RowLayout layout = table.definition.layout();
    const FoundPages pages = pagesOf(table, title, losses_);
    const RowReader reader(*pager_, table.definition.page, layout, &pages.byMap);
    LossReceiver receiver(losses_, title);
    RowWalk walk(reader, pages.list);
    std::uint64_t found = 0;
    for (; walk.next(receiver); ++found) visit(walk.head(), layout, walk.bytes());
    // Moved rows whose first place is lost. In a sound table a body that nobody points to is a deleted one.
    if (!pages.someLost && !receiver.pagesLost && found >= table.rowsPromised) return;
    for (const RowId place : receiver.bodies) {
        if (walk.reached(place)) continue;
        const PageView page = pager_->read(place.page);
        const RowReader::Row row = reader.read(place, page, *slotAt(page, place.slot));
        if (row.damage != nullptr)
            receiver.damagedRow(place, row.damage);
        else
            visit(place, layout, row.bytes);
    }
}

void Salvage::tellDoubts(const FoundTable& table, const std::string& title, std::uint64_t rows)
{
    Sentences toldBefore(0);
    const RowLayout layout = table.definition.layout();
    const FoundPages pages = pagesOf(table, title, toldBefore);
    const RowReader reader(*pager_, table.definition.page, layout, &pages.byMap);
    jet::tellDoubts(reader, table, pages, title, rows, losses_);
}

} // namespace jet
