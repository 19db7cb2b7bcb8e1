#include "store/jet/values/text_codec.h"

#include <QtTest>

namespace {

jet::Bytes bytes(const char* digits)
{
    const QByteArray raw = QByteArray::fromHex(digits);
    return {raw.begin(), raw.end()};
}

QByteArray digits(const jet::Bytes& bytes)
{
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())).toHex();
}

} // namespace

class TextCodec : public QObject {
    Q_OBJECT
private slots:
    void textIsStoredAsThePlatformStoresIt_data();
    void textIsStoredAsThePlatformStoresIt();
    void everyStoredFormIsRead_data();
    void everyStoredFormIsRead();
    void aTextWithoutAnyFormIsRefused();
    void everyUnitComesBack_data();
    void everyUnitComesBack();
};

void TextCodec::textIsStoredAsThePlatformStoresIt_data()
{
    QTest::addColumn<std::u16string>("text");
    QTest::addColumn<bool>("compressible");
    QTest::addColumn<QByteArray>("stored");
    const auto row = [](const char* name, const std::u16string& text, bool compressible, const char* hex) {
        QTest::newRow(name) << text << compressible << QByteArray(hex).replace(' ', "").toLower();
    };
    row("empty", u"", true, "");
    row("two letters stay plain", u"Al", true, "41006C00");
    row("Latin letters", u"Kitap", true, "FFFE4B69746170");
    row("one wide letter among others, a tie", u"Di\u011Fer", true, "FFFE 4469 00 1F01 00 6572");
    row("begins with a wide letter", u"\u0130n\u015Faatlar", true, "FFFE 00 3001 00 6E 00 5F01 00 6161746C6172");
    row("ends in a wide letter", u"Kuru\u015F", true, "FFFE 4B757275 00 5F01");
    row("the column does not allow it", u"Kitap", false, "4B0069007400610070 00");
    row("longer than plain", u"\u015F\u0131\u011F", true, "5F0131011F01");
    row("a unit that ends in 00", u"abcd\u0100", true, "61006200630064000001");
    row("a mark that looks compressed", u"\uFEFFab", false, "FFFE 00 FFFE 00 6162");
}

void TextCodec::textIsStoredAsThePlatformStoresIt()
{
    QFETCH(std::u16string, text);
    QFETCH(bool, compressible);
    QFETCH(QByteArray, stored);
    const auto encoded = jet::encodeText(text, compressible);
    QVERIFY(encoded.has_value());
    QCOMPARE(digits(*encoded), stored);
    std::u16string back;
    jet::decodeText(*encoded, back);
    QCOMPARE(back, text);
}

void TextCodec::everyStoredFormIsRead_data()
{
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<std::u16string>("text");
    QTest::newRow("nothing") << QByteArray("") << std::u16string();
    QTest::newRow("half a unit is left out") << QByteArray("4100 42") << std::u16string(u"A");
    QTest::newRow("compressed, nothing behind the mark") << QByteArray("FFFE") << std::u16string();
    QTest::newRow("compressed, ends inside a pair") << QByteArray("FFFE 41 00 5F") << std::u16string(u"A");
    QTest::newRow("two changes of mode in a row") << QByteArray("FFFE 41 00 00 42") << std::u16string(u"AB");
    QTest::newRow("lone surrogate") << QByteArray("00D8") << std::u16string(1, char16_t(0xD800));
}

void TextCodec::everyStoredFormIsRead()
{
    QFETCH(QByteArray, stored);
    QFETCH(std::u16string, text);
    std::u16string back = u"before";
    jet::decodeText(bytes(stored.constData()), back);
    QCOMPARE(back, text);
}

void TextCodec::aTextWithoutAnyFormIsRefused() { QVERIFY(!jet::encodeText(u"\uFEFFa\u0100", true)); }

void TextCodec::everyUnitComesBack_data()
{
    QTest::addColumn<bool>("compressible");
    QTest::newRow("compressed where possible") << true;
    QTest::newRow("plain") << false;
}

void TextCodec::everyUnitComesBack()
{
    QFETCH(bool, compressible);
    std::u16string back;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const std::u16string text{u'a', char16_t(unit), u'b', u'c'};
        jet::decodeText(jet::encodeText(text, compressible).value(), back);
        QVERIFY2(back == text, qPrintable(QString::number(unit, 16)));
    }
}

QTEST_GUILESS_MAIN(TextCodec)
#include "text_codec.moc"
