#include "store/jet/care/check_report.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/format/limits.h"
#include "store/jet/format/row_page_layout.h"
#include "store/jet/format/value_layout.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/rows/field_codec.h"
#include "store/jet/rows/long_value.h"
#include "store/jet/table/expected_entries.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <bitset>
#include <map>
#include <optional>
#include <set>

namespace jet {

namespace {

/// What is wrong with the bytes of a text, as a Turkish clause; null when they are sound.
const char* textFault(std::span<const std::uint8_t> bytes, std::size_t mostUnits)
{
    std::size_t units = 0;
    if (text_layout::isCompressed(bytes)) {
        bool pairs = false;
        for (std::size_t i = text_layout::compressedMark.size(); i < bytes.size();) {
            if (bytes[i] == text_layout::change) {
                pairs = !pairs;
                ++i;
            } else {
                if (pairs && i + 1 == bytes.size()) return "metin bir harfin ortasında bitiyor";
                i += pairs ? text_layout::unitBytes : 1;
                ++units;
            }
        }
    } else {
        if (bytes.size() % text_layout::unitBytes != 0) return "metin bir harfin ortasında bitiyor";
        units = bytes.size() / text_layout::unitBytes;
    }
    return units > mostUnits ? "metin 255 harften uzun" : nullptr;
}

/// A set of rows of one table, by their places.
class RowSet {
public:
    void addPage(PageNo page) { pages_.push_back(page); }
    const std::vector<PageNo>& pages() const { return pages_; }
    bool hasPage(PageNo page) const { return indexOf(page) < slots_.size(); }
    void seal() { slots_.resize(pages_.size()); } ///< pages were added in ascending order
    bool has(RowId row) const
    {
        const std::size_t at = indexOf(row.page);
        return at < slots_.size() && slots_[at][row.slot.number()];
    }
    /// False when it was there already. Its page is one of the set's.
    bool insert(RowId row)
    {
        auto slot = slots_[indexOf(row.page)][row.slot.number()];
        if (slot) return false;
        slot = true;
        return true;
    }
    RowSet emptyCopy() const
    {
        RowSet copy;
        copy.pages_ = pages_;
        copy.seal();
        return copy;
    }
    template <class Visit> void forEach(Visit&& visit) const
    {
        for (std::size_t i = 0; i < pages_.size(); ++i)
            for (unsigned slot = 0; slot < slots_[i].size(); ++slot)
                if (slots_[i][slot]) visit(RowId{pages_[i], SlotNo(slot)});
    }

private:
    std::size_t indexOf(PageNo page) const
    {
        const auto found = std::lower_bound(pages_.begin(), pages_.end(), page);
        return found != pages_.end() && *found == page ? static_cast<std::size_t>(found - pages_.begin())
                                                       : pages_.size();
    }
    std::vector<PageNo> pages_;
    std::vector<std::bitset<256>> slots_;
};

/// What the leaves of an index hold, in their order.
struct Leaves {
    void add(std::span<const std::uint8_t> key, RowId row)
    {
        sum.add(key, row);
        if (count++ > 0 && std::ranges::equal(key, previous)) return;
        ++distinct;
        previous.assign(key.begin(), key.end());
    }
    EntrySum sum;
    std::uint64_t count = 0;
    std::uint32_t distinct = 0;
    Key previous;
};

class TableCheck {
public:
    TableCheck(Pager& pager, const std::u16string& name, PageNo definition, TableProperties properties,
               PageOwners& owners, CheckReport& report)
        : pager_(pager), owners_(owners), report_(report), table_(pager, name, definition, std::move(properties)),
          name_(quotedName(name) + " tablosu")
    {
        largest_.resize(columns().size());
    }

    void run()
    {
        ++report_.result().tables;
        checkDefinition();
        report_.attempt([&] { checkDataMaps(); });
        for (const LongValueMaps& maps : table_.definition.longValues)
            if (!maps.owned.none()) report_.attempt([&] { checkLongValueMaps(maps); });
        checkRows();
        for (const LongValueMaps& maps : table_.definition.longValues) checkLongValuesUsed(maps);
        for (const ExpectedEntries& expected : expected_) checkIndex(expected);
        checkNumbers();
    }

private:
    /// Where the long values of one column stand.
    struct LongValues {
        RowSet used;               ///< on pages of the column's map: every part of every value
        std::set<RowId> elsewhere; ///< parts on other pages
    };

