#include "weights/book_history.h"
#include "weights/verification.h"

#include "files/language.h"
#include "files/quoted_path.h"
#include "mill/names.h"
#include "store/jet/table/table.h"
#include "store/jet/values/calendar.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <set>

namespace weights {
namespace {

using mill::Hareket;

/// The figures that both keep, in the order of the journal's fields.
constexpr std::array figureFields = {Hareket::Zeytin, Hareket::Yağ, Hareket::Yuzde, Hareket::HakTut, Hareket::Nakit};
using Figures = std::array<std::optional<double>, figureFields.size()>;

Figures figuresOf(const Pressing& pressing)
{
    return {pressing.olives, pressing.oil, pressing.percentage, pressing.entitlement, pressing.fee};
}

struct Row {
    double moment = 0;
    Figures figures;
};

/// What a field of that type keeps of a number.
double kept(double number, jet::ColumnType type)
{
    constexpr double perUnit = 10000;
    if (type == jet::ColumnType::singleFloat) return static_cast<double>(static_cast<float>(number));
    if (type == jet::ColumnType::currency) return std::nearbyint(number * perUnit) / perUnit;
    return number;
}

bool isText(jet::ColumnType type) { return type == jet::ColumnType::text || type == jet::ColumnType::memo; }

std::string shown(std::optional<double> number)
{
    if (!number) return files::said("boş", "empty");
    std::array<char, 32> digits{};
    return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), *number).ptr};
}

/// Whether it is a pressing, and not the sums of a report.
bool isPressing(const jet::RowView& row, std::string& customer)
{
    std::u16string text;
    row.text(Hareket::CariHar, text);
    if (text == mill::reserved::totals) return false;
    customer = jet::toUtf8(text);
    return true;
}

std::vector<JournalKey> keysOf(const jet::Table& journal)
{
    std::vector<JournalKey> keys;
    std::string customer;
    journal.forEachRow([&](jet::RowId, const jet::RowView& row) {
        if (isPressing(row, customer)) keys.push_back(keyOf(row.number(Hareket::Tarih).value_or(0), customer));
        return true;
    });
    return keys;
}

/// "5. satır", to which an ending may be added; "line 5".
std::string nthLine(const Line& line)
{
    const std::string number = std::to_string(line.number);
    return files::inEnglish() ? "line " + number : number + ". satır";
}

/// The journal beside the book.
class Comparison {
public:
    Comparison(const std::vector<PlacedLine>& lines, const std::vector<LoggedHead>& heads, const jet::Table& journal,
               Journal whose)
        : history_(lines), entries_(history_.entries()), isThere_(entries_.size()), journal_(journal),
          isShared_(whose == Journal::shared)
    {
        for (std::size_t i = 0; i < entries_.size(); ++i)
            if (const Pressing* pressing = pressingOf(entries_[i])) {
                if (!first_) first_ = pressing;
                lines_.emplace(keyOf(pressing->moment, pressing->customer), i);
            }
        for (const LoggedHead& head : heads) seen_.insert(head.seal);
        std::string customer;
        journal.forEachRow([&](jet::RowId, const jet::RowView& row) {
            if (!isPressing(row, customer)) return true;
            Row found{row.number(Hareket::Tarih).value_or(0), {}};
            for (std::size_t i = 0; i < figureFields.size(); ++i) found.figures[i] = row.number(figureFields[i]);
            rows_.emplace(keyOf(found.moment, customer), found);
            return true;
        });
    }

