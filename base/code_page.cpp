#include "base/code_page.h"

#include <QStringDecoder>
#include <algorithm>
#include <array>
#include <utility>

namespace base {

namespace {

constexpr std::array<char16_t, 32> signs80 = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, // 80
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x008E, 0x008F, // 88
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, // 90
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x009E, 0x0178, // 98
};

constexpr std::array<std::pair<unsigned char, char16_t>, 6> letters = {{
    {0xD0, u'\u011E'},
    {0xDD, u'\u0130'},
    {0xDE, u'\u015E'}, // Ğ İ Ş
    {0xF0, u'\u011F'},
    {0xFD, u'\u0131'},
    {0xFE, u'\u015F'}, // ğ ı ş
}};

constexpr std::array<char16_t, 256> buildTable()
{
    std::array<char16_t, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<char16_t>(i);
    for (std::size_t i = 0; i < signs80.size(); ++i) table[0x80 + i] = signs80[i];
    for (const auto& [byte, letter] : letters) table[byte] = letter;
    return table;
}

constexpr std::array<char16_t, 256> characters = buildTable();

QString decoded(QByteArrayView bytes, QStringConverter::Encoding encoding)
{
    return QStringDecoder(encoding).decode(bytes);
}

} // namespace

QString fromCodePage(QByteArrayView bytes)
{
    QString text;
    text.reserve(bytes.size());
    for (const char byte : bytes) text += QChar(characters[static_cast<unsigned char>(byte)]);
    return text;
}

QString decodeEditedText(QByteArrayView bytes)
{
    if (bytes.startsWith("\xEF\xBB\xBF")) return decoded(bytes.sliced(3), QStringConverter::Utf8);
    if (bytes.startsWith("\xFF\xFE")) return decoded(bytes.sliced(2), QStringConverter::Utf16LE);
    if (bytes.startsWith("\xFE\xFF")) return decoded(bytes.sliced(2), QStringConverter::Utf16BE);

    const bool plain =
        std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (!plain) {
        QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
        QString text = decoder.decode(bytes);
        if (!decoder.hasError()) return text;
    }
    return fromCodePage(bytes);
}

} // namespace base
