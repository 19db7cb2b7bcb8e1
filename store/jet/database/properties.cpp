#include "store/jet/database/properties.h"

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

bool marksRequired(Span records, const std::vector<std::u16string>& names)
{
    while (records.size() >= at::record::length.size) {
        const std::size_t whole = at::record::length.get(records);
        if (whole < at::record::head) return false;
        const auto record = take(records, whole);
        if (!record) return false;
        const std::size_t name = at::record::name.get(*record);
        const std::size_t valueLength = at::record::valueLength.get(*record);
        const Span value = record->subspan(at::record::head);
        if (name < names.size() && names[name] == u"Required" && valueLength <= value.size()) {
            return std::any_of(value.begin(), value.begin() + static_cast<std::ptrdiff_t>(valueLength),
                               [](std::uint8_t byte) { return byte != 0; });
        }
    }
    return false;
}

} // namespace

std::vector<std::u16string> requiredColumns(Span properties)
{
    std::vector<std::u16string> required;
    const auto begin = take(properties, at::signature.size());
    if (!begin || !std::ranges::equal(at::signature, *begin)) return required;
    std::vector<std::u16string> names;
    while (const auto head = take(properties, at::block::head)) {
        const std::size_t length = at::block::length.get(*head);
        if (length < at::block::head) break;
        auto block = take(properties, length - at::block::head);
        if (!block) break;
        const unsigned kind = at::block::kind.get(*head);
        if (kind == at::block::names) names = readNames(*block);
        if (kind != at::block::column) continue;
        const auto nameHead = take(*block, at::block::beforeColumnName);
        if (!nameHead) break;
        const auto column = takeText(*block);
        if (column && marksRequired(*block, names)) required.push_back(*column);
    }
    return required;
}

} // namespace jet
