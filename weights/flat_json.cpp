#include "weights/flat_json.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace weights {

void FlatWriter::putName(const std::string& name)
{
    if (text_.size() > 1) text_ += ',';
    putText(name);
    text_ += ':';
}

void FlatWriter::putText(std::string_view text)
{
    text_ += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            text_ += '\\';
            text_ += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            std::array<char, 8> escaped{};
            std::snprintf(escaped.data(), escaped.size(), "\\u%04x", static_cast<unsigned>(c));
            text_ += escaped.data();
        } else {
            text_ += c;
        }
    }
    text_ += '"';
}

void FlatWriter::put(const std::string& name, std::string_view text)
{
    putName(name);
    putText(text);
}

void FlatWriter::put(const std::string& name, double number)
{
    putName(name);
    std::array<char, 32> digits{};
    // The fewest digits that read back as the same number.
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    text_.append(digits.data(), end);
}

namespace {

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
    bool atText() const { return rest_.starts_with('"'); }

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
    std::optional<double> number()
    {
        double value = 0;
        const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
        if (error != std::errc()) return std::nullopt;
        rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
        return value;
    }

private:
    /// What stands behind a backslash, as far as a FlatWriter writes it.
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

std::optional<FlatObject> FlatObject::read(std::string_view text)
{
    Reader reader(text);
    FlatObject object;
    if (!reader.take('{')) return std::nullopt;
    do {
        const auto name = reader.text();
        if (!name || !reader.take(':')) return std::nullopt;
        if (reader.atText()) {
            const auto value = reader.text();
            if (!value || !object.fields_.emplace(*name, *value).second) return std::nullopt;
        } else {
            const auto value = reader.number();
            if (!value || !object.fields_.emplace(*name, *value).second) return std::nullopt;
        }
    } while (reader.take(','));
    if (!reader.take('}') || !reader.atEnd()) return std::nullopt;
    return object;
}

std::optional<std::string> FlatObject::text(const std::string& name) const
{
    const auto found = fields_.find(name);
    const auto* value = found == fields_.end() ? nullptr : std::get_if<std::string>(&found->second);
    return value ? std::optional(*value) : std::nullopt;
}

std::optional<double> FlatObject::number(const std::string& name) const
{
    const auto found = fields_.find(name);
    const auto* value = found == fields_.end() ? nullptr : std::get_if<double>(&found->second);
    return value ? std::optional(*value) : std::nullopt;
}

} // namespace weights
