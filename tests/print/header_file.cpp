#include "tests/print/printed_documents.h"
#include "tests/support/columns.h"
#include "tests/support/qt_files.h"

#include "base/error.h"
#include "print/header_file.h"

using namespace Qt::StringLiterals;

/// The mill's own lines come from a text file that people edit.
class HeaderFile : public QObject {
    Q_OBJECT

    static QStringList itemsOf(const QByteArray& content, const QString& name = "Presva.Txt")
    {
        QTemporaryDir folder;
        putFile(folder.filePath(name), content);
        return print::headerItems(folder.path());
    }

private slots:
    void commasAndLineEndsOutsideQuotesEndItems_data()
    {
        addColumns<QByteArray, QStringList>("content", "items");
        QTest::newRow("a line") << QByteArray("Ya\xF0 Fabrikas\xFD\r\n") << QStringList{"Yağ Fabrikası"};
        QTest::newRow("a comma ends an item") << QByteArray("Ad, \xDE"
                                                            "ehir\r\n")
                                              << QStringList{"Ad", "Şehir"};
        QTest::newRow("quotes keep the comma") << QByteArray("\"Ad, Kent\"\r\n") << QStringList{"Ad, Kent"};
        QTest::newRow("an empty line prints nothing") << QByteArray("a\r\n\r\nb\r\n") << QStringList{"a", "b"};
        QTest::newRow("empty items print nothing") << QByteArray(",a,,\"\"\r\n") << QStringList{"a"};
        QTest::newRow("no line end") << QByteArray("a") << QStringList{"a"};
        QTest::newRow("line ends of other systems") << QByteArray("a\nb\rc") << QStringList{"a", "b", "c"};
        QTest::newRow("empty file") << QByteArray() << QStringList{};
        QTest::newRow("UTF-8 with a mark") << QByteArray("\xEF\xBB\xBFYa\xC4\x9F") << QStringList{"Yağ"};
        QTest::newRow("UTF-8 without a mark") << QByteArray("Ya\xC4\x9F") << QStringList{"Yağ"};
        QTest::newRow("UTF-16") << QByteArray("\xFF\xFEY\0a\0\x1F\x01", 8) << QStringList{"Yağ"};
        QTest::newRow("end of file byte") << QByteArray("a\x1A"
                                                        "b")
                                          << QStringList{"a"};
    }
    void commasAndLineEndsOutsideQuotesEndItems()
    {
        QFETCH(QByteArray, content);
        QTEST(itemsOf(content), "items");
    }

    void theFileIsFoundInAnyLetterCase()
    {
        QCOMPARE(itemsOf("a", "presva.txt"), QStringList{"a"});
        QCOMPARE(itemsOf("a", "PRESVA.TXT"), QStringList{"a"});
    }

    void withoutTheFileThereAreNoItems()
    {
        QTemporaryDir folder;
        QCOMPARE(print::headerItems(folder.path()), QStringList{});
        QVERIFY(QDir(folder.path()).mkdir("Presva.Txt"));
        QCOMPARE(print::headerItems(folder.path()), QStringList{});
    }

#ifdef __linux__
    void aFileThatCannotBeReadIsNamed()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath("Presva.Txt");
        QVERIFY(QFile::link("/proc/self/mem", path)); // there is nothing at its beginning that can be read
        try {
            print::headerItems(folder.path());
            QFAIL("nothing was said");
        } catch (const base::RuntimeError& error) {
            QCOMPARE(error.number(), base::errors::fileNotFound);
            QVERIFY2(error.text().startsWith(u"“%1” okunamıyor ("_s.arg(path)), qPrintable(error.text()));
        }
    }
#endif
};

PRINT_TEST_MAIN(HeaderFile)
#include "header_file.moc"
