#include "store/jet/care/row_doubts.h"

#include "store/jet/care/salvage.h"
#include "store/jet/index/entry_sum.h"
#include "store/jet/index/index_key.h"
#include "store/jet/index/index_tree.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/rows/long_value.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>

namespace jet {
namespace {

/// The bytes by which two row pages of one table are equal: all behind type, mark and free bytes.
std::string_view contentOf(PageView page)
{
    const auto content = page.subspan(row_page_layout::owner.begin);
    return {reinterpret_cast<const char*>(content.data()), content.size()};
}

std::uint64_t liveRows(PageView page)
{
    std::uint64_t live = 0;
    const unsigned count = slotCount(page).value_or(0);
    for (SlotNo i = 0; i < SlotNo(count); ++i) {
        const auto slot = slotAt(page, i, count);
        live += slot && slot->live() ? 1 : 0;
    }
    return live;
}

/// Most rows of the page are unlike each other: two such pages are not equal by chance. Rows without values may be.
bool tellsItselfApart(PageView page)
{
    std::set<std::string_view> rows;
    const unsigned count = slotCount(page).value_or(0);
    for (SlotNo i = 0; i < SlotNo(count); ++i) {
        const auto slot = slotAt(page, i, count);
        if (!slot || !slot->live()) continue;
        const auto bytes = slotBytes(page, *slot);
        rows.insert({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
    return rows.size() > 1 && rows.size() * 2 > liveRows(page);
}

std::string pageName(PageNo page) { return std::to_string(page.number()) + ". sayfa"; }

/// What an index says of the rows.
struct Testimony {
    bool fits = false;           ///< every row has the entry that it should have, and no entry has another row
    std::uint64_t others = 0;    ///< rows whose entry has another key
    std::uint64_t missing = 0;   ///< rows without an entry
    std::uint64_t abandoned = 0; ///< entries without a row
    RowId first = {};            ///< one of them
};

class Witnesses {
public:
    Witnesses(const RowReader& reader, const FoundTable& table, const FoundPages& pages)
        : reader_(reader), table_(table), layout_(table.definition.layout()),
          asked_(std::make_shared<std::vector<PageNo>>())
    {
        // What the map does not name, no index knows either.
        for (const PageNo page : *pages.list)
            if (!pages.mapSuffices || pages.byMap[page.number()]) asked_->push_back(page);
        std::ranges::sort(*asked_);
    }

    /// Nothing where the index itself cannot be read, or none of its keys can be made.
    std::optional<Testimony> ask(const Index& index) const
    {
        const IndexTree tree(reader_.pager(), index.root, table_.definition.page, index.ownedPages);
        std::vector<std::string> faults, warnings;
        std::vector<PageNo> treePages;
        EntrySum entries;
        tree.check(faults, warnings, treePages,
                   [&](std::span<const std::uint8_t> key, RowId row) { entries.add(key, row); });
        if (!faults.empty()) return std::nullopt;
        EntrySum expected;
        bool certain = true;
        forEachKey(index, [&](RowId row, const Key* key, Kind kind) {
            if (kind == Kind::unknown) certain = false;
            if (kind == Kind::made) expected.add(*key, row);
        });
        if (certain && expected == entries) return Testimony{.fits = true};
        return compare(index, tree);
    }

private:
    enum class Kind {
        made,    ///< this is the key of the row's entry
        none,    ///< the row has no entry
        unknown, ///< nobody can make the key, as of letters whose order is unknown
    };
    struct Silent : RowReceiver {
        explicit Silent(std::set<RowId>& heads) : damaged(heads) {}
        void damagedPage(PageNo, const char*) {}
        void damagedRow(RowId head, const char*) { damaged.insert(head); }
        std::set<RowId>& damaged;
    };

    void forEachKey(const Index& index, const std::function<void(RowId, const Key*, Kind)>& visit) const
    {
        std::set<RowId> damaged;
        Silent receiver(damaged);
        Key key;
        std::vector<Value> values;
        for (RowWalk walk(reader_, asked_); walk.next(receiver);) {
            Kind kind = Kind::unknown;
            try {
                values.clear();
                for (const IndexColumn& part : index.columns)
                    values.push_back(fieldValue(reader_.pager(), layout_, part.column, walk.bytes()));
                kind = indexKey(key, index, table_.definition.columns, values) ? Kind::made : Kind::none;
            } catch (const Error& error) {
                if (error.fault() == Fault::disk) throw;
            }
            visit(walk.head(), &key, kind);
        }
        // A row that cannot be read is told of already.
        for (const RowId head : damaged) visit(head, nullptr, Kind::unknown);
    }

    std::optional<Testimony> compare(const Index& index, const IndexTree& tree) const
    {
        std::unordered_map<std::uint32_t, Key> entries;
        tree.walk({}, [&](std::span<const std::uint8_t> key, RowId row) {
            entries.insert_or_assign(row.packed(), Key(key.begin(), key.end()));
            return true;
        });
        Testimony told;
        std::uint64_t made = 0;
        const auto note = [&](std::uint64_t& count, RowId row) {
            if (told.others + told.missing + told.abandoned == 0) told.first = row;
            ++count;
        };
        forEachKey(index, [&](RowId row, const Key* key, Kind kind) {
            const auto entry = entries.extract(row.packed());
            if (kind == Kind::made) ++made;
            if (kind == Kind::made && entry.empty()) note(told.missing, row);
            if ((kind == Kind::made && !entry.empty() && entry.mapped() != *key) ||
                (kind == Kind::none && !entry.empty()))
                note(told.others, row);
        });
        // Of a page that was lost, every row is; that is told already.
        for (const auto& [place, key] : entries) {
            const RowId row = RowId::unpacked(place);
            if (std::ranges::binary_search(*asked_, row.page)) note(told.abandoned, row);
        }
        if (made == 0 || told.others + told.missing + told.abandoned == 0) return std::nullopt;
        return told;
    }

    const RowReader& reader_;
    const FoundTable& table_;
    RowLayout layout_;
    std::shared_ptr<std::vector<PageNo>> asked_;
};

std::string sentenceOf(const Testimony& told)
{
    std::string parts;
    const auto part = [&](std::uint64_t count, const char* what) {
        if (count > 0) parts += (parts.empty() ? "" : ", ") + std::to_string(count) + what;
    };
    part(told.others, " satırın değeri dizindekinden başka");
    part(told.missing, " satır dizinde yok");
    part(told.abandoned, " girişin satırı yok");
    return parts + " (biri: " + pageName(told.first.page) + ", " + std::to_string(told.first.slot.number()) +
           ". satır)";
}

} // namespace

void leaveCopiesOut(Pager& pager, FoundPages& pages, std::uint32_t rowsPromised)
{
    if (!pages.mapRead || pages.someLost) return;
    std::uint64_t rows = 0;
    std::map<std::size_t, std::vector<PageNo>> byHash;
    for (const PageNo page : *pages.list) {
        if (!pages.byMap[page.number()]) continue;
        const PageView view = pager.read(page);
        rows += liveRows(view);
        byHash[std::hash<std::string_view>()(contentOf(view))].push_back(page);
    }
    pages.mapSuffices = rows >= rowsPromised;
    if (!pages.mapSuffices) return;
    std::erase_if(*pages.list, [&](PageNo page) {
        if (pages.byMap[page.number()]) return false;
        const std::string_view content = contentOf(pager.read(page));
        const auto found = byHash.find(std::hash<std::string_view>()(content));
        if (found == byHash.end()) return false;
        const auto original =
            std::ranges::find_if(found->second, [&](PageNo each) { return contentOf(pager.read(each)) == content; });
        if (original == found->second.end()) return false;
        pages.copies.push_back(page);
        pages.copiesOf.push_back(*original);
        return true;
    });
}

namespace {

/// Pages outside of the map; true when there are rows on them.
bool tellOutside(Pager& pager, const FoundPages& pages, const std::string& title, Sentences& losses)
{
    for (std::size_t i = 0; i < pages.copies.size(); ++i)
        losses.add(title + ", " + pageName(pages.copies[i]) + ": tablonun haritasında yok, " +
                   pageName(pages.copiesOf[i]) + "nın kopyası; satırları ikinci kez yazılmadı.");
    if (!pages.mapRead) return false;
    std::uint64_t rows = 0;
    std::vector<PageNo> outside;
    for (const PageNo page : *pages.list) {
        if (pages.byMap[page.number()]) continue;
        const std::uint64_t live = liveRows(pager.read(page));
        if (live > 0) outside.push_back(page);
        rows += live;
    }
    if (rows == 0) return false;
    losses.add(title + ": " + std::to_string(rows) + " satırı tablonun haritasında olmayan " +
               std::to_string(outside.size()) + " sayfada bulundu (ilki " + pageName(outside.front()) +
               ") ve yazıldı; silinmiş satırlar olabilir, yeni dosyada bakın.");
    return true;
}

/// Pages that stand twice among those whose rows are written.
void tellTwins(Pager& pager, const FoundPages& pages, const std::string& title, Sentences& losses)
{
    std::unordered_map<std::size_t, PageNo> seen;
    for (const PageNo page : *pages.list) {
        const PageView view = pager.read(page);
        if (!tellsItselfApart(view)) continue;
        const auto [first, isNew] = seen.try_emplace(std::hash<std::string_view>()(contentOf(view)), page);
        if (!isNew && contentOf(pager.read(first->second)) == contentOf(view))
            losses.add(title + ", " + pageName(page) + ": " + pageName(first->second) + "nın aynısı; " +
                       std::to_string(liveRows(view)) +
                       " satır iki kez yazıldı, ikisinden birinin kendi satırları kayıp olabilir.");
    }
}

} // namespace

void tellDoubts(const RowReader& reader, const FoundTable& table, const FoundPages& pages, const std::string& title,
                std::uint64_t rows, Sentences& losses)
{
    const bool outside = tellOutside(reader.pager(), pages, title, losses);
    bool anyFits = false;
    bool allFit = true;
    const Witnesses witnesses(reader, table, pages);
    for (const Index& index : table.definition.indexes) {
        try {
            const auto told = witnesses.ask(index);
            if (!told) continue;
            if (told->fits) {
                anyFits = true;
                continue;
            }
            allFit = false;
            losses.add(
                title + ": " +
                (index.names.empty() ? std::string("adsız bir dizini") : quotedName(index.names.front()) + " dizini") +
                " satırlarla tutmuyor, " + sentenceOf(*told) +
                ". Satırlar sayfalarda okunduğu gibi yazıldı; bozulmuş, silinmiş ya da yer değiştirmiş olabilir.");
        } catch (const Error& error) {
            if (error.fault() == Fault::disk) throw;
        }
    }
    const bool certain = anyFits && allFit;
    if (!certain) tellTwins(reader.pager(), pages, title, losses);
    if (rows > table.rowsPromised && (outside || !certain))
        losses.add(title + ": tanımına göre " + std::to_string(table.rowsPromised) + " satırı olmalıydı, " +
                   std::to_string(rows) + " satır okundu; fazlası silinmiş ya da iki kez duran satırlar olabilir.");
}

} // namespace jet
