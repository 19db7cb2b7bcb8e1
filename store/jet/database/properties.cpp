#include "store/jet/database/properties.h"

#include "store/jet/format/format.h"
#include "store/jet/values/text_codec.h"

#include <algorithm>
#include <array>
#include <optional>

namespace jet {
namespace {

using Span = std::span<const std::uint8_t>;

constexpr std::array<std::uint8_t, 4> signature{'M', 'R', '2', 0};
constexpr unsigned namesBlock = 0x0080;
constexpr unsigned columnBlock = 0x0001;

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
    const auto length = take(rest, 2);
    if (!length) return std::nullopt;
    const auto bytes = take(rest, getU16(length->data()));
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
    constexpr std::size_t recordHead = 8;
    while (const auto length = take(records, 2)) {
        const std::size_t whole = getU16(length->data());
        if (whole < recordHead) return false;
        const auto record = take(records, whole - 2);
        if (!record) return false;
        const std::size_t name = getU16(record->data() + 2);
        const std::size_t dataLength = getU16(record->data() + 4);
        const Span data = record->subspan(6);
        if (name < names.size() && names[name] == u"Required" && dataLength <= data.size()) {
            return std::any_of(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(dataLength),
                               [](std::uint8_t byte) { return byte != 0; });
        }
    }
    return false;
}

} // namespace

std::vector<std::u16string> requiredColumns(Span properties)
{
    std::vector<std::u16string> required;
    const auto head = take(properties, signature.size());
    if (!head || !std::equal(signature.begin(), signature.end(), head->begin())) return required;
    std::vector<std::u16string> names;
    while (const auto blockHead = take(properties, 6)) {
        const std::size_t length = getU32(blockHead->data());
        if (length < 6) break;
        auto block = take(properties, length - 6);
        if (!block) break;
        const unsigned kind = getU16(blockHead->data() + 4);
        if (kind == namesBlock) names = readNames(*block);
        if (kind != columnBlock) continue;
        const auto nameHead = take(*block, 4);
        if (!nameHead) break;
        const auto column = takeText(*block);
        if (column && marksRequired(*block, names)) required.push_back(*column);
    }
    return required;
}

} // namespace jet
