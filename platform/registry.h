#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace platform {

/// The registry refused to keep a text; what() says which call and the system's number.
class RegistryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The place where the system itself keeps a user's settings: texts under a branch ("Software\...\Section") and a name.
/// The system looks names up ignoring letter case and spells them as they were first written.
class Registry {
public:
    virtual ~Registry() = default;

    /// Nothing if there is no such branch or name, or if what is there is not a text or a number.
    virtual std::optional<std::u16string> text(const std::u16string& branch, const std::u16string& name) = 0;
    /// Makes the branch where it is missing. The text has reached the disk when this returns.
    virtual void setText(const std::u16string& branch, const std::u16string& name, const std::u16string& text) = 0;
};

/// The user's own part of the registry; null where the system has none and settings are files.
std::unique_ptr<Registry> userRegistry();

} // namespace platform
