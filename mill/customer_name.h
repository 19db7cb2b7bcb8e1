#pragma once

#include <QString>
#include <optional>

namespace mill {

/// Why no customer can have that name, in a sentence for people; nothing for a name that one can have. The name of the
/// totals row is refused in any letter case and with blanks around it: its row goes with the next report, and for
/// Access all of these are one name. Blanks alone are no name, and the prompt is none either, with blanks around it.
std::optional<QString> whyNoCustomer(const QString& name);

} // namespace mill