    const std::vector<Column>& columns() const { return table_.definition.columns; }
    std::string owned(const std::string& what) const { return name_ + "nun " + what; }
    void fault(PageNo page, const std::string& what)
    {
        report_.fault(name_ + ", " + std::to_string(page.number()) + ". sayfa: " + what + ".");
    }
    void fault(RowId row, const std::string& what)
    {
        fault(row.page, std::to_string(row.slot.number()) + ". satır, " + what);
    }

    void checkDefinition()
    {
        const auto owner = owners_.add(owned("tanımı"));
        const auto& chain = table_.definition.chain;
        std::size_t left = definition_layout::head::length.get(pager_.read(chain.front()));
        for (std::size_t i = 0; i < chain.size(); ++i) {
            const PageView page = pager_.read(chain[i]);
            owners_.claim(owner, chain[i]);
            if (page_layout::mark.get(page) != page_layout::markInUse)
                fault(chain[i], "tanım sayfasının ikinci baytı 1 değil");
            const std::size_t room = i == 0 ? pageSize : pageSize - definition_layout::page::ownBytes;
            const std::size_t rest = room - std::min(room, left);
            left -= std::min(room, left);
            if (page_layout::freeBytes.get(page) != definition_layout::page::freeBytesOf(rest))
                report_.warning(name_ + ", " + std::to_string(chain[i].number()) +
                                ". sayfa: tanımın boş alan sayısı yanlış.");
        }
    }

    /// The page and the bitmaps of a map.
    void checkMapPlace(MapRef map, PageOwners::Owner owner)
    {
        owners_.claim(owner, map);
        const PageView page = pager_.read(map.page);
        const std::string wrong = rowPageFault(page);
        if (!wrong.empty()) fault(map.page, "harita sayfası: " + wrong);
        if (rowPageOwner(page) != 0) fault(map.page, "harita sayfasında başka bir sahip yazılı");
        for (const PageNo bitmap : mapBitmapPages(pager_, map)) {
            owners_.claim(owner, bitmap);
            if (page_layout::mark.get(pager_.read(bitmap)) != page_layout::markInUse)
                fault(bitmap, "bit sayfasının ikinci baytı 1 değil");
        }
    }

    /// A bit for a page behind the end would make it two owners' as soon as the file grows.
    void checkEnd(MapRef map)
    {
        if (mapLeadsPastTheEnd(pager_, map)) fault(map.page, "bir harita dosyada olmayan sayfaları gösteriyor");
    }

    void checkSubset(MapRef room, const std::vector<PageNo>& owned, const std::string& what)
    {
        checkEnd(room);
        for (const PageNo page : jet::mapPages(pager_, room))
            if (!std::binary_search(owned.begin(), owned.end(), page))
                fault(page, what + " yer olan sayfaları arasında, ama onun sayfası değil");
    }

    void checkDataMaps()
    {
        const auto owner = owners_.add(owned("verileri"));
        const TableDefinition& definition = table_.definition;
        report_.attempt([&] { checkMapPlace(definition.owned, owner); });
        report_.attempt([&] { checkMapPlace(definition.freeSpace, owner); });
        report_.attempt([&] { checkEnd(definition.owned); });
        dataPages_ = table_.dataPages();
        for (const PageNo page : *dataPages_) owners_.claim(owner, page);
        checkSubset(definition.freeSpace, *dataPages_, "tablonun");
    }

    void checkLongValueMaps(const LongValueMaps& maps)
    {
        const std::string column = quotedName(columns()[maps.column].name) + " alanı";
        const auto owner = owners_.add(owned(column));
        RowSet& used = longValues_[maps.column].used;
        report_.attempt([&] { checkMapPlace(maps.owned, owner); });
        if (!maps.freeSpace.none()) report_.attempt([&] { checkMapPlace(maps.freeSpace, owner); });
        checkEnd(maps.owned);
        const std::vector<PageNo> pages = jet::mapPages(pager_, maps.owned);
        for (const PageNo page : pages) {
            used.addPage(page);
            owners_.claim(owner, page);
            const PageView view = pager_.look(page, passing_);
            if (!isRowPage(view, row_page_layout::longValueOwner)) {
                fault(page, column + " haritasında, ama uzun alan sayfası değil");
                continue;
            }
            const std::string wrong = rowPageFault(view);
            if (!wrong.empty()) fault(page, wrong);
        }
        used.seal();
        if (!maps.freeSpace.none()) checkSubset(maps.freeSpace, pages, column + " için");
        report_.step(pages.size());
    }

