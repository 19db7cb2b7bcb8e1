#include "store/jet/values/names.h"

#include "store/jet/format/limits.h"
#include "store/jet/values/sort_key.h"
#include "store/jet/values/value.h"

#include <algorithm>

namespace jet {
namespace {

bool sameEnglish(std::u16string_view a, std::u16string_view b)
{
    const auto small = [](char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char16_t x, char16_t y) { return small(x) == small(y); });
}

} // namespace

bool sameName(std::u16string_view a, std::u16string_view b)
{
    return sameEnglish(a, b) || foldTurkish(a) == foldTurkish(b);
}

std::string quotedName(std::u16string_view name) { return '"' + toUtf8(name) + '"'; }

const char* nameFault(std::u16string_view name)
{
    if (name.empty() || name.size() > limits::name) return "ad 1 ile 64 karakter arasında olmalı";
    if (name.front() == u' ') return "ad boşlukla başlayamaz";
    const bool forbidden = std::any_of(name.begin(), name.end(), [](char16_t c) {
        return c < u' ' || std::u16string_view(u".!`[]").find(c) != std::u16string_view::npos;
    });
    return forbidden ? "adda . ! ` [ ] ve denetim karakterleri olamaz" : nullptr;
}

} // namespace jet
