#pragma once

#include <cstdlib>

namespace platform {

/// A sheet of paper, in hundredths of a millimetre.
struct SheetSize {
    int width = 0;
    int length = 0;
};

/// A millimetre: drivers round, and pages are whole points.
constexpr int sameSize = 100;

/// The width to ask a driver for: its own where the page means that one. Of a width that it does not know, even by a
/// hair, a driver makes another.
inline int widthToAsk(int page, int usual) { return std::abs(page - usual) <= sameSize ? usual : page; }

/// Whether a page has room on the sheet that the driver has set up. A larger one cuts nothing off.
inline bool holdsPage(SheetSize sheet, SheetSize page)
{
    return sheet.width + sameSize >= page.width && sheet.length + sameSize >= page.length;
}

} // namespace platform
