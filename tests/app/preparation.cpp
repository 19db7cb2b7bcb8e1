#include "app/preparation.h"

#include <QEventLoop>
#include <QtTest>
#include <optional>

using app::Preparation;

namespace {

/// A preparation that notes what it did.
struct Noted {
    Preparation preparation{[this] { return !acting; }};
    bool acting = false;
    QString done;

    Preparation::Work work(QChar name, int parts)
    {
        return [this, name, parts]() mutable {
            done += name;
            return --parts == 0;
        };
    }
};

} // namespace

class PreparationTest : public QObject {
    Q_OBJECT

    std::optional<Noted> noted;

private slots:
    void init() { noted.emplace(); }
    void cleanup() { noted.reset(); }

    void partsRunInOrderUntilTheirWorkIsDone()
    {
        noted->preparation.add(noted->work(u'a', 3));
        noted->preparation.add(noted->work(u'b', 1));
        noted->preparation.addForLater(noted->work(u'c', 2));
        noted->preparation.begin();
        QTRY_VERIFY(noted->preparation.isDone());
        QCOMPARE(noted->done, "aaabcc");
    }

    void onlyTheFirstPartRunsAtOnce()
    {
        noted->preparation.add(noted->work(u'a', 3));
        noted->preparation.begin();
        QCOMPARE(noted->done, "a");
        QTRY_COMPARE(noted->done, "aaa");
    }

    void workForLaterWaitsUntilNothingIsTouched()
    {
        QElapsedTimer rest;
        qint64 rested = 0;
        noted->preparation.add(noted->work(u'a', 2));
        noted->preparation.addForLater([&] {
            rested = rest.elapsed();
            return true;
        });
        rest.start();
        noted->preparation.begin();
        for (int i = 0; i < 50 && !noted->preparation.isDone(); ++i) {
            rest.start();
            noted->preparation.touched();
            QTest::qWait(10);
        }
        QTRY_VERIFY(noted->preparation.isDone());
        QVERIFY2(rested >= 300, qPrintable(QString::number(rested)));
        QCOMPARE(noted->done, "aa");
    }

    void nothingRunsDuringAnActionAndTheNextPartAfterIt()
    {
        noted->acting = true;
        noted->preparation.add([&, parts = noted->work(u'a', 2)]() mutable {
            noted->acting = true; // an action begins before the next part
            return parts();
        });
        noted->preparation.begin();
        QTest::qWait(50);
        QCOMPARE(noted->done, "");
        noted->acting = false;
        noted->preparation.goOn();
        QTRY_COMPARE(noted->done, "a");
        QTest::qWait(50);
        QCOMPARE(noted->done, "a");
        noted->acting = false;
        noted->preparation.goOn();
        QTRY_VERIFY(noted->preparation.isDone());
        QCOMPARE(noted->done, "aa");
    }

    void whatAPartThrowsEndsItsWorkAndNoOther()
    {
        noted->preparation.add([]() -> bool { throw std::bad_alloc(); });
        noted->preparation.add(noted->work(u'b', 2));
        QVERIFY_THROWS_EXCEPTION(std::bad_alloc, noted->preparation.begin());
        QTRY_COMPARE(noted->done, "bb");
        QVERIFY(noted->preparation.isDone());
    }

    void messageOfAPartHoldsTheOthersBack()
    {
        QEventLoop message;
        noted->preparation.add([&] {
            noted->done += u'(';
            QTimer::singleShot(50, &message, &QEventLoop::quit);
            message.exec();
            noted->done += u')';
            return true;
        });
        noted->preparation.add(noted->work(u'b', 1));
        noted->preparation.begin();
        QTRY_COMPARE(noted->done, "()b");
    }
};

QTEST_GUILESS_MAIN(PreparationTest)
#include "preparation.moc"