    /// Hears what the walk over the rows finds.
    struct Receiver : RowReceiver {
        explicit Receiver(TableCheck& receiving) : check(receiving) {}
        void page(PageNo number, PageView page)
        {
            check.report_.step();
            const std::string wrong = rowPageFault(page);
            if (!wrong.empty()) check.fault(number, wrong);
        }
        void body(RowId place) { bodies.push_back(place); }
        void foreignPage(PageNo page) { damagedPage(page, foreignPageClause); }
        void damagedPage(PageNo page, const char* what)
        {
            check.report_.step();
            check.fault(page, what);
        }
        void damagedRow(RowId head, const char* what)
        {
            ++check.live_;
            check.fault(head, what);
        }
        TableCheck& check;
        std::vector<RowId> bodies;
    };

    void checkRows()
    {
        for (const PageNo page : *dataPages_) rows_.addPage(page);
        rows_.seal();
        Receiver receiver(*this);
        for (const Index& index : table_.definition.indexes) expected_.emplace_back(table_, index, KeyUse::write);
        RowWalk walk(table_.reader(), dataPages_, PageUse::pass);
        while (walk.next(receiver)) {
            ++live_;
            ++report_.result().rows;
            rows_.insert(walk.head());
            for (ExpectedEntries& expected : expected_) expected.add(walk.head(), walk.bytes(), passing_);
            if (walk.body() != walk.head() && !std::ranges::binary_search(*dataPages_, walk.body().page))
                fault(walk.body(), "taşınmış satırın sayfası tablonun haritasında yok");
            for (std::size_t column = 0; column < columns().size(); ++column)
                if (const auto field = table_.field(column, walk.bytes()))
                    report_.attempt([&] { checkField(walk.head(), column, *field); });
        }
        std::erase_if(receiver.bodies, [&](RowId body) { return walk.reached(body); });
        if (!receiver.bodies.empty())
            report_.warning(name_ + ": " + std::to_string(receiver.bodies.size()) +
                            " taşınmış satıra hiçbir yerden gelinmiyor (ilki " +
                            std::to_string(receiver.bodies.front().page.number()) +
                            ". sayfada); yer kaplar, zararı yoktur.");
    }

    void checkField(RowId id, std::size_t column, std::span<const std::uint8_t> bytes)
    {
        const Column& what = columns()[column];
        const auto wrong = [&](const std::string& clause) { fault(id, quotedName(what.name) + " alanı: " + clause); };
        switch (what.type) {
        case ColumnType::text:
            if (const char* clause = textFault(bytes, limits::text)) wrong(clause);
            break;
        case ColumnType::dateTime: {
            const double days = std::get<DateTime>(decodeValue(what.type, what.scale, bytes)).days;
            if (!limits::isMoment(days)) wrong("tarih 100-9999 yılları dışında");
            break;
        }
        case ColumnType::longInteger:
            if (what.autoNumber && !what.randomNumber)
                largest_[column] =
                    std::max(largest_[column].value_or(INT32_MIN), static_cast<std::int32_t>(getU32(bytes.data())));
            break;
        case ColumnType::memo:
        case ColumnType::ole: {
            const auto places = longValuePlaces(pager_, bytes, &passing_);
            bool isFirst = true;
            for (const RowId place : places) isFirst = usePart(column, place) && isFirst;
            // A value of several rows need not be read again for each, nor one that is nothing but bytes.
            if (!isFirst || (what.type == ColumnType::ole && places.size() > 1)) break;
            const Bytes data = readLongValue(pager_, bytes, &passing_);
            if (what.type == ColumnType::memo)
                if (const char* clause = textFault(data, SIZE_MAX)) wrong(clause);
            break;
        }
        default:
            break;
        }
    }

