#include "app/command_button.h"
#include "app/control_frame.h"
#include "app/date_picker.h"
#include "app/drop_down_list.h"
#include "app/field_label.h"
#include "app/key_label.h"
#include "app/menu_item.h"
#include "base/error.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"
#include <QAccessible>
#include <QMenu>
#include <QMouseEvent>
#include <QtTest>
#include <optional>

using namespace app;

namespace {

/// A window that runs actions as the screen does: it notes the error and goes on.
class Host : public QWidget, public ActionHost {
public:
    void run(const Action& action, const QString&) override
    {
        ++actions;
        if (const int error = errorOf(action)) errors << error;
    }

    int actions = 0;
    QList<int> errors;
};

void send(QWidget* control, QEvent::Type type, Qt::MouseButtons held)
{
    const QPointF at = control->rect().center();
    QMouseEvent event(type, at, control->mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
    QCoreApplication::sendEvent(control, &event);
}

} // namespace

const QStringList containers = {u" 5 Litrelik Kap"_s, u"10 Litrelik Kap"_s, u"15 Litrelik Kap"_s, u"20 Litrelik Kap"_s};

class Controls : public QObject {
    Q_OBJECT

    std::optional<Host> host;

private slots:
    void init() { host.emplace(); }
    void cleanup() { host.reset(); }

    void storedColourIsPainted_data()
    {
        addColumns<quint32, QColor>("stored", "shown");
        QTest::newRow("cyan") << quint32(0xFFFF00) << QColor(0, 255, 255);
        QTest::newRow("yellow") << quint32(0x00FFFF) << QColor(255, 255, 0);
        QTest::newRow("white") << quint32(0xFFFFFF) << QColor(255, 255, 255);
        QTest::newRow("green") << quint32(65280) << QColor(0, 255, 0);
        QTest::newRow("blue") << quint32(0xFF0000) << QColor(0, 0, 255);
        QTest::newRow("red") << quint32(0x0000FF) << QColor(255, 0, 0);
    }

    void storedColourIsPainted()
    {
        QFETCH(quint32, stored);
        QTEST(painted(stored, QPalette()), "shown");
        FieldLabel label(nullptr, FieldLabel::Kind::figure, u"Yüzde"_s);
        label.resize(200, 80);
        label.setBackColor(stored);
        QCOMPARE(label.backColor(), stored);
        QTEST(label.grab().toImage().pixelColor(100, 40), "shown");
    }

    void systemColourKeepsItsNumber()
    {
        ControlFrame frame(nullptr, ControlFrame::Look::station);
        frame.setBackColor(colour::green);
        frame.setBackColor(colour::buttonFace);
        QCOMPARE(frame.backColor(), Colour(0x8000000F));
        QPalette palette;
        palette.setColor(QPalette::Button, QColor(1, 2, 3));
        QCOMPARE(painted(colour::buttonFace, palette), QColor(1, 2, 3));
    }

    void inkIsReadableOnEveryColour()
    {
        for (const Colour ground : {colour::cyan, colour::yellow, colour::white, colour::green, colour::buttonFace}) {
            const QColor shown = painted(ground, QPalette());
            QVERIFY2(contrast(inkOn(shown), shown) >= 4.5, qPrintable(shown.name()));
        }
    }

    void changeRunsInsideTheAssignment()
    {
        CaptionLabel label(nullptr, u"0"_s);
        QString seen;
        label.onChange([&] { seen = label.caption(); });
        label.setCaption(u"12"_s);
        QCOMPARE(seen, u"12"_s);
    }

    void sameCaptionChangesNothing()
    {
        CaptionLabel label(nullptr, u"0"_s);
        int changes = 0;
        label.onChange([&] { ++changes; });
        label.setCaption(u"0"_s);
        QCOMPARE(changes, 0);
    }

    void errorOfAChangeComesOutOfTheAssignment()
    {
        CaptionLabel label(&*host);
        label.onChange([] { throw base::runtimeError(base::errors::typeMismatch); });
        QCOMPARE(errorOf([&] { label.setCaption(u"abc"_s); }), 13);
        QCOMPARE(label.caption(), u"abc"_s);
        QVERIFY(host->errors.isEmpty());
    }

