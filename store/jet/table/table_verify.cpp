#include "store/jet/table/table_state.h"

#include "store/jet/pages/damage.h"
#include "store/jet/rows/long_value.h"
#include "store/jet/table/expected_entries.h"
#include "store/jet/table/page_owners.h"
#include "store/jet/table/relationships.h"
#include "store/jet/values/names.h"

#include <algorithm>

namespace jet {
namespace {

struct Strict : ThrowAtDamage {
    explicit Strict(Table::State& ofTable) : ThrowAtDamage(ofTable.pager), table(ofTable) {}
    void foreignPage(PageNo page) const { damagedPage(page, foreignPageClause); }
    /// Only before the first change: from then on somebody may hold the place of a row that stood there.
    void page(PageNo number, PageView page)
    {
        if (!table.changes.lastDuring() && allSlotsDead(page)) table.emptyPages.push_back(number);
    }
    Table::State& table;
};

/// Visits every row; throws damaged at the first thing that casts doubt on a row or on there being no more of them.
/// Not by the cursor's list of pages: where the map is damaged that list is a guess, good for reading only.
template <class Visit> void forEachRowOrThrow(Table::State& table, Visit&& visit)
{
    const auto pages = std::make_shared<std::vector<PageNo>>(mapPages(table.pager, table.definition.owned));
    table.emptyPages.clear();
    Strict receiver(table);
    for (RowWalk rows(table.reader(), pages, PageUse::pass); rows.next(receiver);) {
        if (rows.body() != rows.head() && !std::ranges::binary_search(*pages, rows.body().page))
            throwDamaged(table.pager, rows.body().page, "taşınmış bir satır başka bir yerde duruyor");
        visit(rows.head(), rows.bytes());
    }
}

Refusal refusalOf(const Table::State& table, Fault fault, const std::string& why, const std::string& end = ".")
{
    return {fault, files::quotedPath(table.pager.path()) + " dosyasındaki " + quotedName(table.name) +
                       " tablosuna yazılamaz: " + why + end};
}

/// Verifies one table; stops at the first thing that stands against writing.
class Verifier {
public:
    explicit Verifier(Table::State& table) : table_(table), pager_(table.pager) {}

    std::optional<Refusal> run()
    {
        for (const Column& column : table_.definition.columns) {
            if (!isKnown(column.type)) {
                return refuse(Fault::readOnly, quotedName(column.name) + " alanının türü tanınmıyor");
            }
        }
        try {
            checkRows();
        } catch (const Error& error) {
            if (error.fault() != Fault::damaged) throw;
            return refuse(Fault::readOnly, "bozuk bir yeri var. " + std::string(error.what()), "");
        }
        for (const ExpectedEntries& expected : expected_) {
            if (const std::optional<IndexFault> fault = indexFault(expected))
                return refuseIndex(expected.index(), *fault);
        }
        if (const std::optional<std::string> why = contestedPage(table_, indexPages_))
            return refuse(Fault::readOnly, "bozuk: " + *why + "; dosyayı Access ile onarın");
        return std::nullopt;
    }

private:
    Refusal refuse(Fault fault, const std::string& why, const std::string& end = ".") const
    {
        return refusalOf(table_, fault, why, end);
    }
    struct IndexFault {
        explicit IndexFault(std::string_view sentence, bool isCertain = true) : what(sentence), certain(isCertain) {}
        std::string what;
        bool certain; ///< false: the index may well be right, but nobody can tell
    };
    Refusal refuseIndex(const Index& index, const IndexFault& fault) const
    {
        const std::u16string name = index.names.empty() ? std::u16string() : index.names.front();
        const std::string why =
            fault.certain ? " dizini kayıtlarla tutmuyor ya da doğru tutulamaz (" + fault.what + "). Dizini kaldırmak"
                          : " dizini doğru tutulamaz (" + fault.what +
                                "); bozuk demek değildir. Tabloyu Access ile değiştirin. Dizinden vazgeçmek";
        return refuse(Fault::indexNotWritable,
                      indexTitle(index) + why + " için: presva-mdb drop-index " + files::quotedPath(pager_.path()) +
                          ' ' + quotedName(table_.name) + ' ' + quotedName(name),
                      "");
    }

