#include "base/path_text.h"

namespace base {

std::filesystem::path pathOf(const QString& text)
{
    // Names here are UTF-16 or UTF-8, and the library knows which of them.
    return text.toStdU16String();
}

QString textOf(const std::filesystem::path& path)
{
    // Not by the path's own conversion: it throws at a name that is no whole text, which any folder may hold.
    const auto text = [](const auto& native) {
        if constexpr (sizeof(native[0]) == 1)
            return QString::fromStdString(native);
        else
            return QString::fromStdWString(native);
    };
    return text(path.native());
}

} // namespace base
