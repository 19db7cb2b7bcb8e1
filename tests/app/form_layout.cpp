#include "screen_fixture.h"
#include "tests/support/columns.h"
#include <QHeaderView>
#include <QtTest>
#include <optional>

using namespace Qt::StringLiterals;

using namespace app;

namespace {

/// A screen of the size of the test's row.
struct SizedScreen : Screen {
    SizedScreen()
    {
        QFETCH(QSize, size);
        form.start();
        form.setWindowState(Qt::WindowNoState);
        form.resize(size);
        QCoreApplication::processEvents();
    }
};

QRect onForm(const Form1& form, const QWidget* control)
{
    return {control->mapTo(&form, QPoint(0, 0)), control->size()};
}

/// What fingers touch while pressings are entered.
QList<QWidget*> counterControls(const Form1& form)
{
    QList<QWidget*> all;
    for (int i = 0; i < 2; ++i)
        all << form.TxtLbl[i] << form.Label2[i] << form.Label3[i] << form.NakitLbl[i] << form.Haklbl[i]
            << form.HakTut[i] << form.Verilen[i] << form.Combo1[i] << form.HakCmd[i] << form.YazCmd[i]
            << form.YeniCmd[i];
    for (KeyLabel* key : form.Label1) all << key;
    all << form.GünlükCmd;
    return all;
}

} // namespace

class FormLayout : public QObject {
    Q_OBJECT

    std::optional<SizedScreen> screen_;
    Form1& sized() { return screen_.emplace().form; }

private slots:
    void cleanup() { screen_.reset(); }
    void initTestCase() { applyTheme(*qApp); }

    void everythingTouchedIsLargeEnough_data() { sizes(); }

    void everythingTouchedIsLargeEnough()
    {
        QFETCH(QSize, size);
        Form1& form = sized();
        const int least = size.width() > 1366 && size.height() > 1000 ? 56 : 48;
        QList<QWidget*> pressed;
        for (QWidget* control : counterControls(form))
            if (!qobject_cast<FieldLabel*>(control)) pressed << control;
        pressed << form.Option1[0] << form.Option1[1] << form.KapatCmd[0] << form.KapatCmd[1] << form.DTPickerBas
                << form.DTPickerSon << form.Kaydet;
        for (QWidget* control : pressed)
            QVERIFY2(
                control->width() >= least && control->height() >= least,
                qPrintable(u"%1 is %2 x %3"_s.arg(control->objectName()).arg(control->width()).arg(control->height())));
        for (FieldLabel* field : form.findChildren<FieldLabel*>())
            QVERIFY2(field->height() >= 44 && field->width() >= 80, qPrintable(field->objectName()));
        for (CommandButton* cross : form.KapCmd) QVERIFY(cross->width() >= 44 && cross->height() >= 44);
        QVERIFY(form.dbListe1->rowHeight() >= 48);
        QVERIFY(form.Command1->width() >= 48 && form.Command1->height() >= 38);
        QVERIFY(form.menuStrip->height() >= 40);
    }

    void nothingOverlapsOrLeavesItsContainer_data() { sizes(); }

    void nothingOverlapsOrLeavesItsContainer()
    {
        Form1& form = sized();
        const QList<QWidget*> all = counterControls(form);
        for (int i = 0; i < all.size(); ++i) {
            const QRect one = onForm(form, all[i]);
            QVERIFY2(form.rect().contains(one), qPrintable(all[i]->objectName()));
            QVERIFY2(all[i]->parentWidget()->rect().contains(all[i]->geometry()), qPrintable(all[i]->objectName()));
            for (int j = i + 1; j < all.size(); ++j)
                QVERIFY2(!one.intersects(onForm(form, all[j])),
                         qPrintable(all[i]->objectName() + u" and "_s + all[j]->objectName()));
        }
        for (int i = 0; i < 2; ++i)
            for (QWidget* other : {static_cast<QWidget*>(form.YazCmd[i]), static_cast<QWidget*>(form.HakCmd[i])})
                QVERIFY(!onForm(form, form.KapFrm[i]).intersects(onForm(form, other)));
        QVERIFY(form.status->geometry().top() >= form.Label1[47]->geometry().bottom());
    }

    void keypadIsOrderedForTwoHands_data() { sizes(); }

