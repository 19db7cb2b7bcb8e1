#include "exchange/field_text.h"

#include "files/error.h"
#include "files/language.h"
#include "store/jet/format/format.h"
#include "store/jet/format/limits.h"
#include "store/jet/format/value_layout.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/decimal.h"
#include "store/jet/values/text_codec.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <charconv>
#include <chrono>
#include <cmath>
#include <utility>

namespace exchange {

namespace {

using jet::ColumnType;

constexpr std::size_t longestNumber = 400; ///< characters of the longest double without an exponent, and more
constexpr std::size_t longestFast = 800;   ///< bytes of a text that is written without a copy
constexpr std::int64_t msPerDay = 86'400'000;

template <class Number> void putWhole(Output& out, Number number)
{
    char* const room = out.room(longestNumber);
    out.taken(std::to_chars(room, room + longestNumber, number).ptr);
}

char* putDigits(char* at, std::int64_t number, int digits)
{
    for (int i = digits - 1; i >= 0; --i) {
        at[i] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
    return at + digits;
}

/// A whole number of 10^-places, without zeros at the end.
void putScaled(Output& out, std::int64_t number, int places)
{
    while (places > 0 && number % 10 == 0) {
        number /= 10;
        --places;
    }
    if (places == 0) {
        putWhole(out, number);
        return;
    }
    char* at = out.room(longestNumber);
    if (number < 0) *at++ = '-';
    auto magnitude = number < 0 ? 0 - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
    std::uint64_t unit = 1;
    for (int i = 0; i < places; ++i) unit *= 10;
    at = std::to_chars(at, at + 24, magnitude / unit).ptr;
    *at++ = '.';
    out.taken(putDigits(at, static_cast<std::int64_t>(magnitude % unit), places));
}

/// Returns where the text ends.
template <class Float> char* writeShortest(char* room, Float number)
{
    const Float size = std::abs(number);
    // Plain digits where people would write them.
    const bool plain = size == 0 || (size >= Float(1e-5) && size < Float(1e15));
    const auto done = plain ? std::to_chars(room, room + longestNumber, number, std::chars_format::fixed)
                            : std::to_chars(room, room + longestNumber, number);
    return done.ptr;
}

template <class Float> void putShortest(Output& out, Float number)
{
    out.taken(writeShortest(out.room(longestNumber), number));
}

void putHex(Output& out, std::span<const std::uint8_t> bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    for (const std::uint8_t byte : bytes) {
        out.put(digits[byte >> 4]);
        out.put(digits[byte & 15]);
    }
}

/// The order in which a GUID's stored bytes are written.
constexpr std::array<std::size_t, 16> guidOrder = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

bool dashBefore(std::size_t byte) { return byte == 4 || byte == 6 || byte == 8 || byte == 10; }

void putGuid(Output& out, const jet::Guid& guid)
{
    out.put('{');
    for (std::size_t i = 0; i < guidOrder.size(); ++i) {
        if (dashBefore(i)) out.put('-');
        putHex(out, std::span(&guid.bytes[guidOrder[i]], 1));
    }
    out.put('}');
}

void putNumeric(Output& out, jet::Numeric number)
{
    std::string digits; // the last one first
    while (std::ranges::any_of(number.magnitude, [](std::uint32_t word) { return word != 0; })) {
        std::uint64_t rest = 0;
        for (std::uint32_t& word : number.magnitude) {
            const std::uint64_t part = rest << 32 | word;
            word = static_cast<std::uint32_t>(part / 10);
            rest = part % 10;
        }
        digits += static_cast<char>('0' + rest);
    }
    while (digits.size() <= number.scale) digits += '0';
    std::size_t places = 0;
    while (places < number.scale && digits[places] == '0') ++places;
    std::string text;
    for (std::size_t i = digits.size(); i-- > places;) {
        text += digits[i];
        if (i == number.scale && i > places) text += '.';
    }
    if (number.negative && text != "0") out.put('-');
    out.put(text);
}

[[noreturn]] void refuse(std::string_view text, const std::string& why)
{
    constexpr std::size_t shown = 40;
    std::string some(text.substr(0, shown));
    // Not in the middle of a letter.
    if (text.size() > shown) {
        while (!some.empty() && (static_cast<unsigned char>(text[some.size()]) & 0xC0) == 0x80) some.pop_back();
        some += "...";
    }
    throw files::Error(files::Fault::badValue, "'" + some + "' " + why);
}

const char* doesNotFit() { return files::said("bu alana sığmıyor", "does not fit the field"); }

template <class Number> Number parseNumber(std::string_view digits, std::string_view text, const char* what)
{
    Number number{};
    if (digits.starts_with('+')) digits.remove_prefix(1);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error == std::errc::result_out_of_range) refuse(text, doesNotFit());
    if (error != std::errc() || end != digits.data() + digits.size() || digits.empty()) refuse(text, what);
    return number;
}

const char* noWholeNumber() { return files::said("bir tam sayı değil", "is no whole number"); }

/// A number in digits: what the library takes for infinite or for none is a text.
template <class Float> Float parseFloat(std::string_view plain, const WrittenNumber& written)
{
    if (plain.find_first_not_of("0123456789+-.eE") != std::string_view::npos)
        refuse(written.text, noNumber(written.decimalMark));
    return parseNumber<Float>(plain, written.text, noNumber(written.decimalMark));
}

const char* noDate()
{
    return files::said("bir tarih değil (2025-11-20T14:05:00 gibi olmalı)", "is no date (like 2025-11-20T14:05:00)");
}

/// Digits with at most one point, exactly.
jet::Numeric parseDecimal(std::string_view rest, const WrittenNumber& written)
{
    jet::Numeric number;
    if (rest.starts_with('-') || rest.starts_with('+')) {
        number.negative = rest.front() == '-';
        rest.remove_prefix(1);
    }
    bool point = false;
    bool any = false;
    for (const char c : rest) {
        if (c == '.' && !point) {
            point = true;
            continue;
        }
        if (c < '0' || c > '9') refuse(written.text, noNumber(written.decimalMark));
        any = true;
        if (point) ++number.scale;
        std::uint64_t carry = static_cast<std::uint64_t>(c - '0');
        for (std::size_t word = number.magnitude.size(); word-- > 0;) {
            carry += std::uint64_t{number.magnitude[word]} * 10;
            number.magnitude[word] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        if (carry != 0 || number.scale > 28) refuse(written.text, doesNotFit());
    }
    if (!any) refuse(written.text, noNumber(written.decimalMark));
    return number;
}

/// Throws for a number of more decimals than the field keeps: rounded it would be another one.
void requireDecimals(std::string_view plain, const WrittenNumber& written, std::size_t decimals)
{
    const std::size_t point = std::min(plain.find('.'), plain.size() - 1);
    const std::size_t last = plain.find_last_not_of('0');
    if (last == std::string_view::npos || last <= point + decimals) return;
    refuse(written.text, files::said("bu alana sığmıyor (en çok ", "does not fit the field (at most ") +
                             std::to_string(decimals) + files::said(" ondalık)", " decimals)"));
}

jet::DateTime parseDate(std::string_view text)
{
    const std::string_view whole = text;
    const auto number = [&](std::size_t digits) {
        int value = 0;
        if (text.size() < digits) refuse(whole, noDate());
        for (const char c : text.substr(0, digits)) {
            if (c < '0' || c > '9') refuse(whole, noDate());
            value = value * 10 + (c - '0');
        }
        text.remove_prefix(digits);
        return value;
    };
    const auto mark = [&](std::string_view marks) {
        if (text.empty() || marks.find(text.front()) == std::string_view::npos) refuse(whole, noDate());
        text.remove_prefix(1);
    };
    const int year = number(4);
    mark("-");
    const int month = number(2);
    mark("-");
    const int day = number(2);
    int hour = 0;
    int minute = 0;
    int second = 0;
    double fraction = 0;
    if (!text.empty()) {
        mark("T ");
        hour = number(2);
        mark(":");
        minute = number(2);
        if (!text.empty()) {
            mark(":");
            second = number(2);
        }
        if (text.starts_with('.')) {
            const std::size_t digits = std::min(text.find_first_not_of("0123456789", 1), text.size());
            if (digits == 1) refuse(whole, noDate());
            fraction = parseNumber<double>("0" + std::string(text.substr(0, digits)), whole, noDate());
            text.remove_prefix(digits);
        }
    }
    const auto moment = jet::dateTime(year, month, day, hour, minute, second);
    if (!text.empty() || !moment) refuse(whole, noDate());
    if (fraction == 0) return *moment;
    const double days = fraction / 86400.0;
    return {moment->days < 0 ? moment->days - days : moment->days + days};
}

std::uint8_t hexDigit(std::string_view whole, char c)
{
    if (c >= '0' && c <= '9') return static_cast<std::uint8_t>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<std::uint8_t>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<std::uint8_t>(c - 'A' + 10);
    refuse(whole, files::said("onaltılık basamaklardan oluşmuyor", "is not made of hexadecimal digits"));
}

jet::Bytes parseHex(std::string_view text)
{
    if (text.size() % 2 != 0)
        refuse(text, files::said("onaltılık basamakları çift sayıda değil", "has an odd number of hexadecimal digits"));
    jet::Bytes bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(hexDigit(text, text[i]) << 4 | hexDigit(text, text[i + 1])));
    return bytes;
}

jet::Guid parseGuid(std::string_view text)
{
    std::string digits;
    for (const char c : text)
        if (c != '{' && c != '}' && c != '-') digits += c;
    if (digits.size() != 32) refuse(text, files::said("bir GUID değil", "is no GUID"));
    const jet::Bytes bytes = parseHex(digits);
    jet::Guid guid;
    for (std::size_t i = 0; i < guidOrder.size(); ++i) guid.bytes[guidOrder[i]] = bytes[i];
    return guid;
}

bool parseBoolean(std::string_view text)
{
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (lower == "true" || lower == "1" || lower == "-1") return true;
    if (lower == "false" || lower == "0") return false;
    refuse(text, files::said("doğru/yanlış değeri değil (true ya da false olmalı)", "is neither true nor false"));
}

} // namespace

/// The bytes that stand in a CSV file as they are.
constexpr auto plainLetters = [] {
    std::array<bool, 256> plain{};
    for (unsigned byte = ' '; byte < 0x80; ++byte) plain[byte] = byte != ',' && byte != '"';
    return plain;
}();

void FieldWriter::putNumber(double number)
{
    // Weights and sums of money are whole, or have two decimals: for those the shortest digits are known at once.
    constexpr double exact = 1e13;
    if (number > -exact && number < exact) {
        const auto hundredths = static_cast<std::int64_t>(number * 100 + (number < 0 ? -0.5 : 0.5));
        if (static_cast<double>(hundredths) / 100 == number && (hundredths != 0 || !std::signbit(number))) {
            char* at = out_.room(longestNumber);
            if (hundredths < 0) *at++ = '-';
            const auto magnitude = static_cast<std::uint64_t>(hundredths < 0 ? -hundredths : hundredths);
            at = std::to_chars(at, at + 24, magnitude / 100).ptr;
            if (const auto rest = static_cast<unsigned>(magnitude % 100)) {
                *at++ = '.';
                *at++ = static_cast<char>('0' + rest / 10);
                if (rest % 10 != 0) *at++ = static_cast<char>('0' + rest % 10);
            }
            out_.taken(at);
            return;
        }
    }
    putShortest(out_, number);
}

void FieldWriter::putDate(jet::DateTime moment)
{
    const std::int64_t ms = jet::milliseconds(moment);
    const std::int64_t day = ms >= 0 ? ms / msPerDay : -((-ms + msPerDay - 1) / msPerDay);
    const auto days = static_cast<double>(day);
    if (days < jet::limits::firstDay || days >= jet::limits::dayAfterLast) {
        putShortest(out_, moment.days); // no such day in the calendar: the number as it stands
        return;
    }
    if (day != day_) {
        namespace chrono = std::chrono;
        const chrono::year_month_day date{jet::dayZero + chrono::days{day}};
        dayText_.resize(10);
        char* at = putDigits(dayText_.data(), static_cast<int>(date.year()), 4);
        *at++ = '-';
        at = putDigits(at, static_cast<unsigned>(date.month()), 2);
        *at++ = '-';
        putDigits(at, static_cast<unsigned>(date.day()), 2);
        day_ = day;
    }
    const std::int64_t time = ms - day * msPerDay;
    char* at = out_.room(longestNumber);
    at = std::copy(dayText_.begin(), dayText_.end(), at);
    *at++ = 'T';
    at = putDigits(at, time / 3'600'000, 2);
    *at++ = ':';
    at = putDigits(at, time / 60'000 % 60, 2);
    *at++ = ':';
    at = putDigits(at, time / 1000 % 60, 2);
    if (time % 1000 != 0) {
        *at++ = '.';
        at = putDigits(at, time % 1000, 3);
    }
    out_.taken(at);
}

void FieldWriter::putText(std::span<const std::uint8_t> stored)
{
    // Most names are stored compressed, one byte a letter, and most of those are ASCII: the bytes are the text.
    const std::size_t mark = jet::text_layout::compressedMark.size();
    if (stored.size() > mark && stored.size() < longestFast && jet::text_layout::isCompressed(stored)) {
        const auto letters = stored.subspan(mark);
        const auto end = std::ranges::find_if_not(letters, [](std::uint8_t byte) { return plainLetters[byte]; });
        if (end == letters.end()) {
            out_.taken(std::copy(letters.begin(), letters.end(), out_.room(longestFast)));
            return;
        }
    }
    jet::decodeText(stored, text_);
    if (!putPlainLetters()) putCsvText(out_, jet::toUtf8(text_));
}

/// Writes text_ where it needs neither quotes nor surrogates; false otherwise.
bool FieldWriter::putPlainLetters()
{
    if (text_.empty() || text_.size() * 3 > longestFast) return false;
    char* at = out_.room(longestFast);
    for (const char16_t unit : text_) {
        if (unit < 0x80) {
            if (!plainLetters[unit]) return false;
            *at++ = static_cast<char>(unit);
        } else if (unit < 0x800) {
            *at++ = static_cast<char>(0xC0 | unit >> 6);
            *at++ = static_cast<char>(0x80 | (unit & 0x3F));
        } else {
            if (unit >= 0xD800 && unit <= 0xDFFF) return false;
            *at++ = static_cast<char>(0xE0 | unit >> 12);
            *at++ = static_cast<char>(0x80 | (unit >> 6 & 0x3F));
            *at++ = static_cast<char>(0x80 | (unit & 0x3F));
        }
    }
    out_.taken(at);
    return true;
}

void FieldWriter::put(const jet::RowView& row, std::size_t position, const jet::Column& column)
{
    switch (column.type) {
    case ColumnType::text: {
        const auto stored = row.stored(position);
        if (!stored.empty())
            putText(stored);
        else if (!row.isNull(position))
            putCsvText(out_, {});
        break;
    }
    case ColumnType::doubleFloat:
    case ColumnType::dateTime: {
        const auto stored = row.stored(position);
        if (stored.empty()) break;
        const auto number = std::bit_cast<double>(jet::getU64(stored.data()));
        if (column.type == ColumnType::dateTime)
            putDate({number});
        else
            putNumber(number);
        break;
    }
    case ColumnType::byte:
    case ColumnType::integer:
    case ColumnType::longInteger:
        if (const auto number = row.number(position)) putWhole(out_, static_cast<std::int32_t>(*number));
        break;
    default:
        put(row.value(position));
    }
}

void FieldWriter::put(const jet::Value& value)
{
    struct Writer {
        FieldWriter& writer;
        void operator()(jet::Null) const {}
        void operator()(bool b) const { writer.out_.put(b ? "true" : "false"); }
        void operator()(std::uint8_t n) const { putWhole(writer.out_, static_cast<unsigned>(n)); }
        void operator()(std::int16_t n) const { putWhole(writer.out_, n); }
        void operator()(std::int32_t n) const { putWhole(writer.out_, n); }
        void operator()(jet::Currency money) const { putScaled(writer.out_, money.tenThousandths, 4); }
        void operator()(float n) const { putShortest(writer.out_, n); }
        void operator()(double n) const { writer.putNumber(n); }
        void operator()(jet::DateTime moment) const { writer.putDate(moment); }
        void operator()(const std::u16string& text) const { putCsvText(writer.out_, jet::toUtf8(text)); }
        void operator()(const jet::Bytes& bytes) const
        {
            if (bytes.empty()) writer.out_.put("\"\"");
            putHex(writer.out_, bytes);
        }
        void operator()(const jet::Guid& guid) const { putGuid(writer.out_, guid); }
        void operator()(const jet::Numeric& number) const { putNumeric(writer.out_, number); }
    };
    std::visit(Writer{*this}, value);
}

std::string numberText(double number)
{
    std::array<char, longestNumber> room;
    return {room.data(), writeShortest(room.data(), number)};
}

const char* noNumber(char decimalMark)
{
    return decimalMark == '.'
               ? files::said("bir sayı değil (ondalıklar noktayla ayrılır)", "is no number (with a decimal point)")
               : files::said("bir sayı değil (ondalıklar virgülle ayrılır)", "is no number (with a decimal comma)");
}

jet::Value parseNumberField(std::string_view plain, const WrittenNumber& written, const jet::Column& column)
{
    switch (column.type) {
    case ColumnType::byte:
        return parseNumber<std::uint8_t>(plain, written.text, noWholeNumber());
    case ColumnType::integer:
        return parseNumber<std::int16_t>(plain, written.text, noWholeNumber());
    case ColumnType::longInteger:
        return parseNumber<std::int32_t>(plain, written.text, noWholeNumber());
    case ColumnType::currency: {
        constexpr std::size_t decimals = 4;
        const jet::Numeric number = parseDecimal(plain, written);
        requireDecimals(plain, written, decimals);
        const auto money = jet::decimal::toCurrency(number);
        if (!money) refuse(written.text, doesNotFit());
        return *money;
    }
    case ColumnType::numeric: {
        const jet::Numeric number = parseDecimal(plain, written);
        requireDecimals(plain, written, column.scale);
        return number;
    }
    case ColumnType::singleFloat:
        return parseFloat<float>(plain, written);
    default:
        assert(column.type == ColumnType::doubleFloat);
        return parseFloat<double>(plain, written);
    }
}

jet::Value parseField(const CsvField& field, const jet::Column& column)
{
    const std::string_view text = field.text;
    if (text.empty() && !field.quoted) return {};
    switch (column.type) {
    case ColumnType::boolean:
        return parseBoolean(text);
    case ColumnType::byte:
    case ColumnType::integer:
    case ColumnType::longInteger:
    case ColumnType::currency:
    case ColumnType::numeric:
    case ColumnType::singleFloat:
    case ColumnType::doubleFloat:
        return parseNumberField(text, {text}, column);
    case ColumnType::dateTime:
        return parseDate(text);
    case ColumnType::text:
    case ColumnType::memo:
        return jet::fromUtf8(text);
    case ColumnType::binary:
    case ColumnType::ole:
    case ColumnType::blob:
        return parseHex(text);
    case ColumnType::guid:
        return parseGuid(text);
    }
    refuse(text, files::said("bu türdeki alana yazılamaz", "cannot be written to a field of this type"));
}

std::optional<jet::Numeric> decimalIn(std::string_view text)
{
    try {
        return parseDecimal(text, {text});
    } catch (const files::Error&) {
        return std::nullopt;
    }
}

std::string typeName(const jet::Column& column)
{
    const auto sized = [](const char* name, int size) { return name + ("(" + std::to_string(size)) + ")"; };
    if (column.type == ColumnType::longInteger && column.autoNumber) return "AutoNumber";
    if (column.autoGuid) return "AutoNumber (GUID)";
    if (column.type == ColumnType::binary) return sized("Binary", column.length);
    if (column.type == ColumnType::text) return sized("Text", column.length / 2);
    if (column.type == ColumnType::numeric)
        return "Decimal(" + std::to_string(column.precision) + "," + std::to_string(column.scale) + ")";
    static constexpr std::pair<ColumnType, const char*> names[] = {
        {ColumnType::boolean, "Yes/No"},     {ColumnType::byte, "Byte"},          {ColumnType::integer, "Integer"},
        {ColumnType::longInteger, "Long"},   {ColumnType::currency, "Currency"},  {ColumnType::singleFloat, "Single"},
        {ColumnType::doubleFloat, "Double"}, {ColumnType::dateTime, "Date/Time"}, {ColumnType::ole, "OLE"},
        {ColumnType::memo, "Memo"},          {ColumnType::guid, "GUID"},          {ColumnType::blob, "Blob"},
    };
    for (const auto& [type, name] : names)
        if (type == column.type) return name;
    return "?";
}

} // namespace exchange
