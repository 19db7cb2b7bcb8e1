#include "mill/season.h"
#include "seasons/page.h"
#include "tests/browser/browser.h"
#include "tests/print/pdf_text.h"
#include "tests/support/columns.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTest>

#include <algorithm>
#include <memory>
#include <random>

using namespace Qt::StringLiterals;

namespace {

const QString nastyName = u"</script><b title=\"x\">'Ali' & Veli 🫒</b>"_s;
constexpr std::size_t knownCustomers = 150; ///< some of them bring nothing

std::u16string customer(std::size_t number)
{
    if (number == 0) return nastyName.toStdU16String();
    static const QStringList first{u"Ayşe"_s, u"Çetin"_s, u"Işıl"_s, u"İbrahim"_s, u"Ömer"_s, u"Şükrü"_s, u"Ümit"_s};
    static const QStringList last{u"Yılmaz"_s, u"Kaya"_s, u"Şahin"_s, u"Öztürk"_s, u"Çelik"_s};
    const auto at = [](const QStringList& names, std::size_t i) { return names[qsizetype(i) % names.size()]; };
    return (at(first, number) + u' ' + at(last, number / 7) +
            (number > 35 ? u' ' + QString::number(number) : QString()))
        .toStdU16String();
}

/// A season as mills have them: more in November than in October, and the yield rises as the olives ripen.
seasons::Report season()
{
    std::mt19937 random(7);
    std::vector<std::u16string> names;
    seasons::ContainerKinds kinds;
    for (std::size_t i = 0; i < knownCustomers; ++i) {
        names.push_back(customer(i));
        if (i % 9 != 8) kinds[names.back()] = i % 4;
    }
    std::normal_distribution<> dayOfSeason(45, 20), hour(14.5, 3.2), scatter(0, .018);
    std::lognormal_distribution<> weight(6.1, .6);
    seasons::Sums sums(2025, kinds);
    const int begin = mill::firstDayOfSeason(2025) + 97; // 6 October
    for (int i = 0; i < 3000; ++i) {
        const double day = std::clamp(dayOfSeason(random), 0.0, 110.0);
        const auto number = std::min(random() % knownCustomers, random() % knownCustomers);
        const double olives = std::round(weight(random));
        const double oil = std::round(olives * std::max(.1, .16 + .06 * std::min(1.0, day / 60) + scatter(random)));
        const bool share = number % 3 != 0;
        sums.add({begin + std::floor(day) + std::clamp(hour(random), 7.0, 22.5) / 24, olives, oil,
                  share ? std::round(oil * .12) : 0.0, share ? 0.0 : std::round(olives * 2.5), names[number]});
    }
    for (int i = 0; i < 1500; ++i) sums.add({begin - 330.0 + i % 90, 300.0, 58.0, 6.0, 0.0, names[1]});
    return seasons::describe({.figures = sums.figures()}, "'Yag.mdb'", begin + 120.5);
}

/// How many pixels of that colour a picture has, as it is and not blended into another.
int pixelsOf(const QColor& colour, const QImage& picture)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            if (const QRgb pixel = picture.pixel(x, y); std::abs(qRed(pixel) - colour.red()) < 4 &&
                                                        std::abs(qGreen(pixel) - colour.green()) < 4 &&
                                                        std::abs(qBlue(pixel) - colour.blue()) < 4)
                ++count;
    return count;
}

} // namespace

