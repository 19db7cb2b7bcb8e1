#include "app/search_list.h"
#include <QAccessible>
#include <QScrollBar>
#include <QtTest>

using namespace Qt::StringLiterals;

using namespace app;

namespace {

struct Filled {
    explicit Filled(int rows)
    {
        list.setRowHeight(50);
        list.resize(400, 306);
        list.setRows([this] { return count; },
                     [this](int row) {
                         asked << row;
                         return u"Ali %1"_s.arg(row);
                     });
        count = rows;
        list.refill();
        window.resize(500, 500);
        window.show();
    }

    QPoint at(int y) { return {100, y}; }
    /// The finger, which is down, moves there.
    void drag(int y)
    {
        QWidget* surface = list.viewport();
        QMouseEvent move(QEvent::MouseMove, at(y), surface->mapToGlobal(at(y)), Qt::NoButton, Qt::LeftButton, {});
        QApplication::sendEvent(surface, &move);
    }

    QWidget window;
    SearchList list{&window};
    int count = 0;
    QList<int> asked;
};

} // namespace

class SearchListTest : public QObject {
    Q_OBJECT

private slots:
    void tapPicksTheRowUnderIt()
    {
        Filled filled(10);
        QString picked;
        filled.list.onClick([&] { picked = filled.list.text(); });
        QTest::mouseClick(filled.list.viewport(), Qt::LeftButton, Qt::NoModifier, filled.at(125));
        QCOMPARE(picked, u"Ali 2"_s);
    }

    void dragScrollsAndPicksNothing()
    {
        Filled filled(100);
        int clicks = 0;
        filled.list.onClick([&] { ++clicks; });
        QWidget* surface = filled.list.viewport();
        QTest::mousePress(surface, Qt::LeftButton, Qt::NoModifier, filled.at(250));
        filled.drag(200);
        filled.drag(100);
        QTRY_COMPARE(filled.list.verticalScrollBar()->value(), 150);
        // A finger that rests before it lifts does not fling.
        QTest::qWait(120);
        QTest::mouseRelease(surface, Qt::LeftButton, Qt::NoModifier, filled.at(100));
        QTest::qWait(50);
        QCOMPARE(filled.list.verticalScrollBar()->value(), 150);
        QCOMPARE(clicks, 0);
        QTest::mouseClick(surface, Qt::LeftButton, Qt::NoModifier, filled.at(10));
        QCOMPARE(filled.list.text(), u"Ali 3"_s);
    }

    void quickDragGlidesOn()
    {
        Filled filled(1000);
        QWidget* surface = filled.list.viewport();
        QTest::mousePress(surface, Qt::LeftButton, Qt::NoModifier, filled.at(280));
        for (int y = 260; y >= 60; y -= 40) {
            QTest::qWait(8);
            filled.drag(y);
        }
        const int lifted = filled.list.verticalScrollBar()->value();
        QTest::mouseRelease(surface, Qt::LeftButton, Qt::NoModifier, filled.at(60));
        QTRY_VERIFY(filled.list.verticalScrollBar()->value() > lifted + 20);
        // Touching a gliding list stops it and picks nothing.
        int clicks = 0;
        filled.list.onClick([&] { ++clicks; });
        QTest::mouseClick(surface, Qt::LeftButton, Qt::NoModifier, filled.at(100));
        QCOMPARE(clicks, 0);
    }

    void onlyShownRowsAreAskedFor()
    {
        Filled filled(100000);
        filled.asked.clear();
        filled.list.refill();
        filled.list.grab();
        QVERIFY2(filled.asked.size() <= 8, qPrintable(QString::number(filled.asked.size())));
        filled.list.verticalScrollBar()->setValue(filled.list.verticalScrollBar()->maximum());
        filled.asked.clear();
        filled.list.grab();
        QCOMPARE(filled.asked.last(), 99999);
        QVERIFY(filled.asked.size() <= 8);
    }

    void refillGoesBackToTheTop()
    {
        Filled filled(100);
        filled.list.verticalScrollBar()->setValue(500);
        filled.list.refill();
        QCOMPARE(filled.list.verticalScrollBar()->value(), 0);
    }

    void refillInsideTheClickIsFine()
    {
        Filled filled(10);
        filled.list.onClick([&] {
            filled.count = 1;
            filled.list.refill();
            filled.list.setVisible(false);
        });
        QTest::mouseClick(filled.list.viewport(), Qt::LeftButton, Qt::NoModifier, filled.at(225));
        QCOMPARE(filled.list.text(), u"Ali 4"_s);
        QCOMPARE(filled.list.rowCount(), 1);
        QVERIFY(!filled.list.visible());
    }

    void rowThatIsNotThereCannotBePicked()
    {
        Filled filled(2);
        int clicks = 0;
        filled.list.onClick([&] { ++clicks; });
        QTest::mouseClick(filled.list.viewport(), Qt::LeftButton, Qt::NoModifier, filled.at(225));
        filled.list.pick(2);
        filled.list.pick(-1);
        QCOMPARE(clicks, 0);
    }

    void listIsNoTallerThanItsRows()
    {
        Filled filled(2);
        filled.list.move(0, 20);
        filled.list.setRoom(300, 400);
        QCOMPARE(filled.list.viewport()->height(), 100);
        filled.count = 100;
        filled.list.refill();
        QCOMPARE(filled.list.geometry().bottom(), 399);
    }

    void listEndsAboveTheLineGiven()
    {
        Filled filled(100);
        filled.list.setRoom(300, 400);
        filled.list.setTop(twips::fromPixels(150));
        QCOMPARE(filled.list.geometry().bottom(), 399);
    }

    void rowsAreTallEnoughForAFinger()
    {
        Filled filled(10);
        filled.asked.clear();
        for (int y = 5; y < 300; y += 10)
            QTest::mouseClick(filled.list.viewport(), Qt::LeftButton, Qt::NoModifier, filled.at(y));
        QCOMPARE(filled.asked.count(0), 5); // 50 pixels of them belong to the first row
    }

    void assistiveToolsReadAndPickRows()
    {
        Filled filled(100000);
        QString picked;
        filled.list.onClick([&] { picked = filled.list.text(); });
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&filled.list);
        QVERIFY(list);
        QCOMPARE(list->role(), QAccessible::List);
        QCOMPARE(list->childCount(), 100000);
        QAccessibleInterface* row = list->child(3);
        QCOMPARE(row->role(), QAccessible::ListItem);
        QCOMPARE(row->text(QAccessible::Name), u"Ali 3"_s);
        QCOMPARE(list->indexOfChild(row), 3);
        QCOMPARE(row->parent(), list);
        QVERIFY(!row->state().offscreen);
        QVERIFY(list->child(99999)->state().offscreen);
        const QPoint inside = row->rect().center();
        QCOMPARE(list->childAt(inside.x(), inside.y()), row);
        row->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(picked, u"Ali 3"_s);
    }

    void rowOfAnEarlierFillingIsInvalid()
    {
        Filled filled(10);
        QAccessibleInterface* row = QAccessible::queryAccessibleInterface(&filled.list)->child(7);
        QVERIFY(row->isValid());
        filled.count = 3;
        filled.list.refill();
        QVERIFY(!row->isValid());
        QCOMPARE(row->text(QAccessible::Name), QString());
    }
};

QTEST_MAIN(SearchListTest)
#include "search_list.moc"
