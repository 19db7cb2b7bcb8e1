#include "base/code_page.h"
#include "base/letters.h"
#include "exchange/text_encoding.h"
#include "files/error.h"
#include "store/jet/values/sort_key.h"
#include "tests/support/columns.h"
#include <QCryptographicHash>
#include <QTest>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

constexpr int units = 0x10000; ///< of UTF-16
constexpr int bytes = 0x100;

/// What is made of every unit, one after the other.
template <class Made> QByteArray ofEveryUnit(Made&& made)
{
    QByteArray all;
    for (int unit = 0; unit < units; ++unit) all += made(static_cast<char16_t>(unit));
    return all;
}

QByteArray bytesOf(QStringView text)
{
    return {reinterpret_cast<const char*>(text.utf16()), text.size() * qsizetype(sizeof(char16_t))};
}

/// Beside letters that change with it, as names have it.
QString amongOthers(char16_t unit) { return u"aŞ"_s + QChar(unit) + u"ç Iı"_s; }

QByteArray imported(exchange::Encoding encoding)
{
    QByteArray all;
    for (int byte = 0; byte < bytes; ++byte) {
        std::string text;
        try {
            exchange::Decoder(encoding).add(std::string(1, static_cast<char>(byte)), text);
        } catch (const files::Error&) {
            text = "?"; // no letter of that page
        }
        all += QByteArray::fromStdString(text) + '\n';
    }
    return all;
}

QByteArray ordered(jet::Collation collation)
{
    return ofEveryUnit([&](char16_t unit) {
        const auto key = jet::textKey(std::u16string(1, unit), collation).value();
        return QByteArray(reinterpret_cast<const char*>(key.bytes.data()), qsizetype(key.bytes.size())) +
               char(key.certainty == jet::Certainty::certain);
    });
}

} // namespace

/// The program has its letters with it: whatever the system and its libraries, each is the same one everywhere. The
/// digests are those of one build and hold for all.
class EveryLetter : public QObject {
    Q_OBJECT

private slots:
    void isTheSameOnEverySystem_data()
    {
        addColumns<std::function<QByteArray()>, QByteArray>("made", "digest");
        const auto row = [](const char* name, const std::function<QByteArray()>& made, const char* digest) {
            QTest::newRow(name) << made << QByteArray(digest);
        };
        row(
            "capitals",
            [] { return ofEveryUnit([](char16_t unit) { return bytesOf(base::upperCase(amongOthers(unit))); }); },
            "6c45d72d260b175362d88e08580fa7c3fd3b81e85f199543cef8ca862940aedc");
        row(
            "small letters",
            [] { return ofEveryUnit([](char16_t unit) { return bytesOf(base::lowerCase(amongOthers(unit))); }); },
            "4af1114cddf0366abc8de14d3afd412f793eab8a0a40afa912d2bfecccbe39bd");
        row(
            "names",
            [] { return ofEveryUnit([](char16_t unit) { return bytesOf(base::properCase(amongOthers(unit))); }); },
            "9b7c55884ae951b97ae595536fbffbc8277c09470432b8be8c539ef6067961cf");
        row(
            "letters that are searched",
            [] { return ofEveryUnit([](char16_t unit) { return bytesOf(QString(QChar(jet::foldTurkish(unit)))); }); },
            "c24caf95237f471a89abaed58f1c087967862048a6627b01868e1558428e9457");
        row(
            "code page 1254 of the line and the head of a slip",
            [] {
                QByteArray all;
                for (int byte = 0; byte < bytes; ++byte) all += static_cast<char>(byte);
                return bytesOf(base::fromCodePage(all));
            },
            "52c57e6a29dd1c1bbe58a19de2f94374440080b833a7b2f0ce61164a1e7c851a");
        row(
            "code page 1254 of a file", [] { return imported(exchange::Encoding::windows1254); },
            "c717cfc0725c9088d033760202f6474ca82e44c624745eda2f28dd88eda8a102");
        row(
            "code page 857 of a file", [] { return imported(exchange::Encoding::dos857); },
            "266c5a6649301993ee0b70201f3c732f2c38a13b73029970acb286cc6fa9d99a");
        row(
            "order of names", [] { return ordered(jet::turkish); },
            "6952de22bcfd77bae1d2ba2a01b98187e70b1dec4e9851271f176c20fdc4b77c");
        row(
            "order of names in a file of the other order", [] { return ordered(jet::general); },
            "a9e02fb14b9466693ef5f58b9bd03b8c1de70f811040a5cd2072405732c4a0fd");
    }

    void isTheSameOnEverySystem()
    {
        QFETCH(std::function<QByteArray()>, made);
        QTEST(QCryptographicHash::hash(made(), QCryptographicHash::Sha256).toHex(), "digest");
    }
};

QTEST_GUILESS_MAIN(EveryLetter)
#include "every_letter.moc"
