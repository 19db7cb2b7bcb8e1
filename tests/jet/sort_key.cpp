#include "store/jet/values/sort_key.h"

#include <QTest>

#include <algorithm>

using jet::Certainty;
using jet::Collation;

namespace {

std::u16string units(const QString& text) { return text.toStdU16String(); }

QByteArray keyOf(const std::u16string& text, Collation collation)
{
    const auto key = jet::textKey(text, collation);
    return key ? QByteArray(reinterpret_cast<const char*>(key->bytes.data()), qsizetype(key->bytes.size())).toHex()
               : QByteArray("none");
}

bool certain(const std::u16string& text, Collation collation)
{
    return jet::textKey(text, collation)->certainty == Certainty::certain;
}

} // namespace

class SortKey : public QObject {
    Q_OBJECT

private slots:
    void keyIsTheOneAccessWrites_data();
    void keyIsTheOneAccessWrites();
    void everyCodeUnitHasItsWeight_data();
    void everyCodeUnitHasItsWeight();
    void trailingSpacesAndTheRestAfter255UnitsDoNotCount();
    void caseAndIgnoredCharactersDoNotCount();
    void turkishOrderIsTheAlphabet();
    void appendingLeavesWhatIsThere();
    void otherOrdersHaveNoWeights();
    void onlyKnownWeightsAreCertain_data();
    void onlyKnownWeightsAreCertain();
    void longestTextsFit();
    void foldingPairsTurkishLetters_data();
    void foldingPairsTurkishLetters();
    void foldingAgreesWithUnicodeElsewhere();
};

void SortKey::keyIsTheOneAccessWrites_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("inTurkish");
    QTest::addColumn<QByteArray>("key");
    const auto row = [](const char* name, const QString& text, bool inTurkish, const char* hex) {
        QTest::newRow(name) << text << inTurkish << QByteArray(hex).replace(" ", "").toLower();
    };
    const bool general = false, turkish = true;
    row("empty", "", general, "01 00");
    row("letters and a digit", "AA3AA", general, "4A 4A 3C 4A 4A 01 00");
    row("diacritic", "AAËAA", general, "4A 4A 51 4A 4A 01 02 02 13 00");
    row("many diacritics", "ääkkösiä", general, "4A 4A 5C 5C 64 6B 59 4A 01 13 13 02 02 13 02 02 13 00");
    row("hyphen", "A-", general, "4A 01 01 01 01 800B 06 82 00");
    row("hyphens and two-byte weights", "-\u00A0Á--Á\u00A0-", general,
        "0802 4A 4A 0802 01 02 0E 0E 01 01 01 8007 06 82 800F 06 82 800F 06 82 8017 06 82 00");
    row("sharp s takes two positions", "NuNuCa Nuß-Nougat-Creme", general,
        "62 6F 62 6F 4D 4A 07 62 6F 6B6B 62 64 6F 55 4A 6D 4D 69 51 60 51 01 01 01 01 8033 06 82 804B 06 82 00");
    row("ideographs and kana", "漢字仮名交じり文", general,
        "C0B6 ACAC A00D A547 9FBE 7F13 7F43 B6F6 01 02 02 02 02 02 03 01 01 FF 02 80 FF 80 00");
    row("control character in front", "\u0003DirData", general, "4F5969 4F4A6D4A 01 01 01 01 8007 06 05 00");
    row("umlaut in front", "ümlaut", general, "6F 60 5E 4A 6F 6D 01 13 00");
    row("Tables", "Tables", general, "6D4A4C5E516B 01 00");
    row("Tables in Turkish", "Tables", turkish, "6D4A4C5E516B 01 00");
    row("AĞRI", "AĞRI", turkish, "4A 5602 69 5806 01 00");
    row("BİNGÖL", "BİNGÖL", turkish, "4C 59 62 55 6502 5E 01 00");
    row("GÜMÜŞHANE", "GÜMÜŞHANE", turkish, "55 7003 60 7003 6C07 57 4A 62 51 01 00");
    row("İÇEL", "İÇEL", turkish, "59 4E03 51 5E 01 00");
    row("Türkçe", "Türkçe", turkish, "6D 7003 69 5C 4E03 51 01 00");
    row("Beden Eğitimi", "Beden Eğitimi", turkish, "4C 51 4F 51 62 07 51 5602 59 6D 59 60 59 01 00");
    row("siraögrenciler", "siraögrenciler", turkish, "6B 59 69 4A 6502 55 69 51 62 4D 59 5E 51 69 01 00");
    row("işçilik", "işçilik", turkish, "59 6C07 4E03 59 5E 59 5C 01 00");
    row("circumflex and apostrophe", "Kâğıt'ı", turkish, "5C 4A 5602 5806 6D 5806 01 02 12 01 01 01 801B 06 80 00");
}

