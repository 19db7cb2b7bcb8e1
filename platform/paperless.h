#pragma once

#include <algorithm>
#include <string_view>

namespace platform {

/// A printer of Windows, as far as it tells what becomes of a page.
struct PrinterKind {
    std::string_view ports = {};  ///< "USB001", "LPT1:,FILE:"
    std::string_view driver = {}; ///< or the printer's own name, where the driver is not known
    bool fax = false;
};

inline char lowerLetter(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
}

inline bool sameLetters(std::string_view one, std::string_view two)
{
    return std::ranges::equal(one, two, {}, lowerLetter, lowerLetter);
}

/// Whether what is printed there goes into a file, mostly one that the user is asked for, or nowhere: "Microsoft Print
/// to PDF" is the default printer of a computer that has none. Only what is known for it: a slip printer that is taken
/// for such a one prints nothing at all.
inline bool isPaperless(const PrinterKind& printer)
{
    constexpr std::string_view whole[] = {"PORTPROMPT:", "FILE:", "nul:", "SHRFAX:", "XPSPort:"};
    constexpr std::string_view beginnings[] = {"Microsoft.Office.OneNote"};
    constexpr std::string_view drivers[] = {"Microsoft Print To PDF",
                                            "Microsoft XPS Document Writer",
                                            "Adobe PDF",
                                            "Send To Microsoft OneNote",
                                            "Send To OneNote",
                                            "OneNote",
                                            "Microsoft Shared Fax"};
    const auto begins = [](std::string_view text, std::string_view with) {
        return sameLetters(text.substr(0, with.size()), with);
    };
    const auto leadsToAFile = [&](std::string_view port) {
        return std::ranges::any_of(whole, [&](auto name) { return sameLetters(port, name); }) ||
               std::ranges::any_of(beginnings, [&](auto name) { return begins(port, name); }) ||
               (port.size() > 4 && sameLetters(port.substr(port.size() - 4), ".pdf"));
    };
    if (printer.fax) return true;
    if (std::ranges::any_of(drivers, [&](auto name) { return begins(printer.driver, name); })) return true;
    std::string_view left = printer.ports;
    if (left.empty()) return false;
    // A printer of several ports prints on paper where one of them does.
    for (;;) {
        const std::size_t end = left.find(',');
        if (!leadsToAFile(left.substr(0, end))) return false;
        if (end == std::string_view::npos) return true;
        left.remove_prefix(end + 1);
    }
}

} // namespace platform
