#include "base/code_page.h"
#include "tests/support/columns.h"
#include <QSet>
#include <QTest>

using namespace base;
using namespace Qt::StringLiterals;

/// Bytes of the Turkish code page and of files that people edit.
class CodePage : public QObject {
    Q_OBJECT

private slots:
    void everyByteIsOneCharacterOfItsOwn()
    {
        QByteArray bytes;
        for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
        const QString text = fromCodePage(bytes);
        QCOMPARE(text.size(), 256);
        QCOMPARE(QSet<QChar>(text.begin(), text.end()).size(), 256);
    }

    void turkishBytesAreTurkishLetters_data()
    {
        addColumns<QByteArray, QString>("bytes", "text");
        QTest::newRow("G with breve") << "\xD0\xF0"_ba << u"Ğğ"_s;
        QTest::newRow("dotted capital, dotless small") << "\xDD\xFD"_ba << u"İı"_s;
        QTest::newRow("S with cedilla") << "\xDE\xFE"_ba << u"Şş"_s;
        QTest::newRow("C, O, U capital") << "\xC7\xD6\xDC"_ba << u"ÇÖÜ"_s;
        QTest::newRow("c, o, u small") << "\xE7\xF6\xFC"_ba << u"çöü"_s;
        QTest::newRow("euro") << "\x80"_ba << u"€"_s;
        QTest::newRow("typographic quotes") << "\x93x\x94"_ba << u"“x”"_s;
    }

    void turkishBytesAreTurkishLetters()
    {
        QFETCH(QByteArray, bytes);
        QTEST(fromCodePage(bytes), "text");
    }

    void undefinedBytesStandForThemselves()
    {
        for (const char16_t byte : {0x81, 0x8D, 0x8E, 0x8F, 0x90, 0x9D, 0x9E}) {
            const char raw = static_cast<char>(byte);
            QCOMPARE(fromCodePage(QByteArrayView(&raw, 1)), QString(QChar(byte)));
        }
    }

    void editedFilesAreDecodedByTheirMarkOrShape_data()
    {
        addColumns<QByteArray, QString>("bytes", "text");
        QTest::newRow("code page") << "\x59\x61\xF0"_ba << u"Yağ"_s;
        QTest::newRow("marked UTF-8") << "\xEF\xBB\xBF\x59\x61\xC4\x9F"_ba << u"Yağ"_s;
        QTest::newRow("unmarked UTF-8") << "\x59\x61\xC4\x9F"_ba << u"Yağ"_s;
        QTest::newRow("UTF-16, low byte first") << QByteArray("\xFF\xFEY\0a\0\x1F\x01", 8) << u"Yağ"_s;
        QTest::newRow("UTF-16, high byte first") << QByteArray("\xFE\xFF\0Y\0a\x01\x1F", 8) << u"Yağ"_s;
        QTest::newRow("three capitals of the code page") << "\xDE\xDD\xDE"_ba << u"ŞİŞ"_s;
        QTest::newRow("broken UTF-8 is the code page") << "\xC4\x9F\xF0"_ba << fromCodePage("\xC4\x9F\xF0");
        QTest::newRow("UTF-8 cut short is the code page") << "Ya\xC4"_ba << u"YaÄ"_s;
        QTest::newRow("plain") << "Mendrik\r\n"_ba << u"Mendrik\r\n"_s;
        QTest::newRow("empty") << QByteArray() << QString();
        QTest::newRow("only a mark") << "\xEF\xBB\xBF"_ba << QString();
    }

    void editedFilesAreDecodedByTheirMarkOrShape()
    {
        QFETCH(QByteArray, bytes);
        QTEST(decodeEditedText(bytes), "text");
    }
};

QTEST_APPLESS_MAIN(CodePage)
#include "code_page.moc"