    /// False where another value has the part already.
    bool usePart(std::size_t column, RowId place)
    {
        const std::string name = quotedName(columns()[column].name) + " alanı: ";
        const bool hasMaps = table_.definition.longValuesOf(column) != nullptr;
        LongValues& values = longValues_[column];
        const bool isOwned = values.used.hasPage(place.page);
        const bool isFirst = isOwned ? values.used.insert(place) : values.elsewhere.insert(place).second;
        if (hasMaps && !isFirst) fault(place, name + "bir parça iki değere ait");
        if (hasMaps && !isOwned) fault(place, name + "parçanın sayfası alanın haritasında yok");
        return isFirst;
    }

    void checkLongValuesUsed(const LongValueMaps& maps)
    {
        const RowSet& used = longValues_[maps.column].used;
        std::uint64_t lost = 0;
        for (const PageNo page : used.pages()) {
            const PageView view = pager_.look(page, passing_);
            if (!isRowPage(view, row_page_layout::longValueOwner)) continue;
            const unsigned count = slotCount(view).value_or(0);
            for (SlotNo i = 0; i < SlotNo(count); ++i) {
                const auto slot = slotAt(view, i, count);
                if (slot && slot->live() && !used.has({page, i})) ++lost;
            }
        }
        if (lost > 0)
            report_.warning(name_ + ", " + quotedName(columns()[maps.column].name) + " alanı: " + std::to_string(lost) +
                            " parçayı hiçbir satır kullanmıyor; yer kaplar, zararı yoktur.");
    }

    void checkIndex(const ExpectedEntries& wanted)
    {
        const Index& index = wanted.index();
        const std::string which =
            name_ + ", " +
            (index.names.empty() ? std::string("adsız dizin") : quotedName(index.names.front()) + " dizini");
        const auto owner = owners_.add(which);
        report_.attempt([&] {
            if (index.ownedPages.none()) return;
            checkMapPlace(index.ownedPages, owner);
            checkEnd(index.ownedPages);
        });
        std::vector<std::string> faults;
        std::vector<std::string> warnings;
        std::vector<PageNo> pages;
        const IndexTree tree = table_.tree(index);
        Leaves leaves;
        report_.attempt([&] {
            tree.check(faults, warnings, pages,
                       [&](std::span<const std::uint8_t> key, RowId row) { leaves.add(key, row); });
        });
        const auto ofIndex = [&](const std::string& sentence) {
            return std::string(which).append(": ").append(sentence);
        };
        for (const std::string& sentence : faults) report_.fault(ofIndex(sentence));
        for (const std::string& sentence : warnings) report_.warning(ofIndex(sentence));
        for (const PageNo page : pages) owners_.claim(owner, page);
        report_.step(pages.size());
        if (faults.empty() && wanted.are(leaves.sum) && !(index.unique && leaves.distinct < leaves.count) &&
            !(index.required && wanted.hasEmptyField())) {
            report_.result().indexEntries += leaves.count;
            checkDistinct(index, which, leaves.distinct);
        } else {
            report_.attempt([&] { checkEntries(index, tree, which); });
        }
    }

    /// Says what is wrong, entry by entry: each is compared with its row.

