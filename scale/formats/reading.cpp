#include "scale/formats/reading.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace scale {

std::string_view sentenceOf(Refusal refusal)
{
    static constexpr std::pair<Refusal, std::string_view> sentences[] = {
        {Refusal::overload, "terazi aşırı yük bildiriyor"},
        {Refusal::underload, "terazi eksik yük bildiriyor"},
        {Refusal::invalid, "terazi ağırlığı geçersiz bildiriyor"},
        {Refusal::tare, "gelen satır dara, ağırlık değil"},
        {Refusal::wrongChecksum, "satırın sağlaması tutmuyor"},
        {Refusal::unknownUnit, "satırda tanınan bir birim yok"},
        {Refusal::unknownBytes, "tanınmayan satır, seçilen biçimde değil"},
        {Refusal::halfLine, "satır yarım kaldı"},
        {Refusal::unconfirmed, "hat bozuk: aynı ağırlık birkaç kez gelene dek bekleniyor"},
        {Refusal::unconfirmedPrint, "tek satır doğrulanamadı, aynı tartımı terazinin tuşuyla üç kez gönderin"},
    };
    static_assert(std::size(sentences) == static_cast<std::size_t>(Refusal::unconfirmedPrint) + 1);
    return std::ranges::find(sentences, refusal, &std::pair<Refusal, std::string_view>::first)->second;
}

Decimal shortened(Decimal number)
{
    while (number.decimals > 0 && number.digits % 10 == 0) {
        number.digits /= 10;
        --number.decimals;
    }
    for (; number.decimals < 0; ++number.decimals) number.digits *= 10;
    return number;
}

Decimal inKilograms(Decimal weight, Unit unit)
{
    switch (unit) {
    case Unit::kilogram:
        break;
    case Unit::gram:
        weight.decimals += 3;
        break;
    case Unit::tonne:
        weight.decimals -= 3;
        break;
    case Unit::pound:
        // The international pound of 1959 is this by definition.
        weight.digits *= 45359237;
        weight.decimals += 8;
        break;
    }
    return shortened(weight);
}

double approximately(Decimal number) { return static_cast<double>(number.digits) * std::pow(10.0, -number.decimals); }

std::string toText(Decimal number)
{
    number = shortened(number);
    const bool negative = number.digits < 0;
    std::string text = std::to_string(negative ? -number.digits : number.digits);
    if (number.decimals > 0) {
        const auto places = static_cast<std::size_t>(number.decimals);
        if (text.size() <= places) text.insert(0, places + 1 - text.size(), '0');
        text.insert(text.size() - places, 1, '.');
    }
    return negative ? '-' + text : text;
}

std::optional<std::string> counterLine(const Reading& reading, char decimalMark)
{
    constexpr std::size_t room = 7; // of the eight characters that count one is the carriage return
    std::string text = toText(reading.kilograms);
    const std::size_t point = text.find('.');
    if (std::min(point, text.size()) > room) return std::nullopt;
    if (point != std::string::npos) {
        text[point] = decimalMark;
        text.resize(std::min(text.size(), room));
        if (text.back() == decimalMark) text.pop_back();
    }
    return text + "kg\r";
}

} // namespace scale