    void keypadIsOrderedForTwoHands()
    {
        Form1& form = sized();
        const auto at = [&](int key) { return form.Label1[key]->geometry(); };
        // As on a calculator: 7 8 9 above 4 5 6 above 1 2 3 above 0.
        QCOMPARE(at(39).top(), at(37).top());    // 7 and 9
        QVERIFY(at(39).right() < at(38).left()); // 7 left of 8
        QVERIFY(at(39).bottom() < at(42).top()); // 7 above 4
        QVERIFY(at(42).bottom() < at(45).top()); // 4 above 1
        QVERIFY(at(45).bottom() < at(36).top()); // 1 above 0
        for (int letter = 0; letter < 32; ++letter) QVERIFY(at(letter).right() < at(39).left());
        for (int letter = 1; letter < 32; ++letter) // in alphabetical order, line by line
            QVERIFY(at(letter).top() > at(letter - 1).top() || at(letter).left() > at(letter - 1).right());
    }

    void clearKeyIsFarFromThePrintButtons_data() { sizes(); }

    void clearKeyIsFarFromThePrintButtons()
    {
        Form1& form = sized();
        for (CommandButton* print : form.YazCmd) {
            const int distance = form.Label1[46]->geometry().top() - onForm(form, print).bottom();
            QVERIFY2(distance >= 2 * form.Label1[0]->height(), qPrintable(QString::number(distance)));
        }
    }

    void weightsAreTheLargestFigures_data() { sizes(); }

    void weightsAreTheLargestFigures()
    {
        Form1& form = sized();
        for (FieldLabel* field : form.findChildren<FieldLabel*>())
            if (Form1::controlName(field) != u"Label2" && Form1::controlName(field) != u"Label3")
                QVERIFY2(field->height() < form.Label2[0]->height(), qPrintable(field->objectName()));
    }

    void searchListLeavesTheNameFree_data() { sizes(); }

    void searchListLeavesTheNameFree()
    {
        Form1& form = sized();
        form.dbListe1->setRows([] { return 1000; }, [](int) { return u"Ali"_s; });
        form.dbListe1->setVisible(true);
        for (int i = 0; i < 2; ++i) {
            form.moveListToStation(i);
            QCOMPARE(form.dbListe1->Left(), form.Frame1[i]->Left() + form.HakCmd[i]->Left());
            QCOMPARE(form.dbListe1->Top(), form.Frame1[i]->Top() + form.Label2[i]->Top());
            QVERIFY(form.dbListe1->y() > onForm(form, form.TxtLbl[i]).bottom());
            QVERIFY(form.dbListe1->geometry().bottom() < form.Label1[0]->y());
            QVERIFY(form.Frame1[i]->geometry().contains(form.dbListe1->geometry()));
            QVERIFY(form.dbListe1->height() >= 5 * form.dbListe1->rowHeight());
        }
        form.Frame4->setVisible(true);
        form.moveListToPanel();
        QCOMPARE(form.dbListe1->Left(), form.Frame4->Left() + form.DBGrid1->Left());
        QVERIFY(form.dbListe1->y() > onForm(form, form.GünLbl).bottom());
        QVERIFY(form.dbListe1->geometry().bottom() < form.Label1[0]->y());
    }

    void reportPanelCoversTheStationsOnly_data() { sizes(); }

    void reportPanelCoversTheStationsOnly()
    {
        Form1& form = sized();
        form.Frame4->setVisible(true);
        form.Dosya->setEnabled(false); // as it is while the panel is open
        form.activate(form.GünLbl);
        for (int i = 0; i < 2; ++i) {
            QVERIFY(form.Frame4->geometry().contains(form.Frame1[i]->geometry()));
            QCOMPARE(form.childAt(form.Frame1[i]->geometry().center())->window(), &form);
            const QWidget* there = form.childAt(onForm(form, form.YeniCmd[i]).center());
            QVERIFY(there == form.Frame4 || form.Frame4->isAncestorOf(there));
        }
        for (KeyLabel* key : form.Label1) QVERIFY(!form.Frame4->geometry().intersects(key->geometry()));
        QVERIFY(form.DBGrid1->height() >= 4 * form.DBGrid1->verticalHeader()->defaultSectionSize());

        const int tall = form.DBGrid1->height();
        form.run([&] { form.GünLbl->setVisible(false); });
        QVERIFY(form.DBGrid1->height() > tall);
        form.run([&] { form.GünLbl->setVisible(true); });
        QCOMPARE(form.DBGrid1->height(), tall);
    }