    void captionGivenAtCreationFiresNothing()
    {
        CaptionLabel label(nullptr, u"Müşteri Seçin"_s);
        int changes = 0;
        label.onChange([&] { ++changes; });
        QCOMPARE(label.caption(), u"Müşteri Seçin"_s);
        QCOMPARE(changes, 0);
    }

    void captionIsPlainText()
    {
        const auto picture = [](const QString& caption) {
            CaptionLabel label(nullptr, caption);
            label.resize(300, 50);
            return label.grab().toImage();
        };
        // A mnemonic would swallow the ampersand, rich text the tag: then these pairs would look the same.
        QVERIFY(picture(u"Ali & Veli"_s) != picture(u"Ali  Veli"_s));
        QVERIFY(picture(u"<b>Ali</b>"_s) != picture(u"Ali"_s));
        host.emplace();
        CaptionLabel label(&*host, u"&Ali"_s);
        QVERIFY(label.shortcut().isEmpty());
    }

    void autoSizedLabelHasItsNewWidthInItsChange()
    {
        CaptionLabel label(nullptr, u"0 Kap"_s);
        label.setAutoSize(true);
        const int before = label.Width();
        int inside = 0;
        label.onChange([&] { inside = label.Width(); });
        label.setCaption(u"12345 Kap"_s);
        QVERIFY(inside > before);
        QCOMPARE(inside, label.Width());
    }

    void rulesMaySetTheirOwnCaption()
    {
        CaptionLabel label(nullptr, u"0"_s);
        int runs = 0;
        label.onChange([&] {
            ++runs;
            if (label.caption().isEmpty()) label.setCaption(u"0"_s);
        });
        label.setCaption(QString());
        QCOMPARE(label.caption(), u"0"_s);
        QCOMPARE(runs, 2);
    }

    void secondPressOfADoubleTapCounts()
    {
        KeyLabel key(&*host, u"4"_s);
        int clicks = 0;
        key.onClick([&] { ++clicks; });
        send(&key, QEvent::MouseButtonPress, Qt::LeftButton);
        send(&key, QEvent::MouseButtonRelease, Qt::NoButton);
        send(&key, QEvent::MouseButtonDblClick, Qt::LeftButton);
        send(&key, QEvent::MouseButtonRelease, Qt::NoButton);
        QCOMPARE(clicks, 2);
    }

    void pressThatLeavesTheLabelDoesNotCount()
    {
        KeyLabel key(&*host, u"4"_s);
        int clicks = 0;
        key.onClick([&] { ++clicks; });
        QTest::mousePress(&key, Qt::LeftButton);
        QTest::mouseRelease(&key, Qt::LeftButton, Qt::NoModifier, QPoint(-50, -50));
        QCOMPARE(clicks, 0);
    }

    void clickIsAnActionOfTheScreen()
    {
        ControlFrame frame(&*host, ControlFrame::Look::station);
        CaptionLabel label(&frame);
        label.onClick([] { throw base::runtimeError(base::errors::noCurrentRecord); });
        QTest::mouseClick(&label, Qt::LeftButton);
        QCOMPARE(host->actions, 1);
        QCOMPARE(host->errors, QList<int>{3021});
    }

    void labelsNeverTakeTheFocus()
    {
        CommandButton button(&*host, u"Fiş Yaz"_s);
        KeyLabel key(&*host, u"4"_s);
        FieldLabel field(&*host, FieldLabel::Kind::figure, u"Yüzde"_s);
        host->show();
        button.setFocus();
        QTest::mouseClick(&key, Qt::LeftButton);
        QTest::mouseClick(&field, Qt::LeftButton);
        QCOMPARE(host->focusWidget(), &button);
    }