    /// Every row of every page decodes. Counts what the indexes must agree with.
    void checkRows()
    {
        const TableDefinition& definition = table_.definition;
        owned_.assign(pager_.pageCount(), false);
        for (const PageNo page : mapPages(pager_, definition.owned)) owned_[page.number()] = true;
        for (const PageNo page : mapPages(pager_, definition.freeSpace)) {
            if (!owned_[page.number()])
                throwDamaged(pager_, page, "boş yer haritası tablonun olmayan bir sayfayı gösteriyor");
        }
        for (const Index& index : definition.indexes) expected_.emplace_back(table_, index, KeyUse::compare);
        for (std::size_t i = 0; i < definition.columns.size(); ++i)
            if (definition.columns[i].autoNumber && !definition.columns[i].randomNumber) autoNumbers_.push_back(i);
        forEachRowOrThrow(table_, [&](RowId head, std::span<const std::uint8_t> row) { checkRow(head, row); });
        refuseTwice(longValues_, "iki uzun alan aynı yeri paylaşıyor");
        table_.countIsStale = definition_layout::head::rowCount.get(pager_.read(definition.page)) != rows_;
    }

    void refuseTwice(std::vector<RowId>& places, std::string_view what) const
    {
        std::sort(places.begin(), places.end());
        const auto twice = std::adjacent_find(places.begin(), places.end());
        if (twice != places.end()) throwDamaged(pager_, twice->page, what);
    }

    void checkRow(RowId head, std::span<const std::uint8_t> row)
    {
        ++rows_;
        for (ExpectedEntries& expected : expected_) expected.add(head, row, passing_);
        for (const std::size_t column : autoNumbers_) {
            if (const auto bytes = table_.field(column, row)) {
                table_.highestAutoNumber =
                    std::max(table_.highestAutoNumber, static_cast<std::int32_t>(getU32(bytes->data())));
            }
        }
        for (const LongValueMaps& maps : table_.definition.longValues) {
            const auto reference = table_.field(maps.column, row);
            if (!reference) continue;
            const std::vector<RowId> places = longValuePlaces(pager_, *reference, &passing_);
            longValues_.insert(longValues_.end(), places.begin(), places.end());
        }
    }

    /// What is wrong with an index; nothing when every entry is the one that its row should have, and none is missing.
    std::optional<IndexFault> indexFault(const ExpectedEntries& expected)
    {
        std::vector<std::string> faults;
        std::vector<std::string> warnings;
        EntrySum found;
        const IndexTree tree = table_.tree(expected.index());
        tree.check(faults, warnings, indexPages_,
                   [&found](std::span<const std::uint8_t> key, RowId row) { found.add(key, row); });
        if (!faults.empty()) return IndexFault{faults.front()};
        if (expected.are(found)) return std::nullopt;
        return entryFault(tree, expected);
    }

    /// Where one column of an index has an order that is not known, the entries tell the keys of their texts: what
    /// stands between the keys of the columns before and behind it. A text with two keys leaves nothing to rely on.
    void learnTexts(const IndexTree& tree, const Index& index)
    {
        const std::vector<Column>& columns = table_.definition.columns;
        const auto isUnknown = [&](const IndexColumn& each) { return hasUnknownOrder(columns[each.column]); };
        const auto unknown = std::ranges::find_if(index.columns, isUnknown);
        if (std::ranges::count_if(index.columns, isUnknown) != 1) return;
        const auto place = static_cast<std::size_t>(unknown - index.columns.begin());
        KnownTexts texts(columns[unknown->column], unknown->ascending);
        Key before;
        Key behind;
        bool isTrue = true;
        tree.walk({}, [&](std::span<const std::uint8_t> key, RowId id) {
            const bool inTable = id.page < PageNo(owned_.size()) && owned_[id.page.number()];
            const std::optional<RowReader::Row> found = inTable ? table_.find(id) : std::nullopt;
            if (!found) return false; // said entry by entry
            table_.keyValues(index, found->bytes, values_);
            const std::u16string* const text = std::get_if<std::u16string>(&values_[place]);
            if (text == nullptr) return true;
            before.clear();
            behind.clear();
            for (std::size_t i = 0; i < index.columns.size(); ++i)
                if (i != place)
                    appendKey(i < place ? before : behind, columns[index.columns[i].column], values_[i],
                              index.columns[i].ascending, KeyUse::compare);
            isTrue = key.size() > before.size() + behind.size() &&
                     std::ranges::equal(key.first(before.size()), before) &&
                     std::ranges::equal(key.last(behind.size()), behind) &&
                     texts.learn(*text, key.subspan(before.size(), key.size() - before.size() - behind.size()));
            return isTrue;
        });
        if (isTrue) table_.knownTexts.insert_or_assign(index.number, std::move(texts));
    }

