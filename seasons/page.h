#pragma once

#include "seasons/report.h"

#include <string>
#include <string_view>

namespace seasons {

/// The report as one page for any browser: nothing in it is fetched from anywhere, and it says so to the browser. All
/// figures stand in its tables; the drawings are made of these, so a page without scripts still tells everything.
/// Of very many customers it lists the largest, and says so.
std::string page(const Report& report);

/// The same page for a telephone, which asks the server that it came from for `today` every few seconds.
std::string livePage(const Report& report, const std::string& today);

/// What stands in that page of today, as it is asked for again and again.
std::string todayPart(const Section& section);

/// A sentence about what is shown, as a paragraph of its own.
std::string notice(const std::string& sentence);

/// How a page's rules name the one script or style that they allow.
std::string sourceDigest(std::string_view source);

} // namespace seasons