    void assistiveToolsFindAButton()
    {
        FieldLabel field(&*host, FieldLabel::Kind::figure, u" Yüzde %"_s, u"12"_s);
        CommandButton exit(&*host, {}, CommandButton::Picture::exit);
        exit.setSpokenName(u"Çıkış"_s);
        int clicks = 0;
        field.onClick([&] { ++clicks; });

        QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(&field);
        QVERIFY(spoken);
        QCOMPARE(spoken->role(), QAccessible::Button);
        QCOMPARE(spoken->text(QAccessible::Name), u"Yüzde %: 12"_s);
        field.setCaption(u"15"_s);
        QCOMPARE(spoken->text(QAccessible::Name), u"Yüzde %: 15"_s);
        spoken->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTRY_COMPARE(clicks, 1); // the press is shown for a moment first
        QCOMPARE(QAccessible::queryAccessibleInterface(&exit)->text(QAccessible::Name), u"Çıkış"_s);
    }

    void twoFingersTypeAtOnce()
    {
        host->resize(200, 100);
        KeyLabel one(&*host, u"1"_s), two(&*host, u"2"_s);
        one.setGeometry(0, 0, 60, 60);
        two.setGeometry(100, 0, 60, 60);
        QString typed;
        one.onClick([&] { typed += u'1'; });
        two.onClick([&] { typed += u'2'; });
        host->show();
        QVERIFY(QTest::qWaitForWindowExposed(&*host));

        QPointingDevice* screen = QTest::createTouchDevice();
        QTest::touchEvent(&*host, screen).press(0, QPoint(30, 30), &*host);
        QTest::touchEvent(&*host, screen).stationary(0).press(1, QPoint(130, 30), &*host);
        QTest::touchEvent(&*host, screen).release(0, QPoint(30, 30), &*host).stationary(1);
        QTest::touchEvent(&*host, screen).release(1, QPoint(130, 30), &*host);
        QCOMPARE(typed, u"12"_s);
    }

    void liftedFingerEndsTheHighlight()
    {
        KeyLabel key(&*host, u"1"_s);
        key.resize(60, 60);
        QStringList seen;
        key.onMouseMove([&] { seen << u"over"_s; });
        key.onClick([&] { seen << u"click"_s; });
        key.onFingerUp([&] { seen << u"up"_s; });
        host->show();
        QVERIFY(QTest::qWaitForWindowExposed(&*host));
        QPointingDevice* screen = QTest::createTouchDevice();
        QTest::touchEvent(&*host, screen).press(0, QPoint(30, 30), &*host);
        QTest::touchEvent(&*host, screen).release(0, QPoint(30, 30), &*host);
        QCOMPARE(seen, (QStringList{u"over"_s, u"click"_s, u"up"_s}));
    }

    void mouseReleaseKeepsTheHighlight()
    {
        KeyLabel key(&*host, u"1"_s);
        int lifted = 0;
        key.onFingerUp([&] { ++lifted; });
        QTest::mouseClick(&key, Qt::LeftButton);
        QCOMPARE(lifted, 0);
    }

    void disabledFrameKeepsInputFromItsControls()
    {
        ControlFrame frame(&*host, ControlFrame::Look::station), group(&frame, ControlFrame::Look::group);
        FieldLabel field(&group, FieldLabel::Kind::figure, u"Yüzde"_s);
        CheckButton check(&frame, u"Hak Ediş Yok"_s);
        int clicks = 0;
        field.onClick([&] { ++clicks; });
        field.onMouseMove([&] { ++clicks; });
        check.onClick([&] { ++clicks; });
        frame.onClick([&] { ++clicks; });

        frame.setEnabled(false);
        QTest::mouseMove(&field);
        QTest::mouseClick(&field, Qt::LeftButton);
        QTest::mouseClick(&check, Qt::LeftButton);
        QTest::keyClick(&check, Qt::Key_Space);
        QTest::mouseClick(&frame, Qt::LeftButton);
        QCOMPARE(clicks, 0);
        QVERIFY(!check.value());

        frame.setEnabled(true);
        QTest::mouseClick(&field, Qt::LeftButton);
        QTest::mouseClick(&check, Qt::LeftButton);
        QCOMPARE(clicks, 2);
    }