    Findings run()
    {
        if (!first_) {
            if (isShared_)
                ofOthers_ = rows_.size();
            else
                withoutABook();
            tellOthers();
            return std::move(found_);
        }
        std::set<JournalKey> keys;
        for (const auto& each : lines_) keys.insert(each.first);
        for (const auto& each : rows_) keys.insert(each.first);
        for (const JournalKey& key : keys) compare(key);
        for (std::size_t i = 0; i < entries_.size(); ++i)
            if (pressingOf(entries_[i]) && !isThere_[i]) tellMissing(i);
        for (const auto& [at, lost] : history_.lostBefore())
            fault(nthLine(*entries_[at].line) + files::said(": bu silmeden önce ", ": before this deletion ") +
                  std::to_string(lost) +
                  files::said(" sıkım defterden programsız çıkarılmıştı.",
                              " pressings had been taken out of the journal without the program."));
        if (!isShared_) compareWhatWasThereBefore();
        tellWhatTookRows();
        tellClocks();
        tellOthers();
        return std::move(found_);
    }

private:
    void fault(std::string sentence) { found_.faults.push_back(std::move(sentence)); }
    void remark(std::string sentence) { found_.remarks.push_back(std::move(sentence)); }

    static std::string nameOf(const JournalKey& key, double moment) { return shownMoment(moment) + " " + key.customer; }

    void withoutABook()
    {
        const double since = jet::dateTime(bookSince[0], bookSince[1], bookSince[2])->days;
        const auto count = std::ranges::count_if(rows_, [&](const auto& row) { return row.second.moment >= since; });
        if (count > 0)
            fault(files::said("Tartım defterinde satır yok, oysa Hareket tablosunda ",
                              "The book of weights has no line, but Hareket has since ") +
                  shownMoment(since).substr(0, 10) + files::said(" gününden beri ", " got ") + std::to_string(count) +
                  files::said(" sıkım var: ", " pressings: ") + files::quotedPath(currentName) +
                  files::said(" silinmiş ya da boşaltılmış.", " was deleted or emptied."));
        else if (!rows_.empty())
            remark(files::said("Hareket tablosundaki ", "In Hareket ") + std::to_string(rows_.size()) +
                   files::said(" sıkım tartım defterinden eski.", " pressings are older than the book of weights."));
    }

    /// The first field that differs.
    std::optional<std::size_t> difference(const Pressing& pressing, const Row& row) const
    {
        const Figures figures = figuresOf(pressing);
        for (std::size_t i = 0; i < figures.size(); ++i) {
            const jet::ColumnType type = journal_.columns()[figureFields[i]].type;
            if (isText(type)) continue; // of somebody else's making; what stands there is no number
            if (row.figures[i] != kept(*figures[i], type)) return i;
        }
        return std::nullopt;
    }

    void compare(const JournalKey& key)
    {
        std::vector<std::size_t> lines;
        std::vector<Row> rows;
        for (auto [at, end] = lines_.equal_range(key); at != end; ++at) lines.push_back(at->second);
        for (auto [at, end] = rows_.equal_range(key); at != end; ++at) rows.push_back(at->second);
        // Those that agree belong together; of the others the first with the first.
        std::erase_if(lines, [&](std::size_t line) {
            const auto same = std::ranges::find_if(
                rows, [&](const Row& row) { return !difference(*pressingOf(entries_[line]), row); });
            if (same == rows.end()) return false;
            rows.erase(same);
            isThere_[line] = true;
            return true;
        });
        const std::size_t both = std::min(lines.size(), rows.size());
        for (std::size_t i = 0; i < both; ++i) {
            isThere_[lines[i]] = true;
            tellDifference(key, *entries_[lines[i]].line, rows[i]);
        }
        for (std::size_t i = both; i < rows.size(); ++i) {
            if (isShared_)
                ++ofOthers_;
            else if (rows[i].moment < first_->moment)
                older_.push_back(key.customer);
            else
                fault(nameOf(key, rows[i].moment) + files::said(": defterde var, tartım satırı yok.",
                                                                ": in the journal, but without a line in the book."));
        }
    }

    void tellDifference(const JournalKey& key, const Line& line, const Row& row)
    {
        const auto& pressing = std::get<Pressing>(line.fact);
        const std::size_t field = *difference(pressing, row);
        fault(nameOf(key, row.moment) + ": " + files::said("", "differs from ") + nthLine(line) +
              files::said("ıyla uyuşmuyor; ", "; ") + jet::toUtf8(journal_.columns()[figureFields[field]].name) +
              files::said(" defterde ", " is in the journal ") + shown(row.figures[field]) +
              files::said(", satırda ", ", in the line ") + shown(figuresOf(pressing)[field]) + ".");
    }

