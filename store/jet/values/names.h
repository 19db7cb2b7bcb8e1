#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Names of tables, columns and indexes.
namespace jet {

/// Equal but for letter case, by English letters or by Turkish ones: a name typed with either keyboard is meant.
bool sameName(std::u16string_view a, std::u16string_view b);

/// A name as people read it in a sentence: quoted, UTF-8.
std::string quotedName(std::u16string_view name);

/// Why a new object cannot have that name, as a Turkish clause; null when it can.
const char* nameFault(std::u16string_view name);

/// The position of the element of that name: an exact one, else one that differs in letter case only.
template <class Container, class NameOf>
std::optional<std::size_t> findNamed(const Container& container, std::u16string_view name, NameOf&& nameOf)
{
    std::optional<std::size_t> similar;
    for (std::size_t i = 0; i < container.size(); ++i) {
        const std::u16string& each = nameOf(container[i]);
        if (each == name) return i;
        if (!similar && sameName(each, name)) similar = i;
    }
    return similar;
}

} // namespace jet
