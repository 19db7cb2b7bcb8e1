#include "base/letters.h"
#include "tests/base/row_name.h"
#include "tests/support/outcome.h"
#include <QTest>

using namespace base;
using namespace Qt::StringLiterals;

/// Letter case as the keypad and the names need it, and cutting and searching texts.
class LettersAndPieces : public QObject {
    Q_OBJECT

private slots:
    void lettersKeepTheTurkishTwins_data();
    void lettersKeepTheTurkishTwins();
    void keypadCaptionsChangeCase();
    void properCaseStartsWordsAfterWhiteSpaceOnly_data();
    void properCaseStartsWordsAfterWhiteSpaceOnly();
    void piecesAreCut_data();
    void piecesAreCut();
    void positionsCountFromOne();
    void onlyBlanksAreTrimmed();
    void replacementsAreMadeInOnePass_data();
    void replacementsAreMadeInOnePass();
};

void LettersAndPieces::lettersKeepTheTurkishTwins_data()
{
    QTest::addColumn<QString>("letters");
    QTest::addColumn<QString>("upper");
    QTest::addColumn<QString>("lower");
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

void LettersAndPieces::lettersKeepTheTurkishTwins()
{
    QFETCH(QString, letters);
    QFETCH(QString, upper);
    QFETCH(QString, lower);
    QCOMPARE(upperCase(letters), upper);
    QCOMPARE(lowerCase(letters), lower);
}

void LettersAndPieces::keypadCaptionsChangeCase()
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

void LettersAndPieces::properCaseStartsWordsAfterWhiteSpaceOnly_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
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

void LettersAndPieces::properCaseStartsWordsAfterWhiteSpaceOnly()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(properCase(text), expected);
    QCOMPARE(properCase(text).size(), text.size());
}

void LettersAndPieces::piecesAreCut_data()
{
    QTest::addColumn<QString>("piece");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, auto&& action, const QString& expected) {
        QTest::newRow(name) << outcomeOf(action) << expected;
    };
    row(
        "left", [] { return left(u"12,345", 5); }, u"12,34"_s);
    row(
        "left of a shorter text", [] { return left(u"12", 5); }, u"12"_s);
    row(
        "left of length 0", [] { return left(u"x", 0); }, QString());
    row(
        "left of a negative length", [] { return left(u"x", -1); }, u"E5"_s);
    row(
        "right, whole text", [] { return right(u"  1234 \r", 8); }, u"  1234 \r"_s);
    row(
        "right of a longer text", [] { return right(u"ST,GS,+  1234\r", 8); }, u"+  1234\r"_s);
    row(
        "right of a negative length", [] { return right(u"x", -1); }, u"E5"_s);
    row(
        "mid", [] { return mid(u"9600,n,8,1", 6, 1); }, u"n"_s);
    row(
        "mid behind the end", [] { return mid(u"abc", 9, 1); }, QString());
    row(
        "mid over the end", [] { return mid(u"abc", 2, 9); }, u"bc"_s);
    row(
        "mid at 0", [] { return mid(u"abc", 0, 1); }, u"E5"_s);
    row(
        "mid of a negative length", [] { return mid(u"abc", 1, -1); }, u"E5"_s);
}

void LettersAndPieces::piecesAreCut()
{
    QFETCH(QString, piece);
    QFETCH(QString, expected);
    QCOMPARE(piece, expected);
}

void LettersAndPieces::positionsCountFromOne()
{
    QCOMPARE(instr(u"12,75", u","), 3);
    QCOMPARE(instr(u"1275", u","), 0);
    QCOMPARE(instr(u"", u","), 0);
    QCOMPARE(instr(u"1234KG", u"kg"), 0);
    QVERIFY(instr(u"Label2", u"Label") > 0);
    for (const auto* name : {u"TxtLbl", u"NakitLbl", u"Haklbl", u"GünLbl"}) QCOMPARE(instr(name, u"Label"), 0);
}

void LettersAndPieces::onlyBlanksAreTrimmed()
{
    QCOMPARE(trimBlanks(u" Boşluk "), u"Boşluk"_s);
    QCOMPARE(trimBlanks(u"\t5\r"), u"\t5\r"_s);
    QCOMPARE(trimBlanks(u" Müşteri Seçin"), u"Müşteri Seçin"_s);
    QCOMPARE(trimBlanks(u"   "), QString());
}

void LettersAndPieces::replacementsAreMadeInOnePass_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("all occurrences") << u"1kgkg2"_s << u"12"_s;
    QTest::newRow("letter case counts") << u"1234KG"_s << u"1234KG"_s;
    QTest::newRow("what comes together stays") << u"kkgg"_s << u"kg"_s;
    QTest::newRow("nothing to replace") << u"1234"_s << u"1234"_s;
    QTest::newRow("empty") << QString() << QString();
}

void LettersAndPieces::replacementsAreMadeInOnePass()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(base::replace(text, u"kg", u""), expected);
}

QTEST_APPLESS_MAIN(LettersAndPieces)
#include "letters_and_pieces.moc"