    void disabledFrameLeavesOwnValuesAlone()
    {
        ControlFrame frame(nullptr, ControlFrame::Look::station);
        CommandButton print(&frame, u"Fiş Yaz"_s), other(&frame);
        other.setEnabled(false);
        print.resize(200, 60);
        const QImage before = print.grab().toImage();
        frame.setEnabled(false);
        QVERIFY(print.enabled());
        QVERIFY(!other.enabled());
        QCOMPARE(print.grab().toImage(), before); // not greyed
        frame.setEnabled(true);
        QVERIFY(print.enabled());
        QVERIFY(!other.enabled());
    }

    void codeChangesControlsOfADisabledFrame()
    {
        ControlFrame frame(nullptr, ControlFrame::Look::station);
        FieldLabel field(&frame, FieldLabel::Kind::figure, u"Yüzde"_s);
        int changes = 0;
        field.onChange([&] { ++changes; });
        frame.setEnabled(false);
        field.setCaption(u"5"_s);
        QCOMPARE(changes, 1);
        QCOMPARE(field.caption(), u"5"_s);
    }

    void hiddenFrameLeavesOwnVisibilityAlone()
    {
        Host host; // never shown, as before the first activation
        ControlFrame frame(&host, ControlFrame::Look::station), group(&frame, ControlFrame::Look::group);
        FieldLabel field(&group, FieldLabel::Kind::figure, u"Yüzde"_s);
        QVERIFY(group.visible());
        group.setVisible(false);
        QVERIFY(!group.visible());
        QVERIFY(field.visible());
        group.setVisible(true);
        frame.setVisible(false);
        QVERIFY(group.visible());
        host.show();
        QVERIFY(!frame.visible());
        QVERIFY(group.visible());
    }

    void frameClickNeedsTheBareFrame()
    {
        ControlFrame frame(&*host, ControlFrame::Look::panel);
        frame.resize(200, 60);
        CaptionLabel count(&frame, u"3 Kap"_s);
        count.setGeometry(0, 0, 80, 60);
        int frameClicks = 0, countClicks = 0;
        frame.onClick([&] { ++frameClicks; });
        count.onClick([&] { ++countClicks; });
        QTest::mouseClick(&frame, Qt::LeftButton, Qt::NoModifier, QPoint(150, 30));
        QTest::mouseClick(&count, Qt::LeftButton);
        QTest::mousePress(&frame, Qt::LeftButton, Qt::NoModifier, QPoint(150, 30));
        QTest::mouseRelease(&frame, Qt::LeftButton, Qt::NoModifier, QPoint(150, 300));
        QCOMPARE(frameClicks, 1);
        QCOMPARE(countClicks, 1);
    }

    void assistivePressIsBlockedToo()
    {
        ControlFrame frame(nullptr, ControlFrame::Look::station);
        CommandButton print(&frame, u"Fiş Yaz"_s);
        int clicks = 0;
        print.onClick([&] { ++clicks; });
        frame.setEnabled(false);
        print.click();
        QCOMPARE(clicks, 0);
    }

    void pressFlipsACheckButtonOnce()
    {
        CheckButton check(&*host);
        QList<bool> values;
        check.onClick([&] { values << check.value(); });
        QTest::mouseClick(&check, Qt::LeftButton);
        QTest::mouseClick(&check, Qt::LeftButton);
        QCOMPARE(values, (QList<bool>{true, false}));
        QCOMPARE(host->actions, 2);
    }

    void onlyOneOptionIsOn()
    {
        OptionButton customers(&*host, u"CARİLER"_s), report(&*host, u"RAPOR"_s);
        customers.showChosen();
        QTest::mouseClick(&report, Qt::LeftButton);
        QVERIFY(report.value());
        QVERIFY(!customers.value());
    }

    void optionThatIsOnAlreadyClicksAgain()
    {
        OptionButton customers(&*host), report(&*host);
        int clicks = 0;
        customers.onClick([&] { ++clicks; });
        customers.showChosen();
        QCOMPARE(clicks, 0);
        QTest::mouseClick(&customers, Qt::LeftButton);
        QCOMPARE(clicks, 1);
        customers.choose(); // by code, as by hand
        QCOMPARE(clicks, 2);
        QVERIFY(customers.value());
    }

    void optionTurnedOffByAnotherDoesNotClick()
    {
        OptionButton customers(&*host), report(&*host);
        customers.showChosen();
        int clicks = 0;
        customers.onClick([&] { ++clicks; });
        report.choose();
        QCOMPARE(clicks, 0);
    }

