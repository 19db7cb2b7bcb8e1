#pragma once

#include <QString>
#include <optional>

namespace mill {

/// Why no customer can have that name, in a sentence for people; nothing for a name that one can have. The name of the
/// totals row is told as the report's condition tells it (letter for letter, case and blanks too): its row goes with
/// the next report. Blanks alone are no name, and the prompt is none either, with blanks around it.
std::optional<QString> whyNoCustomer(const QString& name);

} // namespace mill
