#include "weights/flat_json.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace weights {

namespace {

void putText(std::string& object, std::string_view text)
{
    object += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            object += '\\';
            object += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            std::array<char, 8> escaped{};
            std::snprintf(escaped.data(), escaped.size(), "\\u%04x", static_cast<unsigned>(c));
            object += escaped.data();
        } else {
            object += c;
        }
    }
    object += '"';
}

void putName(std::string& object, const std::string& name)
{
    if (object.size() > 1) object += ',';
    putText(object, name);
    object += ':';
}

/// Reads one object from its first character to its last.
class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    bool take(char wanted)
    {
        if (rest_.empty() || rest_.front() != wanted) return false;
        rest_.remove_prefix(1);
        return true;
    }
    bool atEnd() const { return rest_.empty(); }

    std::optional<std::string> text()
    {
        if (!take('"')) return std::nullopt;
        std::string text;
        while (!rest_.empty() && rest_.front() != '"') {
            if (!take('\\')) {
                text += rest_.front();
                rest_.remove_prefix(1);
                continue;
            }
            const auto escaped = escape();
            if (!escaped) return std::nullopt;
            text += *escaped;
        }
        return take('"') ? std::optional(text) : std::nullopt;
    }
    std::optional<FlatObject::mapped_type> value()
    {
        if (rest_.starts_with('"')) return text();
        double value = 0;
        const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
        if (error != std::errc()) return std::nullopt;
        rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
        return value;
    }

private:
    /// What stands behind a backslash, as far as putField() writes it.
    std::optional<char> escape()
    {
        for (const char c : {'"', '\\'})
            if (take(c)) return c;
        constexpr std::size_t digits = 4;
        unsigned code = 0;
        if (!take('u') || rest_.size() < digits) return std::nullopt;
        const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + digits, code, 16);
        if (error != std::errc() || end != rest_.data() + digits || code >= 0x20) return std::nullopt;
        rest_.remove_prefix(digits);
        return static_cast<char>(code);
    }

    std::string_view rest_;
};

} // namespace

void putField(std::string& object, const std::string& name, std::string_view text)
{
    putName(object, name);
    putText(object, text);
}

void putField(std::string& object, const std::string& name, double number)
{
    putName(object, name);
    std::array<char, 32> digits{};
    // The fewest digits that read back as the same number.
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    object.append(digits.data(), end);
}

std::optional<FlatObject> readFlat(std::string_view text)
{
    Reader reader(text);
    FlatObject object;
    if (!reader.take('{')) return std::nullopt;
    do {
        const auto name = reader.text();
        if (!name || !reader.take(':')) return std::nullopt;
        const auto value = reader.value();
        if (!value || !object.emplace(*name, *value).second) return std::nullopt;
    } while (reader.take(','));
    if (!reader.take('}') || !reader.atEnd()) return std::nullopt;
    return object;
}

} // namespace weights