    void checkEntries(const Index& index, const IndexTree& tree, const std::string& which)
    {
        RowSet seen = rows_.emptyCopy();
        std::vector<Value> values;
        Key expected;
        Key previous;
        std::uint64_t entries = 0;
        std::uint64_t unjudged = 0;
        std::uint32_t distinct = 0;
        const auto wrong = [&](RowId row, const std::string& clause) {
            report_.fault(which + ": " + std::to_string(row.page.number()) + ". sayfanın " +
                          std::to_string(row.slot.number()) + ". satırı " + clause + ".");
        };
        tree.walk({}, [&](std::span<const std::uint8_t> key, RowId row) {
            ++entries;
            const bool repeated = entries > 1 && std::ranges::equal(key, previous);
            if (!repeated) ++distinct;
            previous.assign(key.begin(), key.end());
            if (!rows_.has(row)) {
                wrong(row, "için giriş var, ama öyle sağlam bir satır yok");
                return true;
            }
            if (!seen.insert(row)) {
                wrong(row, "için iki giriş var");
                return true;
            }
            report_.attempt([&] {
                const auto found = table_.find(row);
                if (!found) return;
                table_.keyValues(index, found->bytes, values);
                const auto nulls = std::ranges::count_if(values, [](const Value& value) { return isNull(value); });
                if (index.required && nulls > 0) wrong(row, "zorunlu bir alanı boş bırakıyor");
                const bool allNull = nulls == static_cast<std::ptrdiff_t>(values.size());
                if (index.unique && repeated && !allNull)
                    wrong(row, "benzersiz dizinde başkasıyla aynı anahtarı taşıyor");
                try {
                    if (!indexKey(expected, index, columns(), values)) {
                        wrong(row, "boş olduğu hâlde giriş taşıyor");
                        return;
                    }
                } catch (const Error& error) {
                    if (error.fault() != Fault::indexNotWritable) throw;
                    ++unjudged;
                    return;
                }
                if (!std::ranges::equal(key, expected)) wrong(row, "için yazılı anahtar, alanlarınınkinden başka");
            });
            return true;
        });
        report_.result().indexEntries += entries;
        rows_.forEach([&](RowId row) {
            if (seen.has(row)) return;
            report_.attempt([&] {
                if (index.ignoreNulls) {
                    const auto found = table_.find(row);
                    table_.keyValues(index, found->bytes, values);
                    if (std::ranges::all_of(values, [](const Value& value) { return isNull(value); })) return;
                }
                wrong(row, "dizinde yok");
            });
        });
        if (unjudged > 0)
            report_.warning(
                which + ": " + std::to_string(unjudged) +
                " girişin anahtarı yeniden hesaplanamadı (sıralaması bilinmeyen harfler); yalnızca yerlerine "
                "bakıldı.");
        checkDistinct(index, which, distinct);
    }

    void checkDistinct(const Index& index, const std::string& which, std::uint32_t distinct)
    {
        const std::uint32_t stored =
            definition_layout::statistics::getDistinctKeys(pager_.read(table_.definition.page), index.number);
        if (stored < distinct)
            report_.warning(which + ": ayrı anahtar sayısı " + std::to_string(stored) + " yazılı, " +
                            std::to_string(distinct) + " anahtar var; zararı yoktur.");
    }

    void checkNumbers()
    {
        const PageView page = pager_.read(table_.definition.page);
        const std::uint32_t count = definition_layout::head::rowCount.get(page);
        if (count != live_)
            report_.warning(name_ + ": tanımda " + std::to_string(count) + " satır yazılı, " + std::to_string(live_) +
                            " satır var; ilk yazışta düzelir.");
        const auto last = static_cast<std::int32_t>(definition_layout::head::lastAutoNumber.get(page));
        for (std::size_t column = 0; column < columns().size(); ++column)
            if (largest_[column] && *largest_[column] > last)
                report_.warning(name_ + ", " + quotedName(columns()[column].name) + " alanı: verilmiş en büyük sayı " +
                                std::to_string(*largest_[column]) + ", sayaç ise " + std::to_string(last) +
                                " gösteriyor; ilk eklemede düzelir.");
    }

    Pager& pager_;
    PageOwners& owners_;
    CheckReport& report_;
    Table::State table_;
    std::string name_;
    std::shared_ptr<const std::vector<PageNo>> dataPages_ = std::make_shared<std::vector<PageNo>>();
    RowSet rows_;                           ///< the sound ones
    std::uint64_t live_ = 0;                ///< with the damaged ones
    std::vector<ExpectedEntries> expected_; ///< of each index
    PassingBuffer passing_;
    std::map<std::size_t, LongValues> longValues_;     ///< by column
    std::vector<std::optional<std::int32_t>> largest_; ///< of columns that are counted
};

} // namespace

std::string rowPageFault(PageView page)
{
    if (row_page_layout::mark.get(page) != page_layout::markInUse) return "ikinci baytı 1 değil";
    const auto count = slotCount(page);
    if (!count) return "satır sayısı sayfaya uymuyor";
    if (!slotsInOrder(page)) return "satırların yerleri sayfaya uymuyor";
    const std::size_t free = freeBytes(page);
    const std::size_t written = row_page_layout::freeBytes.get(page);
    if (written != free)
        return "boş alan sayısı yanlış (" + std::to_string(written) + " yazılı, " + std::to_string(free) + " olmalı)";
    return {};
}

void checkTable(Pager& pager, const std::u16string& name, PageNo definition, TableProperties properties,
                PageOwners& owners, CheckReport& report)
{
    report.attempt([&] { TableCheck(pager, name, definition, std::move(properties), owners, report).run(); });
}

} // namespace jet
