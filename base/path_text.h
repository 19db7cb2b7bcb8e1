#pragma once

#include <QString>
#include <filesystem>

namespace base {

/// A path and the text that people read and Qt knows it by. Every letter comes through, whatever the code page of the
/// system: the conversions of either library alone lose Turkish letters on Windows.
std::filesystem::path pathOf(const QString& text);
QString textOf(const std::filesystem::path& path);

} // namespace base
