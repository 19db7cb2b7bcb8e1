#include "tests/package/window_of.h"
#include "tests/support/columns.h"
#include "tests/support/qt_files.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <functional>
#include <memory>
#include <sys/prctl.h>

using namespace Qt::StringLiterals;

namespace {

struct Outcome {
    int code = -1;
    QString out; ///< standard output and error
};

Outcome run(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForStarted()) return {-1, program + u" is not installed: scripts/ensure-packages package test"_s};
    if (!process.waitForFinished(120000)) return {-1, program + u" did not end"_s};
    return {process.exitCode(), QString::fromUtf8(process.readAll())};
}

Outcome run(const QString& program, const QStringList& arguments)
{
    return run(program, arguments, QProcessEnvironment::systemEnvironment());
}

QStringList filesBelow(const QString& folder)
{
    QStringList files;
    QDirIterator walk(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (walk.hasNext()) files += QDir(folder).relativeFilePath(walk.next());
    files.sort();
    return files;
}

/// Stands in for what opens files on a desktop: remembers which.
class Opener {
public:
    explicit Opener(const QString& home) : folder_(home + u"/opener"_s)
    {
        QDir().mkpath(folder_);
        QFile script(folder_ + u"/xdg-open"_s);
        if (!script.open(QIODevice::WriteOnly)) qFatal("no script can be written");
        script.write("#!/bin/sh\nprintf %s \"$1\" >\"" + folder_.toUtf8() + "/opened\"\n");
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QProcessEnvironment inFrontOf(QProcessEnvironment environment) const
    {
        environment.insert(u"PATH"_s, folder_ + u':' + environment.value(u"PATH"_s));
        return environment;
    }
    QString opened() const { return QString::fromUtf8(contentOf(folder_ + u"/opened"_s)); }

private:
    QString folder_;
};

} // namespace

/// The Debian package: built, installed by dpkg into a root of its own, started there on a screen of its own, and
/// removed again. The running system is not touched.
class DebianPackage : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const Outcome cpack = run(QString::fromUtf8(PRESVA_CPACK),
                                  {u"--config"_s, QString::fromUtf8(PRESVA_CPACK_CONFIG), u"-B"_s, built_.path()});
        const QStringList packages = QDir(built_.path()).entryList({u"*.deb"_s});
        QVERIFY2(cpack.code == 0 && packages.size() == 1, qPrintable(cpack.out));
        package_ = built_.filePath(packages.first());

        const QDir root(root_.path());
        for (const char* folder : {"info", "updates", "triggers"})
            QVERIFY(root.mkpath(u"var/lib/dpkg/"_s + QLatin1StringView(folder)));
        for (const char* file : {"status", "available"})
            QVERIFY(QFile(root.filePath(u"var/lib/dpkg/"_s + QLatin1StringView(file))).open(QIODevice::WriteOnly));
        const Outcome installed = dpkg({u"--install"_s, package_});
        QVERIFY2(installed.code == 0, qPrintable(installed.out));

        server_.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); }); // whatever ends this test
        server_.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"1280x1024x24"_s, u"-nolisten"_s,
                                  u"tcp"_s, u"-noreset"_s});
        QVERIFY2(server_.waitForStarted() && server_.waitForReadyRead(20000),
                 "There is no virtual X server (Xvfb) here.");
        display_ = u':' + QString::fromLatin1(server_.readLine()).trimmed();
    }

    void init() { home_ = std::make_unique<QTemporaryDir>(root_.filePath(u"home-XXXXXX"_s)); }

    void cleanupTestCase()
    {
        server_.terminate();
        server_.waitForFinished();
    }

    void saysWhatItIsAndWhatItNeeds()
    {
        const auto field = [this](const char* name) {
            return run(u"dpkg-deb"_s, {u"--field"_s, package_, QString::fromLatin1(name)}).out.trimmed();
        };
        QCOMPARE(field("Package"), u"mendrik-presva"_s);
        QCOMPARE(field("Version"), QString::fromUtf8(PRESVA_VERSION));
        QVERIFY(field("Maintainer").contains(u'@'));
        QVERIFY(field("Description").contains(u'\n'));
        // The libraries are found by Debian's own tool; the rest is what only running would show.
        for (const char* needed : {"libqt6widgets6", "libqt6serialport6", "libcups2", "libx11-6", "libc6",
                                   "fonts-liberation", "fonts-dejavu-core", "qt6-translations-l10n"})
            QVERIFY2(field("Depends").contains(QLatin1StringView(needed)), needed);
        QVERIFY(!field("Depends").contains("libqt6test"_L1));
    }

    void runsNothingWhenInstalledOrRemoved()
    {
        const QDir control(root_.filePath(u"var/lib/dpkg/info"_s));
        QCOMPARE(control.entryList({u"mendrik-presva.*"_s}, QDir::Files),
                 (QStringList{u"mendrik-presva.list"_s, u"mendrik-presva.md5sums"_s}));
    }

    void filesLieWhereTheSystemLooksForThem_data()
    {
        QTest::addColumn<bool>("program");
        for (const char* path : {"bin/mendrik-presva", "bin/presva-live", "bin/presva-mdb", "bin/presva-scale",
                                 "lib/mendrik-presva/presva"})
            QTest::newRow(path) << true;
        for (const char* path :
             {"share/applications/org.mendrik.Presva.desktop", "share/applications/org.mendrik.Presva.Sezon.desktop",
              "share/metainfo/org.mendrik.Presva.metainfo.xml",
              "share/icons/hicolor/scalable/apps/org.mendrik.Presva.svg", "share/man/man1/mendrik-presva.1.gz",
              "share/man/man1/presva-live.1.gz", "share/man/man1/presva-mdb.1.gz", "share/man/man1/presva-scale.1.gz",
              "share/doc/mendrik-presva/copyright", "share/doc/mendrik-presva/changelog.gz",
              "share/doc/mendrik-presva/README.md", "share/doc/mendrik-presva/docs/kullanim.html"})
            QTest::newRow(path) << false;
    }

    void filesLieWhereTheSystemLooksForThem()
    {
        QFETCH(bool, program);
        const QFileInfo file(inRoot(u"usr/"_s + QString::fromLatin1(QTest::currentDataTag())));
        QVERIFY(file.isFile() && file.size() > 0);
        constexpr auto everybodyRuns = QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
        constexpr auto othersWrite = QFile::WriteGroup | QFile::WriteOther;
        QCOMPARE(file.permissions() & everybodyRuns, program ? everybodyRuns : QFile::Permissions());
        QVERIFY(!(file.permissions() & othersWrite) && file.permission(QFile::ReadOther));
    }

    void debiansCriticFindsNoFault()
    {
        const Outcome lintian = run(u"lintian"_s, {u"--fail-on"_s, u"error,warning"_s, u"--allow-root"_s, package_});
        QVERIFY2(lintian.code == 0, qPrintable(lintian.out));
    }

    void menuEntryIsValidAndLeadsToTheProgram_data()
    {
        addColumns<QString, bool>("entry", "leadsToTheGuide");
        QTest::newRow("counter") << u"org.mendrik.Presva.desktop"_s << true;
        QTest::newRow("season") << u"org.mendrik.Presva.Sezon.desktop"_s << false;
    }

    void menuEntryIsValidAndLeadsToTheProgram()
    {
        QFETCH(bool, leadsToTheGuide);
        QFETCH(QString, entry);
        entry = inRoot(u"usr/share/applications/"_s + entry);
        const Outcome validator = run(u"desktop-file-validate"_s, {entry});
        QVERIFY2(validator.code == 0 && validator.out.isEmpty(), qPrintable(validator.out));

        const QString text = QString::fromUtf8(contentOf(entry));
        static const QRegularExpression exec(u"^Exec=(\\S+)"_s, QRegularExpression::MultilineOption);
        QVERIFY(QFileInfo(inRoot(u"usr/bin/"_s + exec.match(text).captured(1))).isExecutable());
        static const QRegularExpression guide(u"^Exec=xdg-open /(\\S+)"_s, QRegularExpression::MultilineOption);
        QCOMPARE(guide.match(text).hasMatch(), leadsToTheGuide);
        QVERIFY(QFileInfo::exists(inRoot(guide.match(text).captured(1))));
        static const QRegularExpression icon(u"^Icon=(\\S+)"_s, QRegularExpression::MultilineOption);
        const QString icons = inRoot(u"usr/share/icons/hicolor/scalable/apps/"_s);
        QVERIFY(contentOf(icons + icon.match(text).captured(1) + u".svg"_s).contains("<svg"));
    }

    void softwareCatalogueEntryIsValid()
    {
        const Outcome validator =
            run(u"appstreamcli"_s, {u"validate"_s, u"--no-net"_s, u"--no-color"_s,
                                    inRoot(u"usr/share/metainfo/org.mendrik.Presva.metainfo.xml"_s)});
        QVERIFY2(validator.code == 0, qPrintable(validator.out));
    }

    void manualPagesAreClean_data()
    {
        QTest::addColumn<QString>("file");
        for (const QString& file : QDir(inRoot(u"usr/share/man/man1"_s)).entryList(QDir::Files))
            QTest::newRow(qPrintable(file)) << inRoot(u"usr/share/man/man1/"_s + file);
    }

    void manualPagesAreClean()
    {
        QFETCH(QString, file);
        const Outcome lint = run(u"mandoc"_s, {u"-T"_s, u"lint"_s, u"-W"_s, u"warning"_s, file});
        QVERIFY2(lint.code == 0 && lint.out.isEmpty(), qPrintable(lint.out));
    }

    void manualPageOfTheToolNamesEveryCommand()
    {
        const QString page = manualPage(u"presva-mdb"_s);
        static const QRegularExpression command(u"^    (presva-mdb [a-z-]+)"_s, QRegularExpression::MultilineOption);
        int commands = 0;
        for (auto it = command.globalMatch(tool({u"--help"_s}).out); it.hasNext(); ++commands) {
            const QString name = it.next().captured(1);
            QVERIFY2(page.contains(name), qPrintable(name));
        }
        QVERIFY(commands > 5);
    }

    void manualPageOfTheProgramNamesEveryOption()
    {
        const QString page = manualPage(u"mendrik-presva"_s);
        static const QRegularExpression option(u"^  (--[a-z-]+)"_s, QRegularExpression::MultilineOption);
        int options = 0;
        for (auto it = option.globalMatch(run(inRoot(u"usr/bin/mendrik-presva"_s), {u"--help"_s}).out); it.hasNext();
             ++options) {
            const QString name = it.next().captured(1);
            QVERIFY2(page.contains(name), qPrintable(name));
        }
        QVERIFY(options > 2);
    }

    void everyTextNamesTheSameVersion()
    {
        const QString version = QString::fromUtf8(PRESVA_VERSION);
        const QString log = run(u"gzip"_s, {u"-dc"_s, inRoot(u"usr/share/doc/mendrik-presva/changelog.gz"_s)}).out;
        QVERIFY2(log.startsWith(u"mendrik-presva (%1)"_s.arg(version)), qPrintable(log));
        const QByteArray catalogue = contentOf(inRoot(u"usr/share/metainfo/org.mendrik.Presva.metainfo.xml"_s));
        QVERIFY(QString::fromUtf8(catalogue).contains(u"<release version=\"%1\""_s.arg(version)));
        for (const char* text : {"README.md", "docs/kullanim.html"}) {
            const QString document = inRoot(u"usr/share/doc/mendrik-presva/"_s + QLatin1StringView(text));
            QVERIFY2(QString::fromUtf8(contentOf(document)).contains(u"mendrik-presva_%1_"_s.arg(version)), text);
        }
        // Also without a screen.
        const Outcome said = run(inRoot(u"usr/bin/mendrik-presva"_s), {u"--version"_s});
        QVERIFY2(said.out.contains(version), qPrintable(said.out));
    }

    void guideAndReadmeReachTheirPictures_data()
    {
        addColumns<QString, QRegularExpression>("file", "link");
        const QString documents = inRoot(u"usr/share/doc/mendrik-presva/"_s);
        QTest::newRow("guide") << documents + u"docs/kullanim.html"_s
                               << QRegularExpression(u"(?:src|href)=\"([^\"]+)\""_s);
        QTest::newRow("README") << documents + u"README.md"_s << QRegularExpression(u"\\]\\((?!http)([^)]+)\\)"_s);
    }

    void guideAndReadmeReachTheirPictures()
    {
        QFETCH(QString, file);
        QFETCH(QRegularExpression, link);
        int pictures = 0;
        for (auto it = link.globalMatch(QString::fromUtf8(contentOf(file))); it.hasNext();) {
            const QString target = it.next().captured(1);
            QVERIFY2(QFileInfo::exists(QFileInfo(file).dir().filePath(target)), qPrintable(target));
            if (target.endsWith(".png"_L1)) ++pictures;
        }
        QVERIFY(pictures > 0);
    }

    void firstStartMakesADatabaseAndShowsTheCounter()
    {
        QCOMPARE(startAndClose(), QString());
        QVERIFY2(holdsKeypad(picture_), "The window does not show the keypad.");

        const Outcome check = tool({u"check"_s, dataFolder() + u"/Yag.mdb"_s});
        QVERIFY2(check.code == 0, qPrintable(check.out));
        QVERIFY(rowsOf(dataFolder() + u"/Yag.mdb"_s).startsWith("Unvan,"_L1));
        // Without a printer the mill can work all the same: slips become files.
        QVERIFY(commandLine_.contains(dataFolder() + u"/fis"_s));
        QVERIFY(!QFileInfo::exists(dataFolder() + u"/fis"_s)); // made for the first slip
        // Nothing is left lying about in the home folder.
        for (const QString& file : filesBelow(home_->path()))
            QVERIFY2(file.startsWith(".local/share/mendrik-presva/"_L1) || file.startsWith(".config/"_L1) ||
                         file.startsWith(".cache/"_L1),
                     qPrintable(file));
    }

    void laterStartKeepsWhatIsStored()
    {
        const QString database = dataFolder() + u"/Yag.mdb"_s;
        QVERIFY(QDir().mkpath(dataFolder()));
        QCOMPARE(tool({u"create"_s, database}).code, 0);
        const QString customers = home_->filePath(u"customers.csv"_s);
        putFile(customers, "Unvan\nAyşe Yılmaz\n");
        const Outcome imported = tool({u"import"_s, database, u"Cari"_s, customers});
        QVERIFY2(imported.code == 0, qPrintable(imported.out));
        const QString before = rowsOf(database);
        QVERIFY(before.contains(u"Ayşe Yılmaz"_s));

        QCOMPARE(startAndClose({u"--print-to"_s, home_->filePath(u"paper"_s)}), QString());
        QCOMPARE(rowsOf(database), before);
        QVERIFY(QFileInfo(home_->filePath(u"paper"_s)).isDir());
        QVERIFY(!QFileInfo::exists(dataFolder() + u"/fis"_s));
    }

    void namedFolderIsUsedAndNothingIsMadeElsewhere_data()
    {
        addColumns<QString, bool>("folder", "oneWord");
        QTest::newRow("two words") << u"mill"_s << false;
        QTest::newRow("one word") << u"mill"_s << true;
        QTest::newRow("blanks and Turkish letters") << u"Zeytin Yağı 'İş'"_s << false;
    }

    void namedFolderIsUsedAndNothingIsMadeElsewhere()
    {
        QFETCH(QString, folder);
        QFETCH(bool, oneWord);
        const QString path = home_->filePath(folder);
        QVERIFY(QDir().mkpath(path));
        QCOMPARE(tool({u"create"_s, path + u"/Yag.mdb"_s}).code, 0);

        QCOMPARE(startAndClose(oneWord ? QStringList{u"--dir="_s + path} : QStringList{u"--dir"_s, path}), QString());
        QVERIFY2(holdsKeypad(picture_), "The window does not show the keypad.");
        QVERIFY(!QFileInfo::exists(dataFolder()));
    }

    /// By what stands in the menu.
    void seasonIsMadeAndShownWhileTheCounterRuns()
    {
        const Opener opener(home_->path());
        const QString page = dataFolder() + u"/Sezon.html"_s;
        const QString entry =
            QString::fromUtf8(contentOf(inRoot(u"usr/share/applications/org.mendrik.Presva.Sezon.desktop"_s)));
        static const QRegularExpression exec(u"^Exec=(.+)$"_s, QRegularExpression::MultilineOption);
        Outcome shown;
        const auto tapInTheMenu = [&] {
            shown = run(u"sh"_s, {u"-c"_s, exec.match(entry).captured(1)}, opener.inFrontOf(ofTheUser()));
        };
        QCOMPARE(startAndClose({}, tapInTheMenu), QString());
        QVERIFY2(shown.code == 0, qPrintable(shown.out));
        QCOMPARE(opener.opened(), page);
        QVERIFY(contentOf(page).contains("<h1>Zeytin sezonu"));
    }

    void seasonThatCannotBeMadeSaysWhy()
    {
        const Opener opener(home_->path());
        const Outcome shown = run(inRoot(u"usr/bin/mendrik-presva"_s), {u"--season"_s, u"--dir=/absent"_s},
                                  opener.inFrontOf(ofTheUser()));
        QCOMPARE(shown.code, 1);
        QVERIFY2(contentOf(opener.opened()).contains("/absent"), qPrintable(opener.opened()));
        QFile::remove(opener.opened());
    }

    void seasonIsShownToTelephonesByOneCommand()
    {
        const Opener opener(home_->path());
        QVERIFY(QDir().mkpath(dataFolder()));
        QCOMPARE(tool({u"create"_s, dataFolder() + u"/Yag.mdb"_s}).code, 0);
        const QString port = QString::number(20000 + QCoreApplication::applicationPid() % 20000);
        const Outcome served =
            run(u"timeout"_s,
                {u"--preserve-status"_s, u"-s"_s, u"TERM"_s, u"5"_s, inRoot(u"usr/bin/mendrik-presva"_s), u"--live"_s,
                 u"127.0.0.1"_s, u"--port"_s, port},
                opener.inFrontOf(ofTheUser()));
        QVERIFY2(served.code == 0, qPrintable(served.out));
        QVERIFY2(served.out.contains(u"https://127.0.0.1:%1/#"_s.arg(port)), qPrintable(served.out));
        QCOMPARE(opener.opened(), dataFolder() + u"/Canli/karekod.html"_s);
    }

    void existingDatabaseIsCopiedByOneOption()
    {
        const QString old = home_->filePath(u"Yag.mdb"_s);
        QCOMPARE(tool({u"create"_s, old}).code, 0);
        const QByteArray before = contentOf(old);

        QCOMPARE(startAndClose({u"--copy-from"_s, old}), QString());
        QCOMPARE(tool({u"check"_s, dataFolder() + u"/Yag.mdb"_s}).code, 0);
        QCOMPARE(contentOf(old), before);
    }

    void copyNeverTakesThePlaceOfADatabase()
    {
        const QString old = home_->filePath(u"Yag.mdb"_s);
        const QString present = dataFolder() + u"/Yag.mdb"_s;
        QVERIFY(QDir().mkpath(dataFolder()));
        QCOMPARE(tool({u"create"_s, old}).code, 0);
        QCOMPARE(tool({u"create"_s, present}).code, 0);
        const QByteArray before = contentOf(present);

        const Outcome copy = run(inRoot(u"usr/bin/mendrik-presva"_s), {u"--copy-from="_s + old}, ofTheUser());
        QCOMPARE(copy.code, 1);
        QVERIFY2(copy.out.contains(present), qPrintable(copy.out));
        QCOMPARE(contentOf(present), before);
    }

    void misuseIsOneLine_data()
    {
        addCases<QStringList>("arguments", {{"no folder", QStringList{u"--dir"_s}},
                                            {"empty folder", QStringList{u"--dir="_s}},
                                            {"no file", QStringList{u"--copy-from"_s}},
                                            {"absent file", QStringList{u"--copy-from"_s, u"/absent/Yag.mdb"_s}}});
    }

    void misuseIsOneLine()
    {
        QFETCH(QStringList, arguments);
        const Outcome misuse = run(inRoot(u"usr/bin/mendrik-presva"_s), arguments, ofTheUser());
        QCOMPARE(misuse.code, 1);
        QCOMPARE(misuse.out.count(u'\n'), 1);
        QVERIFY(!QFileInfo::exists(dataFolder() + u"/Yag.mdb"_s));
    }

    void removalTakesTheProgramAndLeavesTheData()
    {
        QCOMPARE(startAndClose(), QString());
        const QByteArray database = contentOf(dataFolder() + u"/Yag.mdb"_s);
        const QStringList files = filesBelow(home_->path());
        QVERIFY(!database.isEmpty());

        const Outcome removed = dpkg({u"--purge"_s, u"mendrik-presva"_s});
        QVERIFY2(removed.code == 0, qPrintable(removed.out));
        QVERIFY(!QFileInfo::exists(inRoot(u"usr"_s)));
        QCOMPARE(filesBelow(home_->path()), files);
        QCOMPARE(contentOf(dataFolder() + u"/Yag.mdb"_s), database);
    }