    /// Access would make just this key of the values at hand. Where it is not known what Access makes of them, an entry
    /// with another key contradicts a guess alone.
    bool keyIsCertain(const Index& index) const
    {
        try {
            Key key;
            indexKey(key, index, table_.definition.columns, values_, KeyUse::write, table_.known(index));
            return true;
        } catch (const Error& error) {
            if (error.fault() != Fault::indexNotWritable) throw;
            return false;
        }
    }

    /// The same entry by entry, each with its row.
    std::optional<IndexFault> entryFault(const IndexTree& tree, const ExpectedEntries& wanted)
    {
        std::optional<IndexFault> fault;
        std::uint64_t entries = 0;
        Key expected;
        try {
            learnTexts(tree, wanted.index());
            // The tree's own check has seen that the entries ascend, so none of them comes twice.
            tree.walk({}, [&](std::span<const std::uint8_t> key, RowId id) {
                const bool inTable = id.page < PageNo(owned_.size()) && owned_[id.page.number()];
                const std::optional<RowReader::Row> found = inTable ? table_.find(id) : std::nullopt;
                if (!found) {
                    fault.emplace("bir girişin kaydı yok");
                    return false;
                }
                table_.keyValues(wanted.index(), found->bytes, values_);
                if (!indexKey(expected, wanted.index(), table_.definition.columns, values_, KeyUse::compare,
                              table_.known(wanted.index())) ||
                    !std::equal(key.begin(), key.end(), expected.begin(), expected.end())) {
                    const bool certain = keyIsCertain(wanted.index());
                    fault.emplace(certain ? "bir giriş kaydından hesaplanandan farklı"
                                          : "sıralaması bilinmeyen harfleri olan bir girişin anahtarı hesaplanamıyor",
                                  certain);
                    return false;
                }
                ++entries;
                return true;
            });
        } catch (const Error& error) {
            if (error.fault() != Fault::damaged && error.fault() != Fault::indexNotWritable) throw;
            return IndexFault{error.what()};
        }
        if (!fault && entries != rows_ - wanted.rowsWithoutEntry()) fault.emplace("bazı kayıtların girişi yok");
        return fault;
    }

    Table::State& table_;
    Pager& pager_;
    std::vector<bool> owned_; ///< by page: a data page of the table
    std::uint64_t rows_ = 0;
    std::vector<ExpectedEntries> expected_; ///< of each index
    std::vector<std::size_t> autoNumbers_;  ///< positions of the columns that are counted
    std::vector<RowId> longValues_;         ///< every part of the values outside their rows
    PassingBuffer passing_;
    std::vector<PageNo> indexPages_;
    std::vector<Value> values_;
};

} // namespace

void Table::requireSoundRows() const
{
    state_->rereadIfTakenBack();
    forEachRowOrThrow(*state_, [](RowId, std::span<const std::uint8_t>) {});
}

std::optional<Refusal> demandsNobodyKnows(Table::State& table)
{
    if (!table.pager.writable()) return std::nullopt; // which is the better reason
    if (const auto why = unknownRules(table.properties, table.definition.columns))
        return refusalOf(table, Fault::readOnly, *why + "; tabloyu Access ile açıp tasarımını kaydedin");
    try {
        relationsOf(table);
    } catch (const Error& error) {
        // Also a definition at the other end that cannot be read.
        if (error.fault() != Fault::unsupported && error.fault() != Fault::damaged && error.fault() != Fault::cutShort)
            throw;
        return refusalOf(table, Fault::readOnly, error.what());
    }
    return std::nullopt;
}

std::optional<Refusal> verifyContents(Table::State& table) { return Verifier(table).run(); }

std::optional<Refusal> verifyForWriting(Table::State& table)
{
    if (!table.pager.writable()) return refusalOf(table, Fault::readOnly, table.pager.whyNotWritable());
    return verifyContents(table);
}

void Table::State::verifyAhead() { verdict = verifyContents(*this); }

void Table::State::takeVerdict(State& from)
{
    if (!from.verdict) return;
    verdict = std::move(from.verdict);
    knownTexts = std::move(from.knownTexts);
    highestAutoNumber = from.highestAutoNumber;
    countIsStale = from.countIsStale;
    // As in a verification of one's own: only before the first change.
    emptyPages.clear();
    if (!changes.lastDuring()) emptyPages = std::move(from.emptyPages);
}

} // namespace jet
