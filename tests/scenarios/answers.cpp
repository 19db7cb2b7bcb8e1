#include "counter.h"
#include "tests/support/columns.h"

/// A scenario says beforehand how it answers a message box: no box may be left over, and no answer.
class Answers : public QObject {
    Q_OBJECT

private slots:
    void boxesAndAnswersMustPairOff_data()
    {
        // no fault: the scenario passes
        addColumns<QString, QString>("scenario", "fault");
        // What is no weight is reported, in a box with one button.
        const QString box = "menu Bağlantı\nscale \"1234KG\\r\"\n";
        QTest::newRow("a box and its answer") << "answer Tamam\n" + box << QString();
        QTest::newRow("an answer without a box") << "# A comment\nanswer Evet\n"
                                                 << "scenario.txt:2: answer Evet: no message box came to be answered";
        QTest::newRow("two answers for one box") << "answer Tamam\n" + box + "answer Tamam\n"
                                                 << "scenario.txt:4: answer Tamam: no message box came to be answered";
        QTest::newRow("an answer that comes too late")
            << box + "answer Tamam\n"
            << "scenario.txt:2: scale 1234KG\\r: a message box that nobody answers: ";
        QTest::newRow("an answer that its box does not have")
            << "answer Evet\n" + box << "scenario.txt:3: scale 1234KG\\r: the box has no button 'Evet' but Tamam";
    }

    void boxesAndAnswersMustPairOff()
    {
        QFETCH(QString, scenario);
        QFETCH(QString, fault);
        const Counter counter;
        QVERIFY(counter.ready());
        const QString said = counter.play(scenario, {"--print-to", counter.path("fis")});
        if (fault.isEmpty())
            QCOMPARE(said, QString());
        else
            QVERIFY2(said.contains(fault), qPrintable(said));
    }
};

QTEST_GUILESS_MAIN(Answers)
#include "answers.moc"
