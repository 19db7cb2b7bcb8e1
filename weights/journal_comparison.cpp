#include "weights/verification.h"

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

/// Who pressed and when. Two pressings may share it.
struct Key {
    std::int64_t milliseconds = 0;
    std::u16string customer;
    auto operator<=>(const Key&) const = default;
};

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
    if (!number) return "boş";
    std::array<char, 32> digits{};
    return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), *number).ptr};
}

/// The journal beside the book.
class Comparison {
public:
    Comparison(const std::vector<PlacedLine>& lines, const jet::Table& journal) : journal_(journal)
    {
        std::set<std::string_view> texts; // a doubled line is one pressing
        for (const PlacedLine& each : lines) {
            if (!each.line || !texts.insert(each.text).second) continue;
            if (const auto* deletion = std::get_if<Deletion>(&each.line->fact)) {
                deletions_.push_back({each.line->number, *deletion});
                continue;
            }
            const auto& pressing = std::get<Pressing>(each.line->fact);
            if (!first_) first_ = &pressing;
            lines_.emplace(keyOf(pressing.moment, jet::fromUtf8(pressing.customer)), &*each.line);
        }
        journal.forEachRow([&](jet::RowId, const jet::RowView& row) {
            std::u16string customer;
            row.text(Hareket::CariHar, customer);
            if (customer == mill::reserved::totals) return true;
            Row found{row.number(Hareket::Tarih).value_or(0), {}};
            for (std::size_t i = 0; i < figureFields.size(); ++i) found.figures[i] = row.number(figureFields[i]);
            rows_.emplace(keyOf(found.moment, customer), found);
            return true;
        });
    }

    std::vector<std::string> run()
    {
        if (!first_) return {};
        std::set<Key> keys;
        for (const auto& each : lines_) keys.insert(each.first);
        for (const auto& each : rows_) keys.insert(each.first);
        for (const Key& key : keys) compare(key);
        compareWhatWasThereBefore();
        return std::move(sentences_);
    }

private:
    static Key keyOf(double moment, const std::u16string& customer)
    {
        return {jet::milliseconds(jet::DateTime{moment}), customer};
    }

    static std::string nameOf(const Key& key, double moment)
    {
        return isoMoment(moment) + " " + jet::toUtf8(key.customer);
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

    void compare(const Key& key)
    {
        std::vector<const Line*> lines;
        std::vector<Row> rows;
        for (auto [at, end] = lines_.equal_range(key); at != end; ++at) lines.push_back(at->second);
        for (auto [at, end] = rows_.equal_range(key); at != end; ++at) rows.push_back(at->second);
        // Those that agree belong together; of the others the first with the first.
        std::erase_if(lines, [&](const Line* line) {
            const auto same = std::ranges::find_if(
                rows, [&](const Row& row) { return !difference(std::get<Pressing>(line->fact), row); });
            if (same == rows.end()) return false;
            rows.erase(same);
            return true;
        });
        std::size_t both = std::min(lines.size(), rows.size());
        for (std::size_t i = 0; i < both; ++i) tellDifference(key, *lines[i], rows[i]);
        for (std::size_t i = both; i < lines.size(); ++i)
            if (!deletedBehind(*lines[i]))
                sentences_.push_back(nameOf(key, momentOf(lines[i]->fact)) + ": " + std::to_string(lines[i]->number) +
                                     ". satırı var, sıkımı defterde yok; programla silinmedi.");
        for (std::size_t i = both; i < rows.size(); ++i) {
            if (key.milliseconds < jet::milliseconds(jet::DateTime{first_->moment}))
                ++before_;
            else
                sentences_.push_back(nameOf(key, rows[i].moment) + ": defterde var, tartım satırı yok.");
        }
    }

    void tellDifference(const Key& key, const Line& line, const Row& row)
    {
        const std::size_t field = *difference(std::get<Pressing>(line.fact), row);
        sentences_.push_back(nameOf(key, row.moment) + ": " + std::to_string(line.number) + ". satırıyla uyuşmuyor; " +
                             jet::toUtf8(journal_.columns()[figureFields[field]].name) + " defterde " +
                             shown(row.figures[field]) + ", satırda " +
                             shown(figuresOf(std::get<Pressing>(line.fact))[field]) + ".");
    }

    bool deletedBehind(const Line& line) const
    {
        return std::ranges::any_of(deletions_, [&](const auto& deletion) {
            const auto& customer = deletion.second.customer;
            return deletion.first > line.number && (!customer || *customer == std::get<Pressing>(line.fact).customer);
        });
    }

    void compareWhatWasThereBefore()
    {
        const std::uint64_t wanted = first_->before.value_or(0);
        if (before_ > wanted || (before_ < wanted && deletions_.empty()))
            sentences_.push_back(isoMoment(first_->moment) + " gününden, tartım defteri başlamadan önceki sıkımlar: " +
                                 std::to_string(wanted) + " olmalı, " + std::to_string(before_) + " var.");
    }

    const jet::Table& journal_;
    const Pressing* first_ = nullptr;
    std::multimap<Key, const Line*> lines_;
    std::multimap<Key, Row> rows_;
    std::vector<std::pair<std::uint64_t, Deletion>> deletions_;
    std::uint64_t before_ = 0; ///< rows older than the first line
    std::vector<std::string> sentences_;
};

} // namespace

std::vector<std::string> differences(const std::vector<PlacedLine>& lines, const jet::Table& journal)
{
    return Comparison(lines, journal).run();
}

} // namespace weights