void SortKey::keyIsTheOneAccessWrites()
{
    QFETCH(QString, text);
    QFETCH(bool, inTurkish);
    QFETCH(QByteArray, key);
    QCOMPARE(keyOf(units(text), inTurkish ? jet::turkish : jet::general), key);
    QVERIFY(certain(units(text), inTurkish ? jet::turkish : jet::general));
}

void SortKey::everyCodeUnitHasItsWeight_data()
{
    // Digests of the keys of "A?B" for every code unit, made by another program from the tables of weights.
    QTest::addColumn<bool>("inTurkish");
    QTest::addColumn<quint64>("digest");
    QTest::newRow("General") << false << quint64{0x505d442bb150cd47};
    QTest::newRow("Turkish") << true << quint64{0x121043d4a1569a08};
}

void SortKey::everyCodeUnitHasItsWeight()
{
    QFETCH(bool, inTurkish);
    QFETCH(quint64, digest);
    quint64 fnv = 0xcbf29ce484222325;
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const std::u16string text{u'A', char16_t(unit), u'B'};
        std::vector<std::uint8_t> key;
        jet::appendTextKey(key, text, inTurkish ? jet::turkish : jet::general);
        for (const std::uint8_t byte : key) fnv = (fnv ^ byte) * 0x100000001b3;
    }
    QCOMPARE(fnv, digest);
}

void SortKey::trailingSpacesAndTheRestAfter255UnitsDoNotCount()
{
    QCOMPARE(keyOf(u"Ali  ", jet::turkish), keyOf(u"Ali", jet::turkish));
    QVERIFY(keyOf(u" Ali", jet::turkish) != keyOf(u"Ali", jet::turkish));
    QVERIFY(keyOf(u"A li", jet::turkish) != keyOf(u"Ali", jet::turkish));
    QCOMPARE(keyOf(u"   ", jet::turkish), keyOf(u"", jet::turkish));
    const std::u16string longText(255, u'x');
    QCOMPARE(keyOf(longText + u"yz", jet::general), keyOf(longText, jet::general));
    // The cut comes first: a letter behind the 255th unit does not keep the spaces before it.
    QCOMPARE(keyOf(u"a" + std::u16string(254, u' ') + u"b", jet::general), keyOf(u"a", jet::general));
}

void SortKey::caseAndIgnoredCharactersDoNotCount()
{
    QCOMPARE(keyOf(u"zeytin", jet::general), keyOf(u"ZEYTIN", jet::general));
    QCOMPARE(keyOf(u"SINIR", jet::turkish), keyOf(u"sınır", jet::turkish));
    QCOMPARE(keyOf(u"SİNİR", jet::turkish), keyOf(u"sinir", jet::turkish));
    QVERIFY(keyOf(u"SINIR", jet::turkish) != keyOf(u"SİNİR", jet::turkish));
    QCOMPARE(keyOf(std::u16string(u"a\0b", 3), jet::turkish), keyOf(u"ab", jet::turkish));
}

void SortKey::turkishOrderIsTheAlphabet()
{
    const std::u16string alphabet = u"abcçdefgğhıijklmnoöprsştuüvyz";
    for (std::size_t i = 0; i + 1 < alphabet.size(); ++i) {
        const auto lower = jet::textKey(alphabet.substr(i, 1) + u"z", jet::turkish)->bytes;
        const auto higher = jet::textKey(alphabet.substr(i + 1, 1) + u"a", jet::turkish)->bytes;
        QVERIFY2(lower < higher, qPrintable(QString::fromStdU16String(alphabet.substr(i, 2))));
    }
}

void SortKey::appendingLeavesWhatIsThere()
{
    std::vector<std::uint8_t> key{0x12, 0x7F};
    QVERIFY(jet::appendTextKey(key, u"A", jet::general) == Certainty::certain);
    QVERIFY((key == std::vector<std::uint8_t>{0x12, 0x7F, 0x4A, 0x01, 0x00}));
    QVERIFY(!jet::appendTextKey(key, u"A", Collation{0x0407, 0}));
    QCOMPARE(key.size(), std::size_t{5});
}

