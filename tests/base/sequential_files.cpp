#include "base/code_page.h"
#include "base/sequential.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"
#include "tests/support/qt_files.h"
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace base;
using namespace Qt::StringLiterals;

/// Items and lines of the text files in the program's directory, and finding those files.
class SequentialFiles : public QObject {
    Q_OBJECT

private slots:
    void linesAreWrittenTheSameUnderAllSettings_data()
    {
        addColumns<QString, QString>("line", "expected");
        QTest::newRow("shown") << numberAndFlagLine(1440, true) << u"1440,#TRUE#\r\n"_s;
        QTest::newRow("seven digits") << numberAndFlagLine(1739.9055F, true) << u"1739.906,#TRUE#\r\n"_s;
        QTest::newRow("hidden") << numberAndFlagLine(1200.5F, false) << u"1200.5,#FALSE#\r\n"_s;
        QTest::newRow("zero") << numberAndFlagLine(0, false) << u"0,#FALSE#\r\n"_s;
        QTest::newRow("below one") << numberAndFlagLine(0.5F, true) << u".5,#TRUE#\r\n"_s;
        QTest::newRow("below zero") << numberAndFlagLine(-0.5F, true) << u"-.5,#TRUE#\r\n"_s;
    }

    void linesAreWrittenTheSameUnderAllSettings()
    {
        QFETCH(QString, line);
        QTEST(line, "expected");
    }

    void commasAndLineEndsOutsideQuotesEndItems_data()
    {
        addColumns<QString, QStringList>("content", "items");
        QTest::newRow("one line") << u"Yağ Fabrikası\r\n"_s << QStringList{u"Yağ Fabrikası"_s};
        QTest::newRow("comma divides") << u"Ad, Şehir\r\n"_s << QStringList{u"Ad"_s, u"Şehir"_s};
        QTest::newRow("quotes keep a comma") << u"\"Ad, Şehir\"\r\n"_s << QStringList{u"Ad, Şehir"_s};
        QTest::newRow("empty line is an item") << u"a\r\n\r\nb\r\n"_s << QStringList{u"a"_s, u""_s, u"b"_s};
        QTest::newRow("no line end") << u"a"_s << QStringList{u"a"_s};
        QTest::newRow("empty file") << QString() << QStringList{};
        QTest::newRow("trailing comma") << u"a,b,\r\n"_s << QStringList{u"a"_s, u"b"_s, u""_s};
        QTest::newRow("leading comma") << u",a\r\n"_s << QStringList{u""_s, u"a"_s};
        QTest::newRow("trailing blanks stay") << u"  a  \r\n"_s << QStringList{u"a  "_s};
        QTest::newRow("inner quotes stay") << u"x \"y\" z\r\n"_s << QStringList{u"x \"y\" z"_s};
        QTest::newRow("text behind quotes is lost") << u"\"a\" b,c\r\n"_s << QStringList{u"a"_s, u"c"_s};
        QTest::newRow("line end closes quotes") << u"\"a\r\nb\"\r\n"_s << QStringList{u"a"_s, u"b\""_s};
        QTest::newRow("empty quotes") << u"\"\"\r\n"_s << QStringList{u""_s};
        QTest::newRow("end-of-file byte") << u"a\x1A"
                                             "b"_s
                                          << QStringList{u"a"_s};
        QTest::newRow("file form of nothing") << u"#NULL#\r\n"_s << QStringList{u"#NULL#"_s};
        QTest::newRow("carriage returns alone") << u"a\rb\r"_s << QStringList{u"a"_s, u"b"_s};
        QTest::newRow("line feeds alone") << u"a\nb\n"_s << QStringList{u"a"_s, u"b"_s};
        QTest::newRow("only blanks") << u"   "_s << QStringList{u""_s};
    }

    void commasAndLineEndsOutsideQuotesEndItems()
    {
        QFETCH(QString, content);
        SeqReader reader(content);
        QStringList read;
        while (!reader.atEnd()) read += reader.next();
        QTEST(read, "items");
    }

    void readingPastTheEndIsAnError()
    {
        SeqReader reader(u"a\r\n"_s);
        QCOMPARE(reader.next(), u"a"_s);
        QVERIFY(reader.atEnd());
        QCOMPARE(outcomeOf([&] { return reader.next(); }), u"E62"_s);
    }

