// What the engine knows of letters, beside a C library that knows nothing of it. POSIX alone has such a library.
#include "store/jet/values/sort_key.h"

#include <clocale>
#include <cwctype>
#include <gtest/gtest.h>
#include <limits>

namespace {

TEST(UnicodeElsewhere, foldingAgreesWithUnicodeElsewhere)
{
    // The system's tables, which know nothing of ours.
    const locale_t system = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    ASSERT_NE(system, nullptr);
    for (char16_t unit = 0; unit < 0x2000; ++unit) {
        if (unit == u'I' || unit == u'İ') continue;
        // Scripts without an everyday use of case stay as they are.
        if (unit >= 0x0590 && unit < 0x1E00) continue;
        ASSERT_EQ(jet::foldTurkish(unit), ::towlower_l(unit, system));
    }
    ::freelocale(system);
    for (unsigned unit = 0; unit <= std::numeric_limits<char16_t>::max(); ++unit) {
        const char16_t once = jet::foldTurkish(char16_t(unit));
        ASSERT_EQ(jet::foldTurkish(once), once);
    }
}

} // namespace