private:
    QString inRoot(const QString& path) const { return root_.filePath(path); }
    QString dataFolder() const { return home_->filePath(u".local/share/mendrik-presva"_s); }
    Outcome dpkg(const QStringList& arguments) const
    {
        return run(u"dpkg"_s, QStringList{u"--root="_s + root_.path(), u"--log=/dev/null"_s, u"--force-not-root"_s,
                                          u"--force-depends"_s} +
                                  arguments);
    }
    Outcome tool(const QStringList& arguments) const { return run(inRoot(u"usr/bin/presva-mdb"_s), arguments); }
    /// As it is read, without the strokes that make it bold.
    QString manualPage(const QString& name) const
    {
        static const QRegularExpression struckOver(u".\b"_s);
        const QString file = inRoot(u"usr/share/man/man1/"_s + name + u".1.gz"_s);
        return run(u"mandoc"_s, {u"-T"_s, u"utf8"_s, file}).out.remove(struckOver);
    }
    QString rowsOf(const QString& database) const { return tool({u"export"_s, database, u"Cari"_s}).out; }

    QProcessEnvironment ofTheUser() const
    {
        QProcessEnvironment environment;
        environment.insert(u"HOME"_s, home_->path());
        environment.insert(u"PATH"_s, inRoot(u"usr/bin"_s) + u":/usr/bin:/bin"_s);
        environment.insert(u"DISPLAY"_s, display_);
        environment.insert(u"LANG"_s, u"tr_TR.UTF-8"_s);
        // This machine may have a printer; the user's has none.
        environment.insert(u"CUPS_SERVER"_s, home_->filePath(u"no-scheduler"_s));
        return environment;
    }

    /// Starts the program, waits for its window, closes it by its button. Empty when all that went well.
    QString startAndClose(
        const QStringList& arguments = {}, const std::function<void()>& whileItRuns = [] {})
    {
        QProcess counter;
        counter.setProcessEnvironment(ofTheUser());
        counter.setProcessChannelMode(QProcess::MergedChannels);
        counter.start(inRoot(u"usr/bin/mendrik-presva"_s), arguments);
        if (!counter.waitForStarted()) return u"does not start"_s;

        // The launcher becomes the program, so that the process is the same.
        WindowOf window(display_, counter.processId());
        QElapsedTimer patience;
        patience.start();
        while (!window.isShown() && counter.state() == QProcess::Running && patience.elapsed() < 20000)
            QTest::qWait(50);
        if (!window.isShown()) {
            counter.kill();
            counter.waitForFinished();
            return u"shows no window: "_s + QString::fromUtf8(counter.readAll());
        }
        // It is shown a moment before it is painted.
        do {
            QTest::qWait(100);
            picture_ = window.picture();
        } while (!holdsKeypad(picture_) && patience.elapsed() < 20000);
        commandLine_ = QString::fromUtf8(contentOf(u"/proc/%1/cmdline"_s.arg(counter.processId()))).split(u'\0');

        whileItRuns();
        if (counter.state() != QProcess::Running) return u"does not go on"_s;

        window.close();
        if (!counter.waitForFinished(20000)) {
            counter.kill();
            counter.waitForFinished();
            return u"does not end when its window is closed"_s;
        }
        if (counter.exitStatus() != QProcess::NormalExit || counter.exitCode() != 0)
            return u"ends with a failure: "_s + QString::fromUtf8(counter.readAll());
        return {};
    }

    QTemporaryDir built_;
    QTemporaryDir root_;
    QString package_;
    QProcess server_;
    QString display_;
    std::unique_ptr<QTemporaryDir> home_;
    QStringList commandLine_; ///< of the program that was started last
    QImage picture_;          ///< of its window
};

QTEST_GUILESS_MAIN(DebianPackage)
#include "debian_package.moc"