    void damagedLayoutLinesAreRefused_data()
    {
        addColumns<QString, QString>("line", "expected");
        QTest::newRow("plain") << u"1440,#TRUE#"_s << u"1440 shown"_s;
        QTest::newRow("hidden") << u"1200,#FALSE#"_s << u"1200 hidden"_s;
        QTest::newRow("blank before the flag") << u"1440, #TRUE#"_s << u"1440 shown"_s;
        QTest::newRow("small letters") << u"1440,#true#"_s << u"1440 shown"_s;
        QTest::newRow("no zero before the stop") << u".5,#TRUE#"_s << u"0.5 shown"_s;
        QTest::newRow("zero before the stop") << u"0.5,#TRUE#"_s << u"0.5 shown"_s;
        QTest::newRow("half a twip") << u"1200.5,#TRUE#"_s << u"1200.5 shown"_s;
        QTest::newRow("exponent") << u"1E+03,#TRUE#"_s << u"1000 shown"_s;
        QTest::newRow("decimal comma") << u"1440,5,#TRUE#"_s << u"refused"_s;
        QTest::newRow("letters") << u"abc,#TRUE#"_s << u"refused"_s;
        QTest::newRow("number alone") << u"1440"_s << u"refused"_s;
        QTest::newRow("empty") << QString() << u"refused"_s;
        QTest::newRow("number as flag") << u"1440,1"_s << u"refused"_s;
        QTest::newRow("negative") << u"-5,#TRUE#"_s << u"refused"_s;
        QTest::newRow("no number") << u",#TRUE#"_s << u"refused"_s;
        QTest::newRow("infinite") << u"inf,#TRUE#"_s << u"refused"_s;
        QTest::newRow("too large") << u"1E999,#TRUE#"_s << u"refused"_s;
        QTest::newRow("two signs") << u"+-5,#TRUE#"_s << u"refused"_s;
    }

    void damagedLayoutLinesAreRefused()
    {
        QFETCH(QString, line);
        const auto read = parseNumberAndFlag(line);
        const QString result =
            read ? QString::number(read->number) + (read->flag ? " shown"_L1 : " hidden"_L1) : u"refused"_s;
        QTEST(result, "expected");
    }

    void writtenWidthsAreReadBack()
    {
        for (const float width : {0.0F, 0.5F, 975.5F, 1440.0F, 1739.906F, 123456.0F, 2e8F}) {
            const QString line = numberAndFlagLine(width, true);
            const auto read = parseNumberAndFlag(seqLines(line).value(0));
            QVERIFY2(read && read->flag, qPrintable(line));
            QCOMPARE(static_cast<float>(read->number), width);
        }
    }

    void linesEndInAnyStyle()
    {
        QCOMPARE(seqLines(u"a\r\nb\rc\nd"), (QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
        QCOMPARE(seqLines(u"a\r\n\r\nb\r\n"), (QStringList{u"a"_s, u""_s, u"b"_s}));
        QCOMPARE(seqLines(u"a\r\n\x1A junk\r\n"), QStringList{u"a"_s});
        QCOMPARE(seqLines(u""), QStringList{});
    }

    void filesAreFoundIgnoringLetterCase_data()
    {
        addColumns<QString, QString, bool>("onDisk", "wanted", "found");
        QTest::newRow("same") << u"Presva.Txt"_s << u"Presva.Txt"_s << true;
        QTest::newRow("small letters on disk") << u"presva.txt"_s << u"Presva.Txt"_s << true;
        QTest::newRow("capitals on disk") << u"YAG.MDB"_s << u"Yag.mdb"_s << true;
        QTest::newRow("leading separator") << u"Grid0.txt"_s << u"\\Grid0.txt"_s << true;
        QTest::newRow("longer name") << u"Grid0.txt.bak"_s << u"Grid0.txt"_s << false;
        QTest::newRow("shorter name") << u"Grid0"_s << u"Grid0.txt"_s << false;
        QTest::newRow("a stop is a stop") << u"Grid0xtxt"_s << u"Grid0.txt"_s << false;
        QTest::newRow("folder") << u"Grid0.txt/"_s << u"Grid0.txt"_s << false;
        QTest::newRow("empty name") << u"Grid0.txt"_s << u"\\"_s << false;
    }

    void filesAreFoundIgnoringLetterCase()
    {
        QFETCH(QString, onDisk);
        QFETCH(QString, wanted);
        QFETCH(bool, found);
        const QTemporaryDir folder;
        if (onDisk.endsWith(u'/'))
            QVERIFY(QDir(folder.path()).mkdir(onDisk.chopped(1)));
        else
            putFile(folder.filePath(onDisk));
        const auto path = findFile(folder.path(), wanted);
        QCOMPARE(path.value_or(QString()), found ? folder.filePath(onDisk) : QString());
    }

    void exactNameIsPreferred()
    {
        const QTemporaryDir folder;
        for (const auto& name : {u"PRESVA.TXT"_s, u"Presva.Txt"_s, u"presva.txt"_s}) putFile(folder.filePath(name));
        // Where these are one name, there is one file, which was called by the first of them.
        const QString found = tellsLetterCasesApart(folder.path()) ? u"Presva.Txt"_s : u"PRESVA.TXT"_s;
        QCOMPARE(findFile(folder.path(), u"Presva.Txt").value_or(QString()), folder.filePath(found));
    }
};

QTEST_APPLESS_MAIN(SequentialFiles)
#include "sequential_files.moc"
