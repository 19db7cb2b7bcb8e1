#include "base/letters.h"
#include "tests/base/row_name.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"
#include <QTest>

using namespace base;
using namespace Qt::StringLiterals;

/// Letter case as the keypad and the names need it.
class Letters : public QObject {
    Q_OBJECT

private slots:
    void lettersKeepTheTurkishTwins_data()
    {
        addColumns<QString, QString, QString>("letters", "upper", "lower");
        QTest::newRow("dotted small") << u"i"_s << u"I"_s << u"i"_s;
        QTest::newRow("dotless capital") << u"I"_s << u"I"_s << u"i"_s;
        QTest::newRow("dotless small") << u"ı"_s << u"ı"_s << u"ı"_s;
        QTest::newRow("dotted capital") << u"İ"_s << u"İ"_s << u"İ"_s;
        QTest::newRow("Turkish letters") << u"çğöşü"_s << u"ÇĞÖŞÜ"_s << u"çğöşü"_s;
        QTest::newRow("Turkish capitals") << u"ÇĞÖŞÜ"_s << u"ÇĞÖŞÜ"_s << u"çğöşü"_s;
        QTest::newRow("foreign letters") << u"wqx"_s << u"WQX"_s << u"wqx"_s;
        QTest::newRow("double letter key") << u"Ab"_s << u"AB"_s << u"ab"_s;
        QTest::newRow("no letters") << u"12,*ß"_s << u"12,*ß"_s << u"12,*ß"_s;
    }

    void lettersKeepTheTurkishTwins()
    {
        QFETCH(QString, letters);
        QTEST(upperCase(letters), "upper");
        QTEST(lowerCase(letters), "lower");
    }

    void keypadCaptionsChangeCase()
    {
        const auto captions = [](QString letters, auto&& mapped, const QString& ten, const QString& eleven) {
            QStringList keys;
            for (const QChar letter : letters) keys += mapped(QStringView(&letter, 1));
            keys[10] = ten;
            keys[11] = eleven;
            return keys.join(u' ');
        };
        const QString small = u"A B C Ç D E F G Ğ H ı i J K L M N O Ö P R S Ş T U Ü V Y Z W Q X"_s.remove(u' ');
        QCOMPARE(captions(
                     small, [](QStringView text) { return upperCase(text); }, u"I"_s, u"İ"_s),
                 u"A B C Ç D E F G Ğ H I İ J K L M N O Ö P R S Ş T U Ü V Y Z W Q X"_s);
        const QString capitals = u"A B C Ç D E F G Ğ H I İ J K L M N O Ö P R S Ş T U Ü V Y Z W Q X"_s.remove(u' ');
        QCOMPARE(captions(
                     capitals, [](QStringView text) { return lowerCase(text); }, u"ı"_s, u"i"_s),
                 u"a b c ç d e f g ğ h ı i j k l m n o ö p r s ş t u ü v y z w q x"_s);
    }

    void properCaseStartsWordsAfterWhiteSpaceOnly_data()
    {
        addColumns<QString, QString>("text", "expected");
        // clang-format off
        static const char* const rows[][2] = {
            {"ahmet yılmaz", "Ahmet Yılmaz"}, {"ışık", "ışık"}, {"istanbul ili", "Istanbul Ili"},
            {"ali ihsan", "Ali Ihsan"}, {"ömer öz", "Ömer Öz"}, {"şule", "Şule"}, {"ğ", "Ğ"},
            {"ünal", "Ünal"}, {"çelik", "Çelik"}, {"ünal ÜNAL", "Ünal Ünal"},
            {"o'neil", "O'neil"}, {"ayşe-nur", "Ayşe-nur"}, {"3 kardeş", "3 Kardeş"}, {"3kardeş", "3kardeş"},
            {"dr.ali", "Dr.ali"}, {"a.b c", "A.b C"}, {"  çift  boşluk ", "  Çift  Boşluk "},
            {"a\tb", "A\tB"}, {"a\rb\nc\vd\fe", "A\rB\nC\vD\fE"},
            {"AHMET YILMAZ", "Ahmet Yilmaz"}, {"ALİ", "Alİ"}, {"İSMAİL", "İsmaİl"}, {"IŞIK", "Işik"},
            {"İstanbul i", "İstanbul I"}, {"ihsan ışık", "Ihsan ışık"}, {"", ""},
            {"12,75", "12,75"}, {"1e5", "1e5"}, {"5*", "5*"}, {"Müşteri Seçin", "Müşteri Seçin"},
        };
        // clang-format on
        for (const auto& row : rows)
            QTest::newRow(rowName(QString::fromUtf8(row[0]))) << QString::fromUtf8(row[0]) << QString::fromUtf8(row[1]);
    }

    void properCaseStartsWordsAfterWhiteSpaceOnly()
    {
        QFETCH(QString, text);
        QTEST(properCase(text), "expected");
        QCOMPARE(properCase(text).size(), text.size());
    }

    void onlyBlanksAreTrimmed()
    {
        QCOMPARE(trimBlanks(u" Boşluk "), u"Boşluk"_s);
        QCOMPARE(trimBlanks(u"\t5\r"), u"\t5\r"_s);
        QCOMPARE(trimBlanks(u" Müşteri Seçin"), u"Müşteri Seçin"_s);
        QCOMPARE(trimBlanks(u"   "), QString());
    }
};

QTEST_APPLESS_MAIN(Letters)
#include "letters.moc"