void SortKey::otherOrdersHaveNoWeights()
{
    QVERIFY(jet::hasWeights(jet::general));
    QVERIFY(jet::hasWeights(jet::turkish));
    QVERIFY(!jet::hasWeights(Collation{0x0407, 0}));
    QVERIFY(!jet::hasWeights(Collation{0x0409, 1}));
    QVERIFY(!jet::textKey(u"A", Collation{0x0409, 1}));
}

void SortKey::onlyKnownWeightsAreCertain_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("inGeneral");
    QTest::addColumn<bool>("inTurkish");
    QTest::newRow("Turkish name") << "Çiğdem Öğüt-Işık" << true << true;
    QTest::newRow("all of code page 1254") << "é â î û € … ™ ß Æ" << true << true;
    QTest::newRow("Greek") << "Ωμέγα" << true << false;
    QTest::newRow("Polish") << "Łódź" << true << false;
    QTest::newRow("combining mark") << QString("g\u0306") << true << false;
    QTest::newRow("surrogates") << QString("\U0001F600") << false << false;
    QTest::newRow("never listed") << QString(QChar(0x0378)) << false << false;
    QTest::newRow("measured as ignored") << QString(QChar(0x1F76)) << true << false;
    QTest::newRow("diacritic bytes that overflow") << QString("\u00E4") + QString(40, QChar(0x0306)) << false << false;
    QTest::newRow("unsure unit behind the 255th") << QString(255, 'a') + QString("\U0001F600") << true << true;
}

void SortKey::onlyKnownWeightsAreCertain()
{
    QFETCH(QString, text);
    QFETCH(bool, inGeneral);
    QFETCH(bool, inTurkish);
    QCOMPARE(certain(units(text), jet::general), inGeneral);
    QCOMPARE(certain(units(text), jet::turkish), inTurkish);
    QCOMPARE(!jet::firstUncertain(units(text), jet::general), inGeneral);
    QCOMPARE(!jet::firstUncertain(units(text), jet::turkish), inTurkish);
}

void SortKey::longestTextsFit()
{
    // U+FB03 has three weights, U+05F0 four primary bytes; a combining mark leads.
    const auto ligatures = jet::textKey(u"\u0306" + std::u16string(254, u'\uFB03'), jet::general);
    QCOMPARE(ligatures->bytes.size(), 254u * 3 + 1 + 1 + 1);
    const auto hebrew = jet::textKey(std::u16string(255, u'\u05F0'), jet::general);
    QCOMPARE(hebrew->bytes.size(), 255u * 4 + 2);
    const auto records = jet::textKey(std::u16string(300, u'-'), jet::general);
    QCOMPARE(records->bytes.size(), 1u + 2 + 1 + 255 * 4 + 1);
}

void SortKey::foldingPairsTurkishLetters_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("folded");
    QTest::newRow("i with and without dot") << "IıİiIŞIK"
                                            << "ııiiışık";
    QTest::newRow("alphabet") << "ABCÇDEFGĞHIİJKLMNOÖPRSŞTUÜVYZ"
                              << "abcçdefgğhıijklmnoöprsştuüvyz";
    QTest::newRow("foreign letters") << "QWXÂÎÛÉÑØŁŸ ΩΆ ДЁЖ"
                                     << "qwxâîûéñøłÿ ωά дёж";
    QTest::newRow("no letters") << "12-'_%[]\u00D7\u00F7 漢"
                                << "12-'_%[]\u00D7\u00F7 漢";
    QTest::newRow("empty") << ""
                           << "";
}

void SortKey::foldingPairsTurkishLetters()
{
    QFETCH(QString, text);
    QFETCH(QString, folded);
    QCOMPARE(QString::fromStdU16String(jet::foldTurkish(units(text))), folded);
}

void SortKey::foldingAgreesWithUnicodeElsewhere()
{
    for (char16_t unit = 0; unit < 0x2000; ++unit) {
        if (unit == u'I' || unit == u'İ') continue;
        // Scripts without an everyday use of case stay as they are.
        if (unit >= 0x0590 && unit < 0x1E00) continue;
        QCOMPARE(jet::foldTurkish(unit), QChar(unit).toLower().unicode());
    }
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const char16_t once = jet::foldTurkish(char16_t(unit));
        QCOMPARE(jet::foldTurkish(once), once);
    }
}

QTEST_APPLESS_MAIN(SortKey)
#include "sort_key.moc"