    void saveButtonStandsBesideTheName()
    {
        Screen screen;
        Form1& form = screen.form;
        form.start();
        for (int i = 0; i < 2; ++i) {
            form.run([&] {
                form.workAt(i);
                form.TxtLbl[i]->showCaption(u"Ali"_s);
                form.Kaydet->setVisible(true);
            });
            const QRect name = onForm(form, form.TxtLbl[i]);
            QCOMPARE(form.Kaydet->y(), name.y());
            QVERIFY(form.Kaydet->x() > name.right());
            QVERIFY(form.Frame1[i]->geometry().contains(form.Kaydet->geometry()));
        }
        form.run([&] { form.Kaydet->setVisible(false); });
        QVERIFY(form.TxtLbl[1]->geometry().right() >= form.Label3[1]->geometry().right());
    }

    void containerCountIsCentredByTheFirstPanel()
    {
        Screen screen;
        Form1& form = screen.form;
        form.start();
        form.kapSayisi(1) = 1234;
        form.Label4[1]->setCaption(u"?"_s);
        QCOMPARE(form.Label4[1]->caption(), u"1234 Kap"_s);
        const double centred = (form.KapFrm[0]->Width() - form.Label4[1]->Width()) / 2.0;
        QVERIFY(std::abs(form.Label4[1]->Left() - centred) <= twips::perPixel);
        QVERIFY(!form.Label4[1]->geometry().intersects(form.KapCmd[1]->geometry()));
    }

    void noDigitOfAFigureIsCut_data() { sizes(); }

    void noDigitOfAFigureIsCut()
    {
        Form1& form = sized();
        struct Figure {
            FieldLabel* label;
            const char* text;
        };
        QTest::mouseClick(form.HakCmd[0], Qt::LeftButton);
        // The fee of the station that has none beside its share.
        const Figure figures[] = {{form.Haklbl[0], "88,88"},     {form.HakTut[0], "88.888"},
                                  {form.Verilen[0], "88.888"},   {form.NakitLbl[1], "888.888,88"},
                                  {form.Label2[0], "8.888.888"}, {form.Label3[0], "888.888"}};
        for (const auto& [label, text] : figures) {
            const auto drawn = [&](const QString& caption) {
                label->CaptionLabel::setCaption(caption);
                return label->grab().toImage();
            };
            const QString whole = QString::fromLatin1(text);
            const QImage shown = drawn(whole);
            // Whichever digit is another one, it is seen.
            for (qsizetype i = 0; i < whole.size(); ++i) {
                if (!whole[i].isDigit()) continue;
                QString other = whole;
                other[i] = u'3';
                QVERIFY2(drawn(other) != shown, qPrintable(label->objectName() + u": "_s + other));
            }
        }
    }

    void captionsFit_data() { sizes(); }

    void captionsFit()
    {
        Form1& form = sized();
        form.HakCmd[0]->setCaption(u"Hak Ediş Var"_s);
        form.Kaydet->setCaption(u"Kaydı Sil"_s);
        for (CommandButton* button : form.findChildren<CommandButton*>()) {
            const int needed = button->fontMetrics().horizontalAdvance(button->caption());
            QVERIFY2(needed <= button->width() - 8, qPrintable(button->objectName() + u' ' + button->caption()));
        }
        for (KeyLabel* key : form.Label1) {
            const QRect needed = key->fontMetrics().boundingRect(
                key->rect().adjusted(4, 0, -4, 0), Qt::AlignCenter | Qt::TextWordWrap, key->caption().trimmed());
            QVERIFY2(key->rect().contains(needed), qPrintable(key->caption()));
        }
        form.PortAyarlar->setCaption(u"Port Ayar Com=16"_s);
        QVERIFY(form.menuStrip->sizeHint().width() <= form.menuStrip->width());
    }

    void windowIsNeverTallerThanTheScreen()
    {
        Screen screen;
        screen.form.start();
        QVERIFY(screen.form.height() <= screen.form.screen()->geometry().height());
        QVERIFY(screen.form.minimumHeight() <= screen.form.screen()->availableGeometry().height());
        QVERIFY(screen.form.minimumWidth() <= screen.form.screen()->availableGeometry().width());
    }

private:
    static void sizes()
    {
        addCases<QSize>("size", {{"1024 x 768", QSize(1024, 768)},
                                 {"1024 x 738, below a title bar", QSize(1024, 738)},
                                 {"1366 x 768", QSize(1366, 768)},
                                 {"1280 x 1024", QSize(1280, 1024)},
                                 {"1920 x 1080", QSize(1920, 1080)}});
    }
};

QTEST_MAIN(FormLayout)
#include "form_layout.moc"
