#include "store/jet/values/sort_weights.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <string_view>
#include <utility>

namespace jet::weights {

extern const char* const sortWeightsText;

namespace {

std::uint32_t number(std::string_view& text)
{
    std::uint32_t value = 0;
    const char* const end = std::from_chars(text.data(), text.data() + text.size(), value, 16).ptr;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

bool passed(std::string_view& text, char sign)
{
    const bool there = text.starts_with(sign);
    if (there) text.remove_prefix(1);
    return there;
}

Run runOf(std::string_view word)
{
    Run run;
    run.first = static_cast<char16_t>(number(word));
    run.count = static_cast<std::uint16_t>(passed(word, '*') ? number(word) : 1);
    for (const auto& [sign, kind] : {std::pair('-', Kind::ignored), {'!', Kind::unprintable}, {'~', Kind::combining}})
        if (passed(word, sign)) run.kind = kind;
    passed(word, '=');
    run.primary = number(word);
    run.step = passed(word, '+') ? 1 : 0;
    run.weights = run.kind == Kind::letter ? 1 : 0;
    for (std::uint8_t* const more : {&run.diacritic, &run.second, &run.kana, &run.weights})
        if (passed(word, ':')) *more = static_cast<std::uint8_t>(number(word));
    run.certain = !passed(word, '?');
    assert(word.empty());
    return run;
}

/// The words of the part that begins with this heading.
std::vector<Run> runsUnder(std::string_view heading)
{
    std::string_view text = sortWeightsText;
    assert(text.find(heading) != text.npos);
    text.remove_prefix(text.find(heading) + heading.size());
    text = text.substr(0, text.find('['));
    std::vector<Run> runs;
    for (std::size_t end = 0; !text.empty(); text.remove_prefix(std::min(end + 1, text.size()))) {
        end = std::min(text.find_first_of(" \r\n"), text.size());
        if (end != 0) runs.push_back(runOf(text.substr(0, end)));
    }
    return runs;
}

} // namespace

const Table& table()
{
    static const Table made = {runsUnder("[general]"), runsUnder("[turkish]"), runsUnder("[certain in turkish]")};
    return made;
}

} // namespace jet::weights