    bool isSeen(std::size_t entry) const { return seen_.empty() || seen_.contains(entries_[entry].line->seal); }

    /// Whether something is left of what the deletion or the restored copy takes away: the program leaves nothing.
    bool hasLeft(std::size_t by) const
    {
        for (std::size_t i = 0; i < by; ++i)
            if (entries_[i].takenBy == by && isThere_[i]) return true;
        return false;
    }

    /// The pressing of a line has no row.
    void tellMissing(std::size_t at)
    {
        const Entry& entry = entries_[at];
        const std::string begin =
            shownMoment(momentOf(entry.line->fact)) + " " + pressingOf(entry)->customer + ": " + nthLine(*entry.line) +
            files::said("ı var, sıkımı defterde yok; ", " is there, its pressing is not in the journal; ");
        if (!entry.takenBy && isShared_) {
            ++takenByOthers_;
            return;
        }
        if (!entry.takenBy)
            return fault(begin + files::said("programla silinmedi.", "it was not deleted by the program."));
        const std::size_t by = *entry.takenBy;
        const std::string why = nthLine(*entries_[by].line);
        const bool isDeletion = std::holds_alternative<Deletion>(entries_[by].line->fact);
        if (!isSeen(by))
            return fault(begin + why +
                         (isDeletion ? files::said("daki silmeyi presva.log görmemiş.",
                                                   " says a deletion that presva.log has not seen.")
                                     : files::said("daki geri yüklemeyi presva.log görmemiş.",
                                                   " says a copy put back that presva.log has not seen.")));
        if (hasLeft(by))
            return fault(begin + why +
                         (isDeletion
                              ? files::said("daki silme hiç yapılmamış: başka sıkımları duruyor.",
                                            " says a deletion that never was: other pressings of it are there.")
                              : files::said("daki geri yükleme hiç yapılmamış: sonraki sıkımlar duruyor.",
                                            " says a copy put back that never was: later pressings are there.")));
        ++takenRows_[by];
    }

    void tellWhatTookRows()
    {
        for (const auto& [by, count] : takenRows_) {
            const Fact& fact = entries_[by].line->fact;
            const std::string begin = nthLine(*entries_[by].line) + ": " + shownMoment(momentOf(fact));
            if (const auto* restore = std::get_if<Restore>(&fact))
                remark(begin + files::said(" yedekten dönüldü (", " a copy was put back (") + restore->copy +
                       files::said("); satırı olan ", "); of the pressings with a line it lacked ") +
                       std::to_string(count) + files::said(" sıkım bu yedekte yoktu.", "."));
            else
                remark(begin + files::said(" programla silindi (", " deleted by the program (") +
                       std::get<Deletion>(fact).customer.value_or(files::said("bütün cariler", "all customers")) +
                       files::said("): satırı olan ", "): pressings with a line: ") + std::to_string(count) +
                       files::said(" sıkım.", "."));
        }
        // One that took nothing away is worth a word as well.
        for (std::size_t i = 0; i < entries_.size(); ++i)
            if (const auto* restore = std::get_if<Restore>(&entries_[i].line->fact); restore && !takenRows_.contains(i))
                remark(nthLine(*entries_[i].line) + ": " + shownMoment(restore->moment) +
                       files::said(" yedekten dönüldü (", " a copy was put back (") + restore->copy + ").");
    }

    void tellOthers()
    {
        if (ofOthers_ > 0)
            remark(files::said("Ortak defterdeki ", "In the shared register ") + std::to_string(ofOthers_) +
                   files::said(" sıkımın bu sayaçta tartım satırı yok: başka sayaçların ya da daha eski.",
                               " pressings have no line here: they are other counters', or older."));
        if (takenByOthers_ > 0)
            remark(files::said("Satırı olan ", "Of the pressings with a line ") + std::to_string(takenByOthers_) +
                   files::said(" sıkım ortak defterde yok: başka bir sayaçta silinmiş.",
                               " are not in the shared register: another counter has deleted them."));
    }

