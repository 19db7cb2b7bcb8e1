#include "app/message_boxes.h"
#include "app/command_button.h"
#include "app/font_dialog.h"
#include "app/search_list.h"
#include "base/error.h"
#include "tests/support/columns.h"
#include <QPushButton>
#include <QTimer>
#include <QtTest>
#include <optional>

using namespace Qt::StringLiterals;

using namespace app;

namespace {

QMessageBox* openBox() { return qobject_cast<QMessageBox*>(QApplication::activeModalWidget()); }

/// Runs `inside` while the next modal window is open.
void whenOpen(const std::function<void()>& inside) { QTimer::singleShot(20, qApp, inside); }

QPushButton* button(const QString& caption)
{
    for (QAbstractButton* candidate : openBox()->buttons())
        if (candidate->text() == caption) return qobject_cast<QPushButton*>(candidate);
    return nullptr;
}

const QString question = u"Kayıt Silinecek Eminmisiniz..!"_s;
const QString title = u"Kayıt Silme"_s;

} // namespace

class MessageBoxesTest : public QObject {
    Q_OBJECT

    std::optional<MessageBoxes> boxes;

private slots:
    void init() { boxes.emplace(); }
    void cleanup() { boxes.reset(); }

    void questionIsAnsweredByItsButtons_data()
    {
        addColumns<QString, bool>("caption", "yes");
        QTest::newRow("Evet") << u"Evet"_s << true;
        QTest::newRow("Hayır") << u"Hayır"_s << false;
        QTest::newRow("close box") << QString() << false;
    }

    void questionIsAnsweredByItsButtons()
    {
        QFETCH(QString, caption);
        QString shown, shownTitle;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        whenOpen([&] {
            shown = openBox()->text();
            shownTitle = openBox()->windowTitle();
            icon = openBox()->icon();
            if (caption.isEmpty())
                openBox()->close();
            else
                button(caption)->click();
        });
        QTEST(boxes->yesNo(question, title), "yes");
        QCOMPARE(shown, question);
        QCOMPARE(shownTitle, title);
        QCOMPARE(icon, QMessageBox::Critical);
    }

    void enterMeansNo()
    {
        QString preferred;
        whenOpen([&] {
            preferred = openBox()->defaultButton()->text();
            QTest::keyClick(openBox(), Qt::Key_Return);
        });
        QCOMPARE(boxes->yesNo(question, title), false);
        QCOMPARE(preferred, u"Hayır"_s);
    }

    void noteIsTitledWithTheProgram()
    {
        QString shownTitle, caption;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        whenOpen([&] {
            shownTitle = openBox()->windowTitle();
            icon = openBox()->icon();
            caption = openBox()->buttons().constFirst()->text();
            button(u"Tamam"_s)->click();
        });
        boxes->exclamation(u"Geçersiz ayar"_s);
        QCOMPARE(shownTitle, u"Mendrik Presva"_s);
        QCOMPARE(icon, QMessageBox::Warning);
        QCOMPARE(caption, u"Tamam"_s);
    }

    void errorReportNamesNumberAndText()
    {
        QString shown;
        whenOpen([&] {
            shown = openBox()->text();
            openBox()->close();
        });
        boxes->errorReport(base::runtimeError(base::errors::typeMismatch));
        QCOMPARE(shown, u"Run-time error '13':\n\nType mismatch"_s);
    }

    void secondReportIsOnlyLogged()
    {
        int open = 0;
        whenOpen([&] {
            QTest::ignoreMessage(QtWarningMsg, "Run-time error '6': Overflow");
            boxes->errorReport(base::runtimeError(base::errors::overflow));
            for (QWidget* window : QApplication::topLevelWidgets())
                if (qobject_cast<QMessageBox*>(window) && window->isVisible()) ++open;
            openBox()->close();
        });
        boxes->errorReport(base::runtimeError(base::errors::typeMismatch));
        QCOMPARE(open, 1);
    }

    void boxesShowPlainText()
    {
        const auto box = messageBox(nullptr, QMessageBox::Warning, title, u"<b>Ali</b>"_s, u"Tamam"_s);
        QCOMPARE(box->textFormat(), Qt::PlainText);
        QCOMPARE(box->text(), u"<b>Ali</b>"_s);
    }

    void buttonsAreLargeEnoughForAFinger()
    {
        const auto box = messageBox(nullptr, QMessageBox::Critical, title, question, u"Evet"_s, u"Hayır"_s);
        box->show();
        for (QAbstractButton* candidate : box->buttons()) {
            QVERIFY(candidate->height() >= 48);
            QVERIFY(candidate->width() >= 120);
        }
    }

    void fontDialogOpensOnThePreset()
    {
        FontDialog dialog({u"Nowhere Installed"_s, 10.5f, true, false}, nullptr);
        QCOMPARE(dialog.choice().name, u"Nowhere Installed"_s);
        QCOMPARE(dialog.faces->text(), u"Nowhere Installed"_s);
        QCOMPARE(dialog.choice().size, 10.5f);
        QVERIFY(dialog.bold->value());
        QVERIFY(!dialog.italic->value());
    }

    void fontDialogGivesWhatWasTouched()
    {
        whenOpen([] {
            auto* dialog = qobject_cast<FontDialog*>(QApplication::activeModalWidget());
            for (int row = 0; row < dialog->faces->rowCount(); ++row)
                if (dialog->faces->rowText(row) == u"DejaVu Sans") dialog->faces->pick(row);
            QTest::mouseClick(dialog->larger, Qt::LeftButton);
            QTest::mouseClick(dialog->bold, Qt::LeftButton);
            QTest::mouseClick(dialog->italic, Qt::LeftButton);
            QTest::mouseClick(dialog->ok, Qt::LeftButton);
        });
        const auto chosen = boxes->chooseFont({u"Arial"_s, 10, false, true});
        QVERIFY(chosen);
        QCOMPARE(chosen->name, u"DejaVu Sans"_s);
        QCOMPARE(chosen->size, 10.5f);
        QVERIFY(chosen->bold);
        QVERIFY(!chosen->italic);
    }

    void cancelledFontDialogGivesNothing()
    {
        whenOpen([] {
            auto* dialog = qobject_cast<FontDialog*>(QApplication::activeModalWidget());
            QTest::mouseClick(dialog->larger, Qt::LeftButton);
            QTest::mouseClick(dialog->cancel, Qt::LeftButton);
        });
        QVERIFY(!boxes->chooseFont({u"Arial"_s, 8, false, false}));
    }

    void fontSizeStaysPrintable()
    {
        FontDialog dialog({u"Arial"_s, 5, false, false}, nullptr);
        for (int press = 0; press < 10; ++press) QTest::mouseClick(dialog.smaller, Qt::LeftButton);
        QCOMPARE(dialog.choice().size, 4.0f);
    }
};

QTEST_MAIN(MessageBoxesTest)
#include "message_boxes.moc"
