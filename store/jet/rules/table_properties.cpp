#include "store/jet/rules/table_properties.h"

#include "store/jet/format/properties_layout.h"
#include "store/jet/values/text_codec.h"
#include "store/jet/values/value.h"

#include <algorithm>
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
    if (!bytes || bytes->size() % 2 != 0) return std::nullopt;
    return utf16Text(*bytes);
}

/// Nothing when they cannot be read.
std::optional<std::vector<std::u16string>> readNames(Span rest)
{
    std::vector<std::u16string> names;
    while (!rest.empty()) {
        auto name = takeText(rest);
        if (!name) return std::nullopt;
        names.push_back(std::move(*name));
    }
    return names;
}

/// What one record says: a property by name, and the bytes of its value.
struct Property {
    std::u16string_view name;
    ColumnType type = ColumnType::boolean;
    Span value;

    /// Where the property is the one of that name: puts its value into `into`. False when it is of another type.
    bool read(std::u16string_view wanted, bool& into) const
    {
        if (name != wanted) return true;
        into = std::ranges::any_of(value, [](std::uint8_t byte) { return byte != 0; });
        return type == ColumnType::boolean && value.size() == 1;
    }
    bool read(std::u16string_view wanted, std::u16string& into) const
    {
        if (name != wanted) return true;
        into = utf16Text(value.first(value.size() / 2 * 2));
        return (type == ColumnType::text || type == ColumnType::memo) && value.size() % 2 == 0;
    }
};

/// The next of the records, which move on; nothing when it cannot be read.
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
    if (name >= names.size() || length > value.size()) return std::nullopt;
    return Property{names[name], static_cast<ColumnType>(at::record::type.get(*record)), value.first(length)};
}

/// False when a record cannot be read; so the next one.
bool readColumn(ColumnProperties& column, Span records, const std::vector<std::u16string>& names)
{
    while (!records.empty()) {
        const auto property = takeProperty(records, names);
        if (!property) return false;
        const bool isRead = property->read(u"Required", column.required) &&
                            property->read(u"AllowZeroLength", column.emptyTextAllowed) &&
                            property->read(u"DefaultValue", column.defaultValue) &&
                            property->read(u"ValidationRule", column.rule) &&
                            property->read(u"ValidationText", column.ruleText);
        if (!isRead) return false;
    }
    return true;
}

bool readTable(TableProperties& table, Span records, const std::vector<std::u16string>& names)
{
    while (!records.empty()) {
        const auto property = takeProperty(records, names);
        const bool isRead = property && property->read(u"ValidationRule", table.rule) &&
                            property->read(u"ValidationText", table.ruleText);
        if (!isRead) return false;
    }
    return true;
}

/// The blocks behind the signature. False when one of them cannot be read.
bool readBlocks(TableProperties& table, Span blocks)
{
    std::vector<std::u16string> names;
    while (!blocks.empty()) {
        const auto head = take(blocks, at::block::head);
        if (!head) return false;
        const std::size_t length = at::block::length.get(*head);
        if (length < at::block::head) return false;
        auto rest = take(blocks, length - at::block::head);
        if (!rest) return false;
        const unsigned kind = at::block::kind.get(*head);
        if (kind == at::block::names) {
            auto read = readNames(*rest);
            if (!read) return false;
            names = std::move(*read);
            continue;
        }
        if (kind != at::block::column && kind != at::block::table) return false;
        if (!take(*rest, at::block::beforeColumnName)) return false;
        auto name = takeText(*rest);
        if (!name) return false;
        if (kind == at::block::column) table.columns.emplace_back().column = std::move(*name);
        const bool isRead =
            kind == at::block::table ? readTable(table, *rest, names) : readColumn(table.columns.back(), *rest, names);
        if (!isRead) return false;
    }
    return true;
}

} // namespace

TableProperties tableProperties(Span block)
{
    TableProperties table;
    if (block.empty()) return table;
    const auto begin = take(block, at::signature.size());
    table.unreadable = !begin || !std::ranges::equal(at::signature, *begin) || !readBlocks(table, block);
    return table;
}

} // namespace jet
