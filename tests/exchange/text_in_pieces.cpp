// Texts that come in pieces of any size are the texts that they are as a whole.

#include "exchange/csv.h"
#include "exchange/text_encoding.h"
#include "files/memory_disk.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

namespace {

using exchange::CsvField;
using exchange::CsvReader;
using exchange::Encoding;

/// Gives a text out in pieces of so many bytes.
class Pieces : public exchange::TextSource {
public:
    Pieces(std::string text, std::size_t size) : text_(std::move(text)), size_(size) {}
    void rewind() override { at_ = 0; }
    bool more(std::string& into) override
    {
        if (at_ >= text_.size()) return false;
        into += text_.substr(at_, size_);
        at_ += size_;
        return true;
    }
    int percent() const override { return 0; }

private:
    std::string text_;
    std::size_t size_;
    std::size_t at_ = 0;
};

using Records = std::vector<std::vector<std::string>>;

/// Fields as they are, quoted ones with a mark before them, and the line of each record first.
Records recordsOf(CsvReader& reader)
{
    Records all;
    std::vector<CsvField> record;
    while (reader.next(record)) {
        std::vector<std::string> fields{std::to_string(reader.line())};
        for (const CsvField& field : record) fields.push_back((field.quoted ? "q:" : "") + field.text);
        all.push_back(fields);
    }
    return all;
}

const RowTable<std::string> textsInPieces = {
    {"plain", "a,b\nc,d\n"},
    {"without a last line end", "a,b\nc,d"},
    {"carriage returns and line feeds", "a,b\r\nc,d\r\n\r\n\r\ne,f\r\n"},
    {"carriage returns alone", "a,b\rc,d\r"},
    {"quotes in quotes", "\"a\"\"b\",\"\"\"\"\r\n\"\",\"c\"\"\"\r\n"},
    {"lines in quotes", "\"a\r\nb\",c\r\n\"d\n\n\",e\r\n"},
    {"a mark in front", "\xEF\xBB\xBF\"a\",b\n"},
    {"nothing", ""},
    {"a mark alone", "\xEF\xBB\xBF"},
    {"empty lines alone", "\r\n\n\r\n"},
};

TABLE_SUITE(TextInPieces, std::string, textsInPieces);

TEST_P(TextInPieces, hasTheSameRecords)
{
    CsvReader whole(row());
    const Records wanted = recordsOf(whole);
    for (std::size_t size = 3; size <= row().size() + 1; ++size) {
        Pieces pieces(row(), size);
        CsvReader reader(pieces, ',');
        ASSERT_EQ(recordsOf(reader), wanted) << size;
    }
}

TEST(RecordsInPieces, aRecordMayBeLongerThanAPiece)
{
    const std::string field(100'000, 'x');
    Pieces pieces("a,b\n\"" + field + "\"\"\r\n\",y\n1,2\n", 7);
    CsvReader reader(pieces, ',');
    ASSERT_EQ(recordsOf(reader), (Records{{"1", "a", "b"}, {"2", "q:" + field + "\"\r\n", "y"}, {"4", "1", "2"}}));
}

TEST(RecordsInPieces, aQuoteThatIsNeverClosedIsNamedWithItsLine)
{
    Pieces pieces("a\nb\n\"c\nd\ne\n", 4);
    CsvReader reader(pieces, ',');
    std::vector<CsvField> record;
    ASSERT_TRUE(reader.next(record) && reader.next(record));
    ASSERT_NE(refusalOf([&] { reader.next(record); }).sentence.find("3. satır"), std::string::npos);
}

struct EncodedRow {
    std::string bytes;
    Encoding encoding;
    std::string text;
};
RowTable<EncodedRow> encodedTexts()
{
    using namespace std::string_literals;
    return {
        {"UTF-8", {"Işıl 東 𝄞 é\n", Encoding::utf8, "Işıl 東 𝄞 é\n"}},
        {"UTF-8 with a mark", {"\xEF\xBB\xBF\xC3\xA7", Encoding::utf8, "ç"}},
        {"UTF-16 with a mark", {"\xFF\xFEi\0\x31\x01\x34\xD8\x1E\xDD\n\0"s, Encoding::utf16Little, "iı𝄞\n"}},
        {"UTF-16, big end first", {"\0i\0j\0k\x01\x31\xD8\x34\xDD\x1E\0\n"s, Encoding::utf16Big, "ijkı𝄞\n"}},
        {"1254", {"\xDE\xFCkr\xFC A\xF0\n", Encoding::windows1254, "Şükrü Ağ\n"}},
        {"857", {"\x9E\x81kr\x81 A\xA7\n", Encoding::dos857, "Şükrü Ağ\n"}},
    };
}

TABLE_SUITE(EncodedInPieces, EncodedRow, encodedTexts());

TEST_P(EncodedInPieces, isFoundAndDecoded)
{
    const auto& [bytes, encoding, text] = row();
    for (std::size_t size = 1; size <= bytes.size(); ++size) {
        exchange::EncodingFinder finder;
        exchange::Decoder decoder(encoding);
        std::string decoded;
        for (std::size_t at = 0; at < bytes.size(); at += size) {
            finder.see(std::string_view(bytes).substr(at, size));
            decoder.add(std::string_view(bytes).substr(at, size), decoded);
        }
        decoder.end();
        ASSERT_EQ(finder.found(), encoding) << size;
        // The mark in front is looked for in the first piece.
        if (size >= 3) {
            ASSERT_EQ(decoded, text) << size;
        }
    }
}

struct BrokenRow {
    std::string bytes;
    Encoding encoding;
};
RowTable<BrokenRow> brokenTexts()
{
    using namespace std::string_literals;
    return {
        {"a byte that begins nothing", {"a\nb\xFF", Encoding::utf8}},
        {"half a character at the end", {"a\nb\xE2\x82", Encoding::utf8}},
        {"half a character before another",
         {"a\nb\xE2\x82"
          "c",
          Encoding::utf8}},
        {"a character that is too long", {"a\nb\xE0\x80\x80", Encoding::utf8}},
        {"a surrogate", {"a\nb\xED\xA0\x80", Encoding::utf8}},
        {"half a unit", {"a\0\n\0b"s, Encoding::utf16Little}},
        {"half a pair", {"a\0\n\0\x34\xD8"s, Encoding::utf16Little}},
        {"the other half alone",
         {"a\0\n\0\x1E\xDD"s
          "b\0"s,
          Encoding::utf16Little}},
        {"a byte that the page lacks", {"a\n\x81", Encoding::windows1254}},
    };
}

TABLE_SUITE(BrokenInPieces, BrokenRow, brokenTexts());

TEST_P(BrokenInPieces, isNamedWithItsLine)
{
    const std::string_view bytes = row().bytes;
    for (std::size_t size = 1; size <= bytes.size(); ++size) {
        const Refusal refusal = refusalOf([&] {
            exchange::Decoder decoder(row().encoding);
            std::string decoded;
            for (std::size_t at = 0; at < bytes.size(); at += size) decoder.add(bytes.substr(at, size), decoded);
            decoder.end();
        });
        ASSERT_NE(refusal.sentence.find("2. satır"), std::string::npos) << size << refusal.sentence;
    }
}

TEST(FileInPieces, isReadTwiceAlike)
{
    files::MemoryDisk disk;
    const auto file = disk.scratch();
    std::string text;
    for (int i = 0; text.size() < (std::size_t{5} << 19); ++i) text += std::to_string(i) + ",ğ\r\n";
    file->write(0, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    ASSERT_EQ(exchange::foundEncoding(*file), Encoding::utf8);
    exchange::DecodedFile source(*file, Encoding::utf8);
    for (int round = 0; round < 2; ++round) {
        source.rewind();
        std::string read;
        while (source.more(read)) {
        }
        ASSERT_TRUE(read == text);
        ASSERT_EQ(source.percent(), 100);
    }
}

} // namespace
