#include "store/jet/rules/table_properties.h"

#include "store/jet/format/properties_layout.h"
#include "store/jet/values/text_codec.h"

#include <algorithm>
#include <array>
#include <optional>

namespace jet {
namespace {

using Span = std::span<const std::uint8_t>;

namespace at = properties_layout;

/// The next `count` bytes of `rest`, which moves on; nothing when there are fewer.
std::optional<Span> take(Span& rest, std::size_t count)
{
    if (count > rest.size()) return std::nullopt;
    const Span taken = rest.first(count);
    rest = rest.subspan(count);
    return taken;
}

/// A text with its length in bytes in front.
std::optional<std::u16string> takeText(Span& rest)
{
    const auto length = take(rest, at::textLength.size);
    if (!length) return std::nullopt;
    const auto bytes = take(rest, at::textLength.get(*length));
    if (!bytes) return std::nullopt;
    return utf16Text(*bytes);
}

std::vector<std::u16string> readNames(Span rest)
{
    std::vector<std::u16string> names;
    while (auto name = takeText(rest)) names.push_back(std::move(*name));
    return names;
}

/// What one record says: a property by name, and the bytes of its value.
struct Property {
    std::u16string_view name;
    Span value;

    bool isTrue() const
    {
        return std::ranges::any_of(value, [](std::uint8_t byte) { return byte != 0; });
    }
    std::u16string text() const { return utf16Text(value.first(value.size() / 2 * 2)); }
};

/// The next of the records; they move on. Nothing behind the last one, and where they cannot be read.
std::optional<Property> takeProperty(Span& records, const std::vector<std::u16string>& names)
{
    if (records.size() < at::record::length.size) return std::nullopt;
    const std::size_t whole = at::record::length.get(records);
    if (whole < at::record::head) return std::nullopt;
    const auto record = take(records, whole);
    if (!record) return std::nullopt;
    const std::size_t name = at::record::name.get(*record);
    const std::size_t length = at::record::valueLength.get(*record);
    const Span value = record->subspan(at::record::head);
    if (name >= names.size() || length > value.size()) return Property{};
    return Property{names[name], value.first(length)};
}

void readColumn(ColumnProperties& column, Span records, const std::vector<std::u16string>& names)
{
    while (const auto property = takeProperty(records, names)) {
        if (property->name == u"Required") column.required = property->isTrue();
        if (property->name == u"AllowZeroLength") column.emptyTextAllowed = property->isTrue();
        if (property->name == u"DefaultValue") column.defaultValue = property->text();
        if (property->name == u"ValidationRule") column.rule = property->text();
        if (property->name == u"ValidationText") column.ruleText = property->text();
    }
}

void readTable(TableProperties& table, Span records, const std::vector<std::u16string>& names)
{
    while (const auto property = takeProperty(records, names)) {
        if (property->name == u"ValidationRule") table.rule = property->text();
        if (property->name == u"ValidationText") table.ruleText = property->text();
    }
}

} // namespace

TableProperties tableProperties(Span block)
{
    TableProperties table;
    const auto begin = take(block, at::signature.size());
    if (!begin || !std::ranges::equal(at::signature, *begin)) return table;
    std::vector<std::u16string> names;
    while (const auto head = take(block, at::block::head)) {
        const std::size_t length = at::block::length.get(*head);
        if (length < at::block::head) break;
        auto rest = take(block, length - at::block::head);
        if (!rest) break;
        const unsigned kind = at::block::kind.get(*head);
        if (kind == at::block::names) {
            names = readNames(*rest);
            continue;
        }
        if (kind != at::block::column && kind != at::block::table) continue;
        if (!take(*rest, at::block::beforeColumnName)) break;
        auto name = takeText(*rest);
        if (!name) continue;
        if (kind == at::block::table) {
            readTable(table, *rest, names);
        } else {
            table.columns.emplace_back().column = std::move(*name);
            readColumn(table.columns.back(), *rest, names);
        }
    }
    return table;
}

} // namespace jet