    void disabledButtonDoesNotClick()
    {
        CommandButton print(&*host, u"Fiş Yaz"_s);
        int clicks = 0;
        print.onClick([&] { ++clicks; });
        print.setEnabled(false);
        QTest::mouseClick(&print, Qt::LeftButton);
        print.click();
        QCOMPARE(clicks, 0);
    }

    void dropDownTakesIndexesOfItsEntries_data()
    {
        addColumns<int, int>("index", "error");
        QTest::newRow("first") << 0 << 0;
        QTest::newRow("last") << 3 << 0;
        QTest::newRow("none") << -1 << 0;
        QTest::newRow("below none") << -2 << 380;
        QTest::newRow("past the last") << 4 << 380;
    }

    void dropDownTakesIndexesOfItsEntries()
    {
        QFETCH(int, index);
        QFETCH(int, error);
        DropDownList list(nullptr, containers);
        list.setListIndex(1);
        QCOMPARE(errorOf([&] { list.setListIndex(index); }), error);
        QCOMPARE(list.listIndex(), error ? 1 : index);
    }

    void dropDownTakesTextsOfItsEntries_data()
    {
        addColumns<QString, int, int>("text", "index", "error");
        QTest::newRow("entry") << u"15 Litrelik Kap"_s << 2 << 0;
        QTest::newRow("entry with its blank") << u" 5 Litrelik Kap"_s << 0 << 0;
        QTest::newRow("entry without its blank") << u"5 Litrelik Kap"_s << 1 << 383;
        QTest::newRow("other case") << u"10 litrelik kap"_s << 1 << 383;
        QTest::newRow("empty") << QString() << 1 << 383;
    }

    void dropDownTakesTextsOfItsEntries()
    {
        QFETCH(QString, text);
        DropDownList list(nullptr, containers);
        list.setListIndex(1);
        QTEST(errorOf([&] { list.setText(text); }), "error");
        QTEST(list.listIndex(), "index");
    }

    void dropDownWithoutChoiceIsEmpty()
    {
        DropDownList list(nullptr, containers);
        QCOMPARE(list.listIndex(), -1);
        QCOMPARE(list.text(), QString());
        list.setListIndex(2);
        list.setListIndex(-1);
        QCOMPARE(list.text(), QString());
    }

    void wheelDoesNotTurnTheDropDown()
    {
        DropDownList list(&*host, containers);
        list.setListIndex(1);
        QWheelEvent turn(QPointF(5, 5), QPointF(5, 5), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                         Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&list, &turn);
        QCOMPARE(list.listIndex(), 1);
    }

    void anotherDayFiresTheChange()
    {
        DatePicker day(&*host, u"İlk gün"_s, base::Regional::turkish());
        day.setValue(QDate(2024, 11, 5));
        QList<QDate> seen;
        day.onChange([&] {
            seen << day.value();
            throw base::runtimeError(base::errors::querySyntax);
        });
        QCOMPARE(errorOf([&] { day.setValue(QDate(2024, 11, 6)); }), 3075);
        QCOMPARE(seen, QList<QDate>{QDate(2024, 11, 6)});
    }

    void dayIsShownAsTheUserWritesDates_data()
    {
        addColumns<bool, QString>("english", "shown");
        QTest::newRow("Turkish") << false << u"06.11.2024"_s;
        QTest::newRow("English") << true << u"11/6/2024"_s;
    }

    void dayIsShownAsTheUserWritesDates()
    {
        QFETCH(bool, english);
        DatePicker day(nullptr, {}, english ? base::Regional::english() : base::Regional::turkish());
        day.setValue(QDate(2024, 11, 6));
        QTEST(day.caption().section(u' ', 0, 0), "shown");
    }

    void sameDayFiresNothing()
    {
        DatePicker day(nullptr, u"İlk gün"_s, base::Regional::turkish());
        day.setValue(QDate(2024, 11, 5));
        int changes = 0;
        day.onChange([&] { ++changes; });
        day.setValue(QDate(2024, 11, 5));
        QCOMPARE(changes, 0);
    }