/// The page of a season where it is looked at.
class SeasonPageInABrowser : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        const seasons::Report report = season();
        const auto isListed = [](const seasons::Section& section) { return section.id == "musteriler"; };
        customers_ = qsizetype(std::ranges::find_if(report.sections, isListed)->rows.size());
        QVERIFY(customers_ > 100); // more than are shown at first
        const std::string html = seasons::page(report);
        QCOMPARE(file.write(html.data(), qint64(html.size())), qint64(html.size()));
        file.close();
        browser_ = std::make_unique<Browser>();
    }

    void init()
    {
        browser_->prefer(u"light"_s);
        browser_->resize(1280, 900);
        browser_->open(path());
    }

    void cleanup() { QCOMPARE(browser_->complaints(), QStringList()); }

    void cleanupTestCase() { browser_.reset(); }

    void everyPlotIsDrawn_data()
    {
        addColumns<QString, QString>("plot", "colour");
        QTest::newRow("olives") << u"gunler"_s << u"--olives"_s;
        QTest::newRow("oil") << u"gunler"_s << u"--oil"_s;
        QTest::newRow("yield of seven days") << u"verim"_s << u"--oil"_s;
        QTest::newRow("yield of days") << u"verim"_s << u"--olives"_s;
        QTest::newRow("distribution") << u"dagilim"_s << u"--oil"_s;
        QTest::newRow("hours") << u"saatler"_s << u"--olives"_s;
        QTest::newRow("share") << u"hakedis"_s << u"--oil"_s;
        QTest::newRow("fees") << u"nakit"_s << u"--money"_s;
        QTest::newRow("largest") << u"buyukler"_s << u"--olives"_s;
        QTest::newRow("containers") << u"kaplar"_s << u"--oil"_s;
    }

    void everyPlotIsDrawn()
    {
        QFETCH(QString, plot);
        QFETCH(QString, colour);
        for (const QString& colours : {u"light"_s, u"dark"_s}) {
            browser_->prefer(colours);
            const QColor paint(
                browser_
                    ->valueOf(u"getComputedStyle(document.documentElement).getPropertyValue('%1').trim()"_s.arg(colour))
                    .toString());
            QVERIFY(paint.isValid());
            const int painted = pixelsOf(paint, browser_->pictureOf(u"canvas[data-plot=%1]"_s.arg(plot)));
            QVERIFY2(painted > 150, qPrintable(u"%1 pixels in %2"_s.arg(painted).arg(colours)));
        }
    }

    /// However little room there is for names: the bar is far from its neighbour's percents.
    void oilThatNobodyWeighedStandsApartAndIsNamed()
    {
        seasons::Sums sums(2025, {});
        for (int percent = 12; percent < 27; ++percent)
            sums.add({mill::firstDayOfSeason(2025) + 120.5, 100.0, percent + .5, 0.0, 0.0, u"Ali"});
        sums.add({mill::firstDayOfSeason(2025) + 120.5, 100.0, 90.0, 0.0, 0.0, u"Ali"});
        const std::string html = seasons::page(seasons::describe({.figures = sums.figures()}, "'Yag.mdb'", 46100.5));
        const QString other = folder_.filePath(u"Tartilmadan.html"_s);
        QFile file(other);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(html.data(), qint64(html.size())), qint64(html.size()));
        file.close();
        browser_->resize(390, 844);
        browser_->open(other);
        const QString chart = u"Chart.getChart(document.querySelector('canvas[data-plot=dagilim]'))"_s;
        QCOMPARE(browser_->valueOf(chart + u".scales.x.ticks.at(-1).label"_s).toString(), u"60 ve üstü"_s);
        QCOMPARE(browser_->valueOf(chart + u".data.labels.at(-2)"_s).toString(), QString());
        QCOMPARE(browser_->valueOf(chart + u".data.labels.at(-3)"_s).toString(), u"26–27"_s);
    }

    void darkIsDarkAndLightIsLight()
    {
        const auto corner = [this] { return qGray(browser_->picture().pixel(2, 2)); };
        QVERIFY(corner() > 220);
        browser_->prefer(u"dark"_s);
        QVERIFY(corner() < 40);
    }

    void nothingLeavesThePage()
    {
        browser_->click(u"#musteriler th:nth-child(3) button"_s);
        browser_->click(u"#gunler summary"_s);
        browser_->printed();
        QCOMPARE(browser_->requests(), QStringList{QUrl::fromLocalFile(path()).toString()});
        // And could not: what a script would fetch is refused by the page itself.
        const QString refused = browser_
                                    ->valueOf(u"new Promise(done => { document.addEventListener("
                                              "'securitypolicyviolation', event => done(event.effectiveDirective)); "
                                              "new Image().src = 'http://127.0.0.1:9/x.png'; })"_s)
                                    .toString();
        QCOMPARE(refused, u"img-src"_s);
        browser_->open(path()); // forgets the complaint that we have just provoked
    }

    void namesAreShownLetterForLetter()
    {
        browser_->click(u"#musteriler .tools input"_s);
        browser_->type(u"</script>"_s);
        QCOMPARE(cells(u"#musteriler tbody tr th"_s), QStringList{nastyName});
        QCOMPARE(browser_->valueOf(u"document.querySelectorAll('b').length"_s).toInt(), 0);
    }

    void tableSortsByWhatIsTapped_data()
    {
        addColumns<int, bool, bool>("column", "textual", "twice");
        QTest::newRow("name") << 1 << true << false;
        QTest::newRow("name backwards") << 1 << true << true;
        QTest::newRow("olives") << 3 << false << false;
        QTest::newRow("oil, least first") << 4 << false << true;
    }

    void tableSortsByWhatIsTapped()
    {
        QFETCH(int, column);
        QFETCH(bool, textual);
        QFETCH(bool, twice);
        const QString head = u"#musteriler thead th:nth-child(%1) button"_s.arg(column);
        browser_->click(u"#musteriler .more"_s); // all of them
        browser_->click(head);
        if (twice) browser_->click(head);
        const QStringList shown = cells(u"#musteriler tbody tr > :nth-child(%1)"_s.arg(column));
        QCOMPARE(shown.size(), customers_);
        for (qsizetype i = 1; i < shown.size(); ++i) {
            const bool backwards = textual == twice;
            const QString& one = shown[backwards ? i : i - 1];
            const QString& other = shown[backwards ? i - 1 : i];
            if (textual)
                QVERIFY2(place(one) <= place(other), qPrintable(one + u" / "_s + other));
            else
                QVERIFY2(number(one) <= number(other), qPrintable(one + u" / "_s + other));
        }
        QCOMPARE(browser_->valueOf(u"document.querySelectorAll('#musteriler [aria-sort]').length"_s).toInt(), 1);
    }

    void tableIsFilteredByTurkishLetters()
    {
        browser_->click(u"#musteriler .tools input"_s);
        browser_->type(u"IŞIL"_s);
        const QStringList shown = cells(u"#musteriler tbody tr th"_s);
        QVERIFY(!shown.isEmpty());
        for (const QString& name : shown) QVERIFY2(name.startsWith(u"Işıl "_s), qPrintable(name));
        QVERIFY(browser_->valueOf(u"document.querySelector('#musteriler output').textContent"_s)
                    .toString()
                    .startsWith(QString::number(shown.size()) + u" satır"_s));
    }

    void fitsATelephone()
    {
        browser_->resize(390, 844);
        const QString wide =
            browser_
                ->valueOf(
                    u"Array.from(document.querySelectorAll('body *')).filter(each => !each.closest('.scroll > *') && "
                    "each.getBoundingClientRect().right > 390.5).map(each => each.tagName + '#' + each.id + '.' + "
                    "each.className + ' ' + each.getBoundingClientRect().right).join('; ')"_s)
                .toString();
        QVERIFY2(wide.isEmpty(), qPrintable(wide));
        QVERIFY(browser_->valueOf(u"document.documentElement.scrollWidth"_s).toInt() <= 390);
        QVERIFY(browser_->valueOf(u"document.querySelector('canvas').getBoundingClientRect().width"_s).toDouble() >
                280);
    }

    void printsItsTablesAndPlots()
    {
        NEEDS_PDF_TOOLS;
        browser_->prefer(u"dark"_s); // paper is white all the same
        const QByteArray pdf = browser_->printed();
        const QString text = linesOf(pdf).join(u'\n');
        for (const QString& wanted :
             {u"Zeytin sezonu 2025–2026"_s, u"Verimin dağılımı"_s, u"Hak ediş kg"_s, u"Toplam"_s})
            QVERIFY2(text.contains(wanted), qPrintable(wanted));
        QVERIFY(!text.contains(u"Daha fazla göster"_s));
        QCOMPARE(text.count(u"Toplam"_s), 1); // below the last row, not below those of every page
        QVERIFY(text.contains(u"100 tanesi gösteriliyor"_s));
        QVERIFY(text.count(u"Hak ediş kg"_s) > 2); // headings on every page of a table

        askPdf(pdf, u"pdftoppm"_s, {u"-r"_s, u"60"_s, u"-png"_s, u"FILE"_s, folder_.filePath(u"paper"_s)});
        int olives = 0;
        const QStringList pages = QDir(folder_.path()).entryList({u"paper*.png"_s});
        for (const QString& each : pages) {
            const QImage picture(folder_.filePath(each));
            olives += pixelsOf(QColor(u"#7f9433"_s), picture);
            QVERIFY2(qGray(picture.pixel(3, 3)) > 250, qPrintable(each));
        }
        QVERIFY2(olives > 500, qPrintable(QString::number(olives)));
        const QString kept = qEnvironmentVariable("PRESVA_ALL_PICTURES");
        for (const QString& each : pages)
            if (!kept.isEmpty()) QFile::copy(folder_.filePath(each), kept + u'/' + each);
        QVERIFY2(pages.size() <= 12, qPrintable(QString::number(pages.size())));
    }

    /// For the README, PICTURES names a folder; and to be looked at, PRESVA_ALL_PICTURES one for many more.
    void picturesForPeople()
    {
        const QString folder = qEnvironmentVariable("PICTURES");
        browser_->resize(1180, 1010);
        if (!folder.isEmpty()) QVERIFY(browser_->picture().save(folder + u"/season.png"_s));
        const QString all = qEnvironmentVariable("PRESVA_ALL_PICTURES");
        if (all.isEmpty()) return;
        QVERIFY(browser_->wholePicture().save(all + u"/season-whole.png"_s));
        browser_->prefer(u"dark"_s);
        QVERIFY(browser_->wholePicture().save(all + u"/season-dark.png"_s));
        browser_->resize(390, 844);
        QVERIFY(browser_->wholePicture().save(all + u"/season-phone.png"_s));
    }

private:
    QString path() const { return folder_.filePath(u"Sezon.html"_s); }

    QStringList cells(const QString& selector)
    {
        QStringList texts;
        for (const QJsonValue each :
             browser_
                 ->valueOf(
                     u"Array.from(document.querySelectorAll('%1'), cell => cell.textContent.trim())"_s.arg(selector))
                 .toArray())
            texts << each.toString();
        return texts;
    }

    /// Where the first letter stands in the alphabet; signs before letters.
    static qsizetype place(const QString& name)
    {
        return u"abcçdefgğhıijklmnoöprsştuüvyz"_s.indexOf(name.front() == u'I'   ? u'ı'
                                                          : name.front() == u'İ' ? u'i'
                                                                                 : name.front().toLower());
    }

    static double number(QString text) { return text.remove(u'.').replace(u',', u'.').toDouble(); }

    qsizetype customers_ = 0; ///< who brought olives
    QTemporaryDir folder_;
    std::unique_ptr<Browser> browser_;
};

QTEST_GUILESS_MAIN(SeasonPageInABrowser)
#include "season_page_in_a_browser.moc"
