#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace weights {

/// A JSON object (RFC 8259) of texts and numbers, written field by field.
class FlatWriter {
public:
    void put(const std::string& name, std::string_view text);
    void put(const std::string& name, const char* text) { put(name, std::string_view(text)); }
    void put(const std::string& name, double number);
    /// What is written so far: the object without its closing brace.
    const std::string& begun() const { return text_; }

private:
    void putName(const std::string& name);
    void putText(std::string_view text);

    std::string text_ = "{";
};

/// The same, read back: the texts and numbers of an object without objects, lists, Booleans or nulls in it.
class FlatObject {
public:
    /// Nothing for a text that is no such object.
    static std::optional<FlatObject> read(std::string_view text);

    std::optional<std::string> text(const std::string& name) const;
    std::optional<double> number(const std::string& name) const;

private:
    std::map<std::string, std::variant<std::string, double>> fields_;
};

} // namespace weights