    void invalidDayIsRefused()
    {
        DatePicker day(nullptr, u"İlk gün"_s, base::Regional::turkish());
        day.setValue(QDate(2024, 11, 5));
        QCOMPARE(errorOf([&] { day.setValue(QDate(2024, 2, 30)); }), 380);
        QCOMPARE(day.value(), QDate(2024, 11, 5));
    }

    void menuMarkStaysUntilTheRuleChangesIt()
    {
        MenuItem item(&*host, u"Sayac"_s, u"Sayaç"_s);
        item.setHasCheckMark(true);
        QList<bool> seen;
        item.onClick([&] { seen << item.checked(); });
        item.trigger();
        QVERIFY(!item.checked());
        QVERIFY(!item.isChecked());
        item.onClick([&] { item.setChecked(!item.checked()); });
        item.trigger();
        QVERIFY(item.checked());
        QVERIFY(item.isChecked());
        item.trigger();
        QVERIFY(!item.checked());
        QCOMPARE(seen, QList<bool>{false});
        QCOMPARE(host->actions, 3);
        QCOMPARE(item.caption(), u"Sayaç"_s);
    }

    void menuCaptionKeepsAnAmpersand()
    {
        MenuItem item(&*host, u"PortAyarlar"_s, u"A&B"_s);
        QCOMPARE(item.caption(), u"A&B"_s);
        QCOMPARE(item.text(), u"A&&B"_s);
    }

    void disabledMenuItemDoesNotClick()
    {
        MenuItem item(&*host, u"CariSil"_s, u"Carileri Sil"_s);
        item.onClick([] {});
        item.setEnabled(false);
        item.trigger();
        QCOMPARE(host->actions, 0);
    }

    void itemOfADisabledMenuCannotBeChosen()
    {
        QMenu menu(&*host);
        MenuItem item(&*host, u"CariSil"_s, u"Carileri Sil"_s);
        menu.addAction(&item);
        menu.setEnabled(false);
        item.trigger();
        QCOMPARE(host->actions, 0);
        menu.setEnabled(true);
        item.onClick([] {});
        item.trigger();
        QCOMPARE(host->actions, 1);
    }

    void pixelsAreFifteenTwips_data()
    {
        addColumns<int, int>("pixels", "twips");
        QTest::newRow("one") << 1 << 15;
        QTest::newRow("64") << 64 << 960;
        QTest::newRow("1024") << 1024 << 15360;
        QTest::newRow("768") << 768 << 11520;
    }

    void pixelsAreFifteenTwips()
    {
        QFETCH(int, pixels);
        QFETCH(int, twips);
        QCOMPARE(twips::fromPixels(pixels), twips);
        QCOMPARE(twips::toPixels(twips), pixels);
        QCOMPARE(twips::toPixels(400), 27); // 26.67: rounded only when something is moved
    }

    void placesAreInTwipsOfTheContainer()
    {
        ControlFrame frame(nullptr, ControlFrame::Look::station);
        CaptionLabel label(&frame);
        label.setGeometry(10, 20, 64, 32);
        QCOMPARE(label.Left(), 150);
        QCOMPARE(label.Top(), 300);
        QCOMPARE(label.Width(), 960);
        QCOMPARE(label.Height(), 480);
        label.setLeft(457.5);
        QCOMPARE(label.x(), 31); // half a pixel goes away from zero
        label.setTop(-30);
        QCOMPARE(label.y(), -2);
    }

    void indexWithoutControlIsError340()
    {
        CaptionLabel one(&*host), two(&*host);
        ControlArray<CaptionLabel, 2> labels;
        labels[0] = &one;
        labels[1] = &two;
        QCOMPARE(errorOf([&] { labels[999]->setCaption(u"1"_s); }), 340);
        QCOMPARE(errorOf([&] { labels[-1]->setCaption(u"1"_s); }), 340);
        try {
            labels[2]->setCaption(QString());
            QFAIL("no error");
        } catch (const base::RuntimeError& error) {
            QCOMPARE(error.text(), u"Control array element '2' doesn't exist"_s);
        }
    }
};

QTEST_MAIN(Controls)
#include "controls.moc"