    void tellClocks()
    {
        constexpr double minute = 1.0 / (24 * 60);
        const Pressing* before = nullptr;
        for (const Entry& entry : entries_) {
            const Pressing* pressing = pressingOf(entry);
            if (!pressing) continue;
            if (before && pressing->moment < before->moment - minute)
                remark(nthLine(*entry.line) +
                       files::said(": bilgisayarın saati geri alınmış, ", ": the computer's clock was put back, ") +
                       shownMoment(before->moment) + files::said(" satırından sonra ", " is followed by ") +
                       shownMoment(pressing->moment) + ".");
            before = pressing;
        }
    }

    /// Whether the journal's older rows are what that deletion or that copy has left of them.
    bool happened(std::size_t at) const
    {
        const Fact& fact = entries_[at].line->fact;
        if (!isSeen(at)) return false;
        if (const auto* restore = std::get_if<Restore>(&fact)) return restore->before == older_.size();
        const auto& deletion = std::get<Deletion>(fact);
        return !hasLeft(at) &&
               (deletion.before == older_.size() || std::ranges::none_of(older_, [&](const std::string& customer) {
                    return concerns(deletion, customer);
                }));
    }

    void compareWhatWasThereBefore()
    {
        // The last that was said counts, unless what it announced did not happen.
        std::uint64_t wanted = 0;
        for (std::size_t i = entries_.size(); i-- > 0;) {
            const Fact& fact = entries_[i].line->fact;
            if (const auto* pressing = std::get_if<Pressing>(&fact)) {
                if (!pressing->before) continue;
                wanted = *pressing->before;
                break;
            }
            const auto* deletion = std::get_if<Deletion>(&fact);
            wanted = deletion ? deletion->before : std::get<Restore>(fact).before;
            if (happened(i)) break;
        }
        const std::string begin =
            files::said("", "Pressings from before ") + shownMoment(first_->moment) +
            files::said(" gününden, tartım defteri başlamadan önceki sıkımlar: ", ", when the book of weights began: ");
        if (older_.size() != wanted)
            fault(begin + std::to_string(wanted) + files::said(" olmalı, ", " must be there, ") +
                  std::to_string(older_.size()) + files::said(" var.", " are."));
        else if (wanted > 0)
            remark(begin + std::to_string(wanted) + files::said(", satırları yok.", ", they have no lines."));
    }

    using Entry = BookHistory::Entry;

    BookHistory history_;
    const std::vector<Entry>& entries_;
    std::vector<bool> isThere_; ///< by entry: the pressing has its row
    const jet::Table& journal_;
    bool isShared_;
    std::uint64_t ofOthers_ = 0;      ///< rows without a line
    std::uint64_t takenByOthers_ = 0; ///< lines without a row
    const Pressing* first_ = nullptr;
    std::set<std::string> seen_; ///< seals that the log has seen
    std::multimap<JournalKey, std::size_t> lines_;
    std::multimap<JournalKey, Row> rows_;
    std::vector<std::string> older_; ///< customers of the rows older than the first line
    std::map<std::size_t, std::uint64_t> takenRows_;
    Findings found_;
};

} // namespace

Findings differences(const std::vector<PlacedLine>& lines, const std::vector<LoggedHead>& heads,
                     const jet::Table& journal, Journal whose)
{
    return Comparison(lines, heads, journal, whose).run();
}

std::optional<Restore> restoreOf(const std::vector<PlacedLine>& lines, const jet::Table& journalOfTheCopy,
                                 double moment, std::string copy)
{
    const BookHistory history(lines, true);
    if (std::ranges::none_of(history.entries(), [](const auto& entry) { return pressingOf(entry) != nullptr; }))
        return std::nullopt;
    const std::vector<JournalKey> keys = keysOf(journalOfTheCopy);
    return Restore{moment, std::move(copy), history.lineOf(keys), olderThanTheBook(lines, keys)};
}

} // namespace weights
