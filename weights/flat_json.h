#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

/// JSON objects (RFC 8259) of texts and numbers, without objects, lists, Booleans or nulls in them.
namespace weights {

/// Adds a field to the text of an object that is being written: it begins as "{" and has no closing brace yet.
void putField(std::string& object, const std::string& name, std::string_view text);
void putField(std::string& object, const std::string& name, double number);

using FlatObject = std::map<std::string, std::variant<std::string, double>>;
/// Nothing for a text that is no such object.
std::optional<FlatObject> readFlat(std::string_view text);

/// A field of that kind; nothing where there is none.
template <class Kind> std::optional<Kind> fieldOf(const FlatObject& object, const std::string& name)
{
    const auto found = object.find(name);
    const Kind* value = found == object.end() ? nullptr : std::get_if<Kind>(&found->second);
    return value ? std::optional(*value) : std::nullopt;
}

} // namespace weights
